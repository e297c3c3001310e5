// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/progress_line.h>
#include <control/text_width.h>
#include <tfs_common/translator.h>

#include <cstdio>

namespace tfs::control {
namespace {

constexpr char ClearLine[] = "\r\x1b[K";
constexpr std::uint32_t Minute = 60;
constexpr std::uint32_t Hour = 60 * Minute;

std::string TextOf(const std::string& task, const TaskProgress& progress) {
    std::string text = localization::Format(localization::GetLocalizedString(localization::entry::TaskProgress), task,
                                            std::to_string(progress.percent));
    if (progress.secondsLeft)
        text += " (" + DurationText(*progress.secondsLeft) + ')';
    return text;
}

/// The name gives way first, then the end of the line. The last column stays free: some terminals begin a new line
/// when it is written.
std::string Fitted(const std::string& task, const TaskProgress& progress, std::size_t columns) {
    const std::size_t room = columns > 0 ? columns - 1 : 0;
    const std::string whole = TextOf(task, progress);
    if (TextWidth(whole) <= room)
        return whole;
    const std::size_t others = TextWidth(TextOf({}, progress));
    return Shortened(TextOf(Shortened(task, room > others ? room - others : 0), progress), room);
}

} // namespace

std::string DurationText(std::uint32_t seconds) {
    char text[32];
    if (seconds >= Hour)
        std::snprintf(text, sizeof text, "%u:%02u:%02u", seconds / Hour, seconds % Hour / Minute, seconds % Minute);
    else
        std::snprintf(text, sizeof text, "%u:%02u", seconds / Minute, seconds % Minute);
    return text;
}

std::string ProgressText(const TaskProgress& progress) {
    const std::string percent = std::to_string(progress.percent) + '%';
    return progress.secondsLeft ? percent + " (" + DurationText(*progress.secondsLeft) + ')' : percent;
}

void ProgressLine::Show(const std::string& task, const TaskProgress& progress) {
    if (m_terminal == nullptr) {
        if (m_plainPercent && progress.percent < *m_plainPercent + PlainStep)
            return;
        m_plainPercent = progress.percent;
        m_out << TextOf(task, progress) << '\n' << std::flush;
        return;
    }
    const std::string text = Fitted(task, progress, m_terminal->Columns());
    if (text == m_shown)
        return;
    m_out << ClearLine << text << std::flush;
    m_shown = text;
}

void ProgressLine::Clear() {
    if (m_shown.empty())
        return;
    m_out << ClearLine << std::flush;
    m_shown.clear();
}

} // namespace tfs::control
