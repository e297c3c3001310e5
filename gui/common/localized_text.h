// SPDX-License-Identifier: GPL-2.0-or-later
// Catalogue texts in the form that Qt shows.
#pragma once

#include <foundation/string16.h>
#include <tfs_common/translator.h>

#include <QtCore/QString>
#include <cstdint>

namespace tfs::gui {

/// One entry of the catalogue; the marker text where there is none of that number.
QString LocalizedText(std::uint32_t id, std::uint32_t formIndex = 0);

/// The entry with its directives filled in, in order. A translation whose directives don't fit is shown as it stands.
template <class... Arguments>
QString LocalizedFormat(std::uint32_t id, const Arguments&... arguments) {
    return QString::fromStdString(
        tfs::localization::Format(tfs::localization::GetLocalizedString(id, 0), arguments.toStdString()...));
}

/// The plural form for `count`, with the count filled in.
QString LocalizedPlural(std::uint32_t id, std::int64_t count);

/// Texts of the service; what doesn't decode is shown as '?'.
QString ToQString(const ulk::types::string16_t& text);

} // namespace tfs::gui
