// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/escape.h>
#include <control/event_values.h>
#include <control/text_reporter.h>
#include <control/values.h>

#include <algorithm>
#include <iomanip>

namespace tfs::control {

namespace {

constexpr int LabelWidth = 22;

std::string OrWord(std::string text, const char* word) { return text.empty() ? word : text; }

std::string Safe(const ulk::types::string16_t& text) { return EscapeForTerminal(Utf8(text)); }

std::string ShownName(const core::TaskInfo& task) {
    return Safe(task.displayName.empty() ? task.taskName : task.displayName);
}

} // namespace

void TextReporter::Line(const std::string& label, const std::string& value) {
    m_out << std::left << std::setw(LabelWidth) << label << value << '\n';
}

void TextReporter::Help(const std::string& text) { m_out << text; }

void TextReporter::Version(const std::string& version) { m_out << "tesl-control " << version << '\n'; }

void TextReporter::TaskList(const std::vector<core::TaskInfo>& tasks) {
    std::size_t nameWidth = 4;
    std::size_t typeWidth = 4;
    for (const core::TaskInfo& task : tasks) {
        nameWidth = std::max(nameWidth, ShownName(task).size());
        typeWidth = std::max(typeWidth, Safe(task.taskType).size());
    }
    const auto row = [&](const std::string& id, const std::string& name, const std::string& type,
                         const std::string& state) {
        m_out << std::right << std::setw(6) << id << "  " << std::left << std::setw(static_cast<int>(nameWidth)) << name
              << "  " << std::setw(static_cast<int>(typeWidth)) << type << "  " << state << '\n';
    };
    row("Id", "Name", "Type", "State");
    for (const core::TaskInfo& task : tasks)
        row(std::to_string(task.taskId), ShownName(task), Safe(task.taskType), TaskStateName(task.state));
}

void TextReporter::TaskCommandTaken(const std::string& verb, const core::TaskInfo& task) {
    m_out << "The " << verb << " command was taken for task " << task.taskId << " (" << ShownName(task) << "), now "
          << TaskStateName(task.state) << ".\n";
}

void TextReporter::TaskState(const core::TaskInfo& task, const std::optional<OxsStatistic>& lastRun) {
    Line("Id:", std::to_string(task.taskId));
    Line("Name:", ShownName(task));
    Line("Type:", Safe(task.taskType));
    Line("State:", TaskStateName(task.state));
    if (!lastRun)
        return;
    Line("Started:", OrWord(UtcFromEpoch(lastRun->startTime), "never"));
    Line("Finished:", OrWord(UtcFromEpoch(lastRun->finishTime), "-"));
    Line("Objects scanned:", std::to_string(lastRun->scan.scannedObjects));
    Line("Bytes scanned:", std::to_string(lastRun->scannedBytes));
    Line("Threats found:", std::to_string(lastRun->scan.threatsFound));
    Line("Password-protected:", std::to_string(lastRun->scan.passwordProtectedObjects));
    Line("Errors:", std::to_string(lastRun->scan.scanErrors));
    Line("Skipped:", std::to_string(lastRun->scan.skippedObjects));
}

void TextReporter::AppInfoTold(const AppInfo& appInfo) {
    Line("Version:", Safe(appInfo.applicationVersion));
    Line("Engine:", Safe(appInfo.engineVersion));
    Line("Signatures loaded:", appInfo.avBasesLoaded ? "yes" : "no");
    Line("Signature records:", std::to_string(appInfo.avRecordsCount));
    Line("Signatures of:", OrWord(UtcFromTicks(appInfo.avBasesDate), "unknown"));
    Line("Last update:", OrWord(UtcFromTicks(appInfo.lastUpdateTime), "unknown"));
    Line("Last full scan:", OrWord(UtcFromEpoch(appInfo.lastMyCompScanTime), "never"));
    Line("Real-time protection:", appInfo.isOASEnabled ? "on" : "off");
    Line("Scanner workers:", std::to_string(appInfo.scannerWorkers));
}

void TextReporter::AppSettingsTold(const std::vector<settings::ChangeItem>& settings) {
    for (const settings::ChangeItem& setting : settings)
        m_out << EscapeForTerminal(setting.key) << '=' << EscapeForTerminal(setting.value) << '\n';
}

void TextReporter::AppSettingsChanged(const std::string& message) {
    m_out << "The settings were changed.";
    if (!message.empty())
        m_out << ' ' << EscapeForTerminal(message);
    m_out << '\n';
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
    m_out << (finding.kind == ScanFinding::Kind::Threat ? "Threat detected: " : "Not processed: ")
          << EscapeForTerminal(finding.path) << " (" << EscapeForTerminal(finding.detail) << ")\n"
          << std::flush;
}

void TextReporter::ScanEnded(const ScanSummary& summary) {
    switch (summary.end) {
    case ScanEnd::Completed:
        m_out << "The scan has ended.\n";
        break;
    case ScanEnd::Stopped:
        m_out << "The scan was stopped.\n";
        break;
    case ScanEnd::Interrupted:
        m_out << "The scan was broken off: " << EscapeForTerminal(summary.reason) << '\n';
        break;
    }
    Line("Objects scanned:", std::to_string(summary.scannedObjects));
    Line("Bytes scanned:", std::to_string(summary.scannedBytes));
    Line("Threats found:", std::to_string(summary.threats));
    Line("Not processed:", std::to_string(summary.notProcessed));
    Line("Skipped:", std::to_string(summary.skipped));
}

void TextReporter::Error(ExitCode, const std::string& text) {
    m_out.flush();
    m_err << "tesl-control: " << text << '\n';
}

bool TextReporter::Finish() {
    m_out.flush();
    return m_out.good();
}

} // namespace tfs::control
