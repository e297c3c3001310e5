// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/app_info_text.h>
#include <control/escape.h>
#include <control/event_json.h>
#include <control/json_reporter.h>
#include <control/values.h>

namespace tfs::control {

namespace {

using nlohmann::json;

json TimeOrNull(const std::string& text) { return text.empty() ? json(nullptr) : json(text); }

json TaskJson(const core::TaskInfo& task) {
    json object = {
        {"id", task.taskId},           {"name", Utf8(task.taskName)},        {"displayName", Utf8(task.displayName)},
        {"type", Utf8(task.taskType)}, {"state", TaskStateName(task.state)}, {"temporary", task.isTemporary},
    };
    if (task.owner)
        object["owner"] = {{"uid", task.owner->uid}, {"name", Utf8(task.owner->userName)}};
    return object;
}

json RowJson(const TaskRow& row) {
    json object = TaskJson(row.task);
    object["progress"] = nullptr;
    if (row.progress) {
        object["progress"] = {{"percent", row.progress->percent}, {"secondsLeft", nullptr}};
        if (row.progress->secondsLeft)
            object["progress"]["secondsLeft"] = *row.progress->secondsLeft;
    }
    object["schedule"] = row.schedule.empty() ? json(nullptr) : json(row.schedule);
    return object;
}

json StatisticJson(const OxsStatistic& run) {
    return {
        {"started", TimeOrNull(UtcFromEpoch(run.startTime))},
        {"finished", TimeOrNull(UtcFromEpoch(run.finishTime))},
        {"scannedObjects", run.scan.scannedObjects},
        {"scannedBytes", run.scannedBytes},
        {"threatsFound", run.scan.threatsFound},
        {"infectedObjects", run.scan.infectedObjects},
        {"suspiciousObjects", run.scan.suspiciousObjects},
        {"backedUpObjects", run.scan.backedUpObjects},
        {"deletedObjects", run.scan.deletedObjects},
        {"notCuredObjects", run.scan.notCuredObjects},
        {"passwordProtectedObjects", run.scan.passwordProtectedObjects},
        {"scanErrors", run.scan.scanErrors},
        {"skippedObjects", run.scan.skippedObjects},
    };
}

json FindingJson(const ScanFinding& finding) {
    json object = {{"path", finding.path}};
    if (!IsUtf8(finding.path))
        object["pathHex"] = ToHex(finding.path);
    object[finding.kind == ScanFinding::Kind::Threat ? "threat" : "reason"] = finding.detail;
    return object;
}

/// The same with the task, which may be gone.
json RunJson(const OxsStatistic& run) {
    json object = StatisticJson(run);
    object["task"] = {
        {"id", run.taskId}, {"name", Utf8(run.taskName)}, {"type", Utf8(run.taskType)}, {"temporary", run.isTemporary}};
    return object;
}

const char* EndWord(RunEnd end) noexcept {
    switch (end) {
    case RunEnd::Stopped:
        return "stopped";
    case RunEnd::Interrupted:
        return "interrupted";
    case RunEnd::Completed:
        break;
    }
    return "completed";
}

const char* ResultWord(UpdateResult result) noexcept {
    switch (result) {
    case UpdateResult::Updated:
        return "updated";
    case UpdateResult::NothingToUpdate:
        return "nothing-to-update";
    case UpdateResult::RolledBack:
        return "rolled-back";
    case UpdateResult::Stopped:
        return "stopped";
    case UpdateResult::Failed:
        break;
    }
    return "failed";
}

} // namespace

void JsonReporter::Help(const std::string& text) { m_document["help"] = text; }

void JsonReporter::Version(const std::string& version) { m_document["version"] = version; }

void JsonReporter::TaskList(const std::vector<TaskRow>& tasks) {
    json& list = m_document["tasks"] = json::array();
    for (const TaskRow& row : tasks)
        list.push_back(RowJson(row));
}

void JsonReporter::TaskCommandTaken(const std::string& verb, const core::TaskInfo& task) {
    m_document["command"] = verb;
    m_document["task"] = TaskJson(task);
}

void JsonReporter::TaskState(const TaskRow& row, const std::optional<OxsStatistic>& lastRun) {
    m_document["task"] = RowJson(row);
    m_document["lastRun"] = lastRun ? StatisticJson(*lastRun) : json(nullptr);
}

void JsonReporter::TaskCreated(const core::TaskInfo& task) { m_document["created"] = TaskJson(task); }

void JsonReporter::TaskDeleted(const core::TaskInfo& task) { m_document["deleted"] = TaskJson(task); }

void JsonReporter::StatisticsTold(const std::vector<OxsStatistic>& statistics) {
    json& list = m_document["statistics"] = json::array();
    for (const OxsStatistic& each : statistics)
        list.push_back(RunJson(each));
}

void JsonReporter::StatisticsDeleted(const OxsStatistic& statistic) {
    m_document["deletedStatistics"] = RunJson(statistic);
}

void JsonReporter::AppInfoTold(const AppInfo& appInfo, const overview::Overview& overview) {
    m_document["appInfo"] = AppInfoJson(appInfo);
    m_document["overview"] = OverviewJson(overview);
}

void JsonReporter::SettingsTold(const std::vector<settings::ChangeItem>& settings) {
    json& object = m_document["settings"] = json::object();
    for (const settings::ChangeItem& setting : settings)
        object[setting.key] = setting.value;
}

void JsonReporter::SettingsChanged(const std::string& message) {
    m_document["changed"] = true;
    if (!message.empty())
        m_document["message"] = message;
}

void JsonReporter::SettingsWritten(const std::string& file) {
    m_document["file"] = file;
    if (!IsUtf8(file))
        m_document["fileHex"] = ToHex(file);
}

void JsonReporter::EventsTold(const std::vector<Event>& events) {
    json& list = m_document["events"] = json::array();
    for (const Event& event : events)
        list.push_back(EventJson(event));
}

void JsonReporter::EventsBegin() { m_lines = true; }

bool JsonReporter::EventCame(const Event& event) {
    m_out << EventJson(event).dump(-1, ' ', false, json::error_handler_t::replace) << '\n' << std::flush;
    return m_out.good();
}

void JsonReporter::Finding(const ScanFinding& finding) {
    m_document[finding.kind == ScanFinding::Kind::Threat ? "threats" : "notProcessed"].push_back(FindingJson(finding));
}

void JsonReporter::ScanEnded(const ScanSummary& summary) {
    for (const char* list : {"threats", "notProcessed"}) {
        if (!m_document.contains(list))
            m_document[list] = json::array();
    }
    m_document["summary"] = {
        {"taskId", summary.taskId},
        {"scannedObjects", summary.scannedObjects},
        {"scannedBytes", summary.scannedBytes},
        {"threatsFound", summary.threats},
        {"notProcessed", summary.notProcessed},
        {"skipped", summary.skipped},
        {"end", EndWord(summary.end)},
    };
    if (summary.end == RunEnd::Interrupted)
        m_document["summary"]["reason"] = summary.reason;
}

void JsonReporter::UpdateSource(const std::string& source) { m_document["update"]["sources"].push_back(source); }

void JsonReporter::UpdateEnded(const UpdateSummary& summary) {
    json& update = m_document["update"];
    update["taskId"] = summary.taskId;
    update["result"] = ResultWord(summary.result);
    if (summary.result == UpdateResult::Failed)
        update["reason"] = summary.reason;
    if (summary.records) {
        update["basesRecords"] = *summary.records;
        update["basesDate"] = TimeOrNull(summary.date);
    }
}

// A document is written once, at the end.
void JsonReporter::Progress(const std::string&, const TaskProgress&) {}

void JsonReporter::StopAsked() {}

void JsonReporter::Error(ExitCode code, const std::string& text) {
    m_document["error"] = {{"code", ExitCodeName(code)}, {"exitCode", static_cast<int>(code)}, {"text", text}};
}

bool JsonReporter::Finish() {
    if (!m_lines || !m_document.empty())
        m_out << m_document.dump(m_lines ? -1 : 2, ' ', false, json::error_handler_t::replace) << '\n' << std::flush;
    return m_out.good();
}

} // namespace tfs::control
