# SPDX-License-Identifier: GPL-2.0-or-later
"""What end-to-end tests are made of: waiting, processes, a desktop, the staged product, its window."""
