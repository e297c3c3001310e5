// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/trace.h>
#include <gui/app_info/current_danger_info.h>
#include <gui/common/application.h>
#include <gui/common/localized_text.h>

#include <algorithm>

namespace tfs::gui {

void CurrentDangerInfo::Reset() {
    m_level = Danger::OK;
    m_issueCounts = {{Danger::OK, 0}, {Danger::Warning, 0}, {Danger::Critical, 0}};
}

void CurrentDangerInfo::Add(Danger level) {
    const Danger result = std::max(m_level, level);
    ULK_TRACE(application::GetTracer(), ulk::level::Detail)
        << "DangerLevel Add(" << static_cast<int>(level) << "), current = " << static_cast<int>(m_level)
        << ", result = " << static_cast<int>(result);
    m_level = result;
    ++m_issueCounts[level];
}

QString CurrentDangerInfo::Sentence() const {
    namespace entry = tfs::localization::entry;
    std::uint32_t verdict = entry::GuiMainProtectionStateOK;
    std::uint32_t issues = entry::GuiMainRecomendationsCount;
    if (m_level == Danger::Warning) {
        verdict = entry::GuiMainProtectionStateWarning;
        issues = entry::GuiMainWarningsCount;
    } else if (m_level == Danger::Critical) {
        verdict = entry::GuiMainProtectionStateCritical;
        issues = entry::GuiMainErrorsCount;
    }
    QString sentence = LocalizedText(verdict);
    if (const std::uint32_t count = Count(m_level); count > 0)
        sentence += QLatin1Char('\n') + LocalizedPlural(issues, count);
    return sentence;
}

} // namespace tfs::gui
