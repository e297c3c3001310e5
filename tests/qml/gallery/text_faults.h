// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QtCore/QStringList>

namespace tfs::tests {

/// What can't be read as it is meant in the windows that show: texts that are cut, unless the object name of one stands
/// in `mayBeCut`; texts that reach out of their own width, out of what holds them or out of the window; texts that lie
/// on each other. A line for each, empty for none. On the GUI thread, once what moves has come to rest.
QStringList TextFaults(const QStringList& mayBeCut);

} // namespace tfs::tests
