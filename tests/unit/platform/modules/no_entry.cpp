// SPDX-License-Identifier: GPL-2.0-or-later
// A shared library that isn't a module.
#include <foundation/module.h>

ULK_MODULE_EXPORT int somethingElse() { return 1; }
