// SPDX-License-Identifier: GPL-2.0-or-later
// A shared library that is no module: it lacks the export.
extern "C" __attribute__((visibility("default"))) int ulkTestBare() { return 1; }
