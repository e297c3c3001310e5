// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/common/localized_text.h>

namespace tfs::gui {
QString LocalizedText(std::uint32_t id, std::uint32_t formIndex) {
    return QString::fromStdString(tfs::localization::GetLocalizedString(id, formIndex));
}

QString LocalizedPlural(std::uint32_t id, std::int64_t count) {
    return QString::fromStdString(tfs::localization::GetLocalizedPlural(id, count));
}

QString ToQString(const ulk::types::string16_t& text) { return QString::fromStdString(ulk::text::ToUtf8Lossy(text)); }

} // namespace tfs::gui
