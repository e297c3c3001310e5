// SPDX-License-Identifier: GPL-2.0-or-later
// A program that has no texts and no tables.
int main() { return 0; }
