// SPDX-License-Identifier: GPL-2.0-or-later
// The window's icon, without the search for its format.
#pragma once

#include <QtCore/QString>
#include <QtGui/QIcon>

namespace tfs::gui {

/// An icon of an SVG file, drawn at the sizes that window managers ask for. A file whose name has no suffix would
/// otherwise have its kind looked up in the MIME database and be offered to every image plugin, which loads them all.
/// Null where the file can't be read. GUI thread only.
QIcon ReadIcon(const QString& path);

} // namespace tfs::gui
