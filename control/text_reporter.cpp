// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/app_info_text.h>
#include <control/escape.h>
#include <control/event_values.h>
#include <control/text_reporter.h>
#include <control/text_width.h>
#include <control/values.h>

#include <algorithm>
#include <array>
#include <iomanip>

namespace tfs::control {

namespace {

constexpr int LabelWidth = 22;

std::string OrWord(std::string text, const char* word) { return text.empty() ? word : text; }

std::string Safe(const ulk::types::string16_t& text) { return EscapeForTerminal(Utf8(text)); }

using Cells = std::array<std::string, 6>;

std::string ShownName(const core::TaskInfo& task) {
    return Safe(task.displayName.empty() ? task.taskName : task.displayName);
}

} // namespace

void TextReporter::Line(const std::string& label, const std::string& value) {
    m_out << std::left << std::setw(LabelWidth) << label << value << '\n';
}

void TextReporter::Help(const std::string& text) { m_out << text; }

void TextReporter::Version(const std::string& version) { m_out << "tesl-control " << version << '\n'; }

void TextReporter::TaskList(const std::vector<TaskRow>& tasks) {
    std::vector<Cells> rows = {{"Id", "Name", "Type", "State", "Progress", "Schedule"}};
    for (const TaskRow& row : tasks)
        rows.push_back({std::to_string(row.task.taskId), ShownName(row.task), Safe(row.task.taskType),
                        TaskStateName(row.task.state), row.progress ? ProgressText(*row.progress) : "-",
                        OrWord(EscapeForTerminal(row.schedule), "-")});
    std::array<std::size_t, std::tuple_size_v<Cells>> widths{};
    for (const Cells& row : rows)
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], TextWidth(row[i]));
    for (const Cells& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::string filler(widths[i] - TextWidth(row[i]), ' ');
            line += i == 0 ? filler + row[i] : "  " + row[i] + filler; // ids stand on the right
        }
        m_out << line.substr(0, line.find_last_not_of(' ') + 1) << '\n';
    }
}

void TextReporter::TaskCommandTaken(const std::string& verb, const core::TaskInfo& task) {
    m_out << "The " << verb << " command was taken for task " << task.taskId << " (" << ShownName(task) << "), now "
          << TaskStateName(task.state) << ".\n";
}

void TextReporter::TaskState(const TaskRow& row, const std::optional<OxsStatistic>& lastRun) {
    Line("Id:", std::to_string(row.task.taskId));
    Line("Name:", ShownName(row.task));
    Line("Type:", Safe(row.task.taskType));
    Line("State:", TaskStateName(row.task.state));
    if (row.progress) {
        Line("Progress:", std::to_string(row.progress->percent) + "%");
        Line("Time left:", row.progress->secondsLeft ? DurationText(*row.progress->secondsLeft) : "unknown");
    }
    if (!row.schedule.empty())
        Line("Schedule:", EscapeForTerminal(row.schedule));
    if (lastRun)
        RunLines(*lastRun);
}

void TextReporter::RunLines(const OxsStatistic& run) {
    Line("Started:", OrWord(UtcFromEpoch(run.startTime), "never"));
    Line("Finished:", OrWord(UtcFromEpoch(run.finishTime), "-"));
    Line("Objects scanned:", std::to_string(run.scan.scannedObjects));
    Line("Bytes scanned:", std::to_string(run.scannedBytes));
    Line("Threats found:", std::to_string(run.scan.threatsFound));
    Line("Moved to Storage:", std::to_string(run.scan.backedUpObjects));
    Line("Not treated:", std::to_string(run.scan.notCuredObjects));
    Line("Password-protected:", std::to_string(run.scan.passwordProtectedObjects));
    Line("Errors:", std::to_string(run.scan.scanErrors));
    Line("Skipped:", std::to_string(run.scan.skippedObjects));
}

void TextReporter::TaskCreated(const core::TaskInfo& task) {
    m_out << "Task " << task.taskId << " (" << ShownName(task) << ") was created.\n";
}

void TextReporter::TaskDeleted(const core::TaskInfo& task) {
    m_out << "Task " << task.taskId << " (" << ShownName(task) << ") was deleted.\n";
}

void TextReporter::StatisticsTold(const std::vector<OxsStatistic>& statistics) {
    if (statistics.empty())
        m_out << "No task has been run.\n";
    for (const OxsStatistic& run : statistics) {
        if (&run != &statistics.front())
            m_out << '\n';
        Line("Id:", std::to_string(run.taskId));
        Line("Name:", Safe(run.taskName));
        Line("Type:", Safe(run.taskType));
        RunLines(run);
    }
}

void TextReporter::StatisticsDeleted(const OxsStatistic& statistic) {
    m_out << "The statistics of task " << statistic.taskId << " (" << Safe(statistic.taskName) << ") were deleted.\n";
}

void TextReporter::AppInfoTold(const AppInfo& appInfo, const overview::Overview& overview) {
    m_out << AppInfoText(appInfo, overview);
}

void TextReporter::SettingsTold(const std::vector<settings::ChangeItem>& settings) {
    for (const settings::ChangeItem& setting : settings)
        m_out << EscapeForTerminal(setting.key) << '=' << EscapeForTerminal(setting.value) << '\n';
}

void TextReporter::SettingsChanged(const std::string& message) {
    m_out << "The settings were changed.";
    if (!message.empty())
        m_out << ' ' << EscapeForTerminal(message);
    m_out << '\n';
}

void TextReporter::SettingsWritten(const std::string& file) {
    m_out << "The settings were written to " << EscapeForTerminal(file) << ".\n";
}

void TextReporter::EventsTold(const std::vector<Event>& events) {
    if (events.empty())
        m_out << "There are no such events.\n";
    for (const Event& event : events)
        EventCame(event);
}

void TextReporter::EventsBegin() {}

bool TextReporter::EventCame(const Event& event) {
    m_out << OrWord(UtcFromEpoch(event.time), "unknown time") << ' ' << EventTypeName(event.type) << '\n';
    if (event.id > 0)
        Line("  Id:", std::to_string(event.id));
    Line("  Severity:", NameOf(types::EventSeverity::Table(), event.severity));
    Line("  Initiator:", NameOf(types::EventInitiator::Table(), event.initiator));
    if (event.initiatorUser)
        Line("  User:", Safe(event.initiatorUser->userName) + " (" + std::to_string(event.initiatorUser->uid) + ")");
    for (const EventAdditionalData& field : event.additional)
        if (field.hidden == 0)
            Line("  " + NameOf(types::AdditionalName::Table(), field.name) + ": ",
                 EscapeForTerminal(FieldText(field.name, field.value)));
    m_out << std::flush;
    return m_out.good();
}

void TextReporter::Finding(const ScanFinding& finding) {
    m_progress.Clear();
    m_out << (finding.kind == ScanFinding::Kind::Threat ? "Threat detected: " : "Not processed: ")
          << EscapeForTerminal(finding.path) << " (" << EscapeForTerminal(finding.detail) << ")\n"
          << std::flush;
}

void TextReporter::ScanEnded(const ScanSummary& summary) {
    m_progress.Clear();
    switch (summary.end) {
    case RunEnd::Completed:
        m_out << "The scan has ended.\n";
        break;
    case RunEnd::Stopped:
        m_out << "The scan was stopped.\n";
        break;
    case RunEnd::Interrupted:
        m_out << "The scan was broken off: " << EscapeForTerminal(summary.reason) << '\n';
        break;
    }
    Line("Objects scanned:", std::to_string(summary.scannedObjects));
    Line("Bytes scanned:", std::to_string(summary.scannedBytes));
    Line("Threats found:", std::to_string(summary.threats));
    Line("Not processed:", std::to_string(summary.notProcessed));
    Line("Skipped:", std::to_string(summary.skipped));
}

void TextReporter::UpdateSource(const std::string& source) {
    m_progress.Clear();
    m_out << "Update source: " << EscapeForTerminal(source) << '\n' << std::flush;
}

void TextReporter::UpdateEnded(const UpdateSummary& summary) {
    m_progress.Clear();
    switch (summary.result) {
    case UpdateResult::Updated:
        m_out << "The databases were updated.\n";
        break;
    case UpdateResult::NothingToUpdate:
        m_out << "There is nothing to update.\n";
        break;
    case UpdateResult::RolledBack:
        m_out << "The databases before the last update are in use again.\n";
        break;
    case UpdateResult::Failed:
        m_out << "It failed: " << OrWord(EscapeForTerminal(summary.reason), "no reason was told") << '\n';
        break;
    case UpdateResult::Stopped:
        m_out << "It was stopped.\n";
        break;
    }
    if (!summary.records)
        return;
    Line("Signature records:", std::to_string(*summary.records));
    Line("Signatures of:", OrWord(summary.date, "unknown"));
}

void TextReporter::Progress(const std::string& task, const TaskProgress& progress) {
    m_progress.Show(EscapeForTerminal(task), progress);
}

void TextReporter::StopAsked() {
    m_progress.Clear();
    m_out << "Stopping...\n" << std::flush;
}

void TextReporter::Error(ExitCode, const std::string& text) {
    m_progress.Clear();
    m_out.flush();
    m_err << "tesl-control: " << text << '\n';
}

bool TextReporter::Finish() {
    m_out.flush();
    return m_out.good();
}

} // namespace tfs::control
