// SPDX-License-Identifier: GPL-2.0-or-later
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

json StatisticJson(const OxsStatistic& run) {
    return {
        {"started", TimeOrNull(UtcFromEpoch(run.startTime))},
        {"finished", TimeOrNull(UtcFromEpoch(run.finishTime))},
        {"scannedObjects", run.scan.scannedObjects},
        {"scannedBytes", run.scannedBytes},
        {"threatsFound", run.scan.threatsFound},
        {"infectedObjects", run.scan.infectedObjects},
        {"suspiciousObjects", run.scan.suspiciousObjects},
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

const char* EndWord(ScanEnd end) noexcept {
    switch (end) {
    case ScanEnd::Stopped:
        return "stopped";
    case ScanEnd::Interrupted:
        return "interrupted";
    case ScanEnd::Completed:
        break;
    }
    return "completed";
}

} // namespace

void JsonReporter::Help(const std::string& text) { m_document["help"] = text; }

void JsonReporter::Version(const std::string& version) { m_document["version"] = version; }

void JsonReporter::TaskList(const std::vector<core::TaskInfo>& tasks) {
    json& list = m_document["tasks"] = json::array();
    for (const core::TaskInfo& task : tasks)
        list.push_back(TaskJson(task));
}

void JsonReporter::TaskCommandTaken(const std::string& verb, const core::TaskInfo& task) {
    m_document["command"] = verb;
    m_document["task"] = TaskJson(task);
}

void JsonReporter::TaskState(const core::TaskInfo& task, const std::optional<OxsStatistic>& lastRun) {
    m_document["task"] = TaskJson(task);
    m_document["lastRun"] = lastRun ? StatisticJson(*lastRun) : json(nullptr);
}

void JsonReporter::AppInfoTold(const AppInfo& appInfo) {
    m_document["appInfo"] = {
        {"version", Utf8(appInfo.applicationVersion)},
        {"engineVersion", Utf8(appInfo.engineVersion)},
        {"basesLoaded", appInfo.avBasesLoaded},
        {"basesRecords", appInfo.avRecordsCount},
        {"basesDate", TimeOrNull(UtcFromTicks(appInfo.avBasesDate))},
        {"lastUpdate", TimeOrNull(UtcFromTicks(appInfo.lastUpdateTime))},
        {"lastFullScan", TimeOrNull(UtcFromEpoch(appInfo.lastMyCompScanTime))},
        {"realTimeProtection", appInfo.isOASEnabled},
        {"scannerWorkers", appInfo.scannerWorkers},
    };
}

void JsonReporter::AppSettingsTold(const std::vector<settings::ChangeItem>& settings) {
    json& object = m_document["settings"] = json::object();
    for (const settings::ChangeItem& setting : settings)
        object[setting.key] = setting.value;
}

void JsonReporter::AppSettingsChanged(const std::string& message) {
    m_document["changed"] = true;
    if (!message.empty())
        m_document["message"] = message;
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
    if (summary.end == ScanEnd::Interrupted)
        m_document["summary"]["reason"] = summary.reason;
}

void JsonReporter::Error(ExitCode code, const std::string& text) {
    m_document["error"] = {{"code", ExitCodeName(code)}, {"exitCode", static_cast<int>(code)}, {"text", text}};
}

bool JsonReporter::Finish() {
    if (!m_lines || !m_document.empty())
        m_out << m_document.dump(m_lines ? -1 : 2, ' ', false, json::error_handler_t::replace) << '\n' << std::flush;
    return m_out.good();
}

} // namespace tfs::control
