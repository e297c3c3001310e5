// SPDX-License-Identifier: GPL-2.0-or-later
#include <tfs_common/overview/danger.h>
#include <tfs_common/translator.h>

#include <algorithm>

namespace tfs::overview {

void DangerSum::Add(Danger level) noexcept {
    m_level = std::max(m_level, level);
    ++m_counts[static_cast<std::size_t>(level)];
}

std::string DangerSum::Sentence() const {
    namespace entry = localization::entry;
    std::uint32_t verdict = entry::GuiMainProtectionStateOK;
    std::uint32_t issues = entry::GuiMainRecomendationsCount;
    if (m_level == Danger::Warning) {
        verdict = entry::GuiMainProtectionStateWarning;
        issues = entry::GuiMainWarningsCount;
    } else if (m_level == Danger::Critical) {
        verdict = entry::GuiMainProtectionStateCritical;
        issues = entry::GuiMainErrorsCount;
    }
    std::string sentence = localization::GetLocalizedString(verdict);
    if (const std::uint32_t count = Count(m_level); count > 0)
        sentence += '\n' + localization::GetLocalizedPlural(issues, count);
    return sentence;
}

} // namespace tfs::overview
