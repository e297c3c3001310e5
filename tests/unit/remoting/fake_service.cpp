// SPDX-License-Identifier: GPL-2.0-or-later
#include <tests/unit/remoting/fake_service.h>

#include <algorithm>

namespace tfs::test {

using namespace std::string_literals;

using service::rpc::Caller;

FakeService::Seen FakeService::Last() const {
    const std::lock_guard lock(m_mutex);
    return m_last;
}

result_t FakeService::Note(Seen seen) noexcept {
    {
        const std::lock_guard lock(m_mutex);
        m_last = std::move(seen);
    }
    ++m_calls;
    if (during)
        during();
    return code.load();
}

result_t FakeService::GetAppInfo(AppInfo& out) noexcept {
    out = appInfo;
    return Note({"GetAppInfo", {}, {}, {}, {}});
}

result_t FakeService::GetAppSettings(settings::AppSettings& out) noexcept {
    out = appSettings;
    return Note({"GetAppSettings", {}, {}, {}, {}});
}

result_t FakeService::GetPolicy(PolicyState& out) noexcept {
    out = policy;
    return Note({"GetPolicy", {}, {}, {}, {}});
}

result_t FakeService::IsUserManageTasksAllowed(bool& local, bool& group) noexcept {
    local = localTasks;
    group = groupTasks;
    return Note({"IsUserManageTasksAllowed", {}, {}, {}, {}});
}

result_t FakeService::CanBeStarted(const Caller& caller, const std::u16string& name, bool& allowed) noexcept {
    allowed = true;
    return Note({"CanBeStarted", name, caller, {}, {}});
}

result_t FakeService::CanBeStopped(const Caller& caller, const std::u16string& name, bool& allowed) noexcept {
    allowed = true;
    return Note({"CanBeStopped", name, caller, {}, {}});
}

result_t FakeService::GetTaskList(std::vector<core::TaskInfo>& out) noexcept {
    out = tasks;
    return Note({"GetTaskList", {}, {}, {}, {}});
}

result_t FakeService::GetTaskInfo(const std::u16string& name, core::TaskInfo& out) noexcept {
    if (!tasks.empty())
        out = tasks.front();
    return Note({"GetTaskInfo", name, {}, {}, {}});
}

result_t FakeService::GetStatistics(std::vector<OxsStatistic>& out) noexcept {
    out = statistics;
    return Note({"GetStatistics", {}, {}, {}, {}});
}

result_t FakeService::GetStatistic(const std::u16string& name, OxsStatistic& out) noexcept {
    if (!statistics.empty())
        out = statistics.front();
    return Note({"GetStatistic", name, {}, {}, {}});
}

result_t FakeService::GetOdsStatistics(ScanStatistic& out) noexcept {
    out = scanStatistic;
    return Note({"GetOdsStatistics", {}, {}, {}, {}});
}

result_t FakeService::GetSchedule(const std::u16string& name, TaskSchedule& out) noexcept {
    out = schedule;
    return Note({"GetSchedule", name, {}, {}, {}});
}

result_t FakeService::StartTask(const Caller& caller, const std::u16string& name) noexcept {
    return Note({"StartTask", name, caller, {}, {}});
}

result_t FakeService::StopTask(const Caller& caller, const std::u16string& name) noexcept {
    return Note({"StopTask", name, caller, {}, {}});
}

result_t FakeService::PauseTask(const Caller& caller, const std::u16string& name) noexcept {
    return Note({"PauseTask", name, caller, {}, {}});
}

result_t FakeService::ResumeTask(const Caller& caller, const std::u16string& name) noexcept {
    return Note({"ResumeTask", name, caller, {}, {}});
}

result_t FakeService::DeleteTask(const Caller& caller, const std::u16string& name) noexcept {
    return Note({"DeleteTask", name, caller, {}, {}});
}

result_t FakeService::DeleteStatistic(const Caller& caller, const OxsStatistic& statistic) noexcept {
    return Note({"DeleteStatistic", {}, caller, {}, statistic});
}

result_t FakeService::CreateScanTask(const Caller& caller, const ScanSettings& settings, core::TaskInfo& out) noexcept {
    if (!tasks.empty())
        out = tasks.front();
    return Note({"CreateScanTask", {}, caller, settings, {}});
}

result_t FakeService::GetProgress(const std::u16string& name, TaskProgress& out) noexcept {
    out = progress;
    return Note({"GetProgress", name, {}, {}, {}});
}

result_t FakeService::GetTaskSettings(const std::u16string& name, settings::SettingsChangeList& out) noexcept {
    out = taskSettings;
    return Note({"GetTaskSettings", name, {}, {}, {}});
}

result_t FakeService::NoteBlocking(Seen seen) noexcept {
    {
        const std::lock_guard lock(m_mutex);
        m_last = std::move(seen);
    }
    ++m_blockingCalls;
    if (duringBlocking)
        duringBlocking();
    return code.load();
}

result_t FakeService::SetTaskSettings(const Caller& caller, const std::u16string& name,
                                      const settings::SettingsChangeList& changes, bool toDefault,
                                      std::vector<settings::ValidationMessage>& out) noexcept {
    out = messages;
    return NoteBlocking({"SetTaskSettings", name, caller, {}, {}, changes, false, {}, toDefault});
}

result_t FakeService::SetSchedule(const Caller& caller, const std::u16string& name,
                                  const settings::SettingsChangeList& changes, bool toDefault,
                                  std::vector<settings::ValidationMessage>& out) noexcept {
    out = messages;
    return NoteBlocking({"SetSchedule", name, caller, {}, {}, changes, false, {}, toDefault});
}

result_t FakeService::SetAppSettings(const Caller& caller, const settings::SettingsChangeList& changes, bool acceptTsn,
                                     std::vector<settings::ValidationMessage>& out) noexcept {
    out = messages;
    return NoteBlocking({"SetAppSettings", {}, caller, {}, {}, changes, acceptTsn});
}

result_t FakeService::GetEventCount(const Caller& caller, std::uint64_t& count) noexcept {
    count = stored.size();
    return NoteBlocking({"GetEventCount", {}, caller, {}, {}});
}

result_t FakeService::GetOldestEvent(const Caller& caller, Event& event) noexcept {
    event = stored.front();
    return NoteBlocking({"GetOldestEvent", {}, caller, {}, {}});
}

result_t FakeService::GetEvent(const Caller& caller, Event::IdType id, Event& event) noexcept {
    const result_t result = NoteBlocking({"GetEvent", {}, caller, {}, {}});
    for (const Event& candidate : stored)
        if (candidate.id == id) {
            event = candidate;
            return result;
        }
    return ulk::eNotFound;
}

result_t FakeService::QueryEvents(const Caller& caller, const EventQuery& query, service::store::EventCursor cursor,
                                  std::size_t, service::store::EventPage& page) noexcept {
    const result_t result = NoteBlocking({"QueryEvents", {}, caller, {}, {}, {}, false, query});
    if (failingPage > 0 && --failingPage == 0)
        return ulk::eLocked;
    page = {};
    page.cursor = cursor;
    if (cursor.upToId == 0)
        page.cursor = {0, stored.empty() ? 0 : stored.back().id, query.offset};
    for (const Event& event : stored) {
        if (event.id <= page.cursor.lastId || event.id > page.cursor.upToId)
            continue;
        if (page.events.size() == std::min<std::size_t>(eventsOfAPage, query.limit)) {
            page.more = true;
            break;
        }
        page.cursor.lastId = event.id;
        if (page.cursor.toSkip > 0)
            --page.cursor.toSkip;
        else
            page.events.push_back(event);
    }
    return result;
}

ScanStatistic FullScanStatistic() { return {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}; }

OxsStatistic FullStatistic() {
    return {.taskId = 1u << 20,
            .taskName = u"Scan_My_Computer",
            .taskType = u"ODS",
            .isTemporary = true,
            .startTime = 1700000000,
            .finishTime = -5,
            .scannedBytes = 1ull << 40,
            .scan = FullScanStatistic()};
}

core::TaskInfo FullTaskInfo() {
    core::TaskInfo task;
    task.taskId = 1234567890123ull;
    task.taskName = u"Scan_File";
    task.taskType = u"ODS";
    task.state = types::TaskState::Pausing;
    task.settings.Set(ScanSettings{{"/home", "/bad\xff\xfe/n\name"s},
                                   {"/a"},
                                   {"*.iso", ""},
                                   false,
                                   1ull << 40,
                                   7,
                                   false,
                                   types::ThreatAction::Remove,
                                   true});
    task.isTemporary = true;
    task.startTime = 1700000001;
    task.stopTime = 1700000002;
    task.owner = TaskOwner{1000, u"ulrike"};
    task.isCentralKit = 7;
    task.displayName = u"\u00dcberpr\u00fcfung \U0001F512";
    task.cannotBeDeleted = false;
    return task;
}

AppInfo FullAppInfo() {
    AppInfo info;
    info.avBasesLoaded = true;
    info.avBasesDate = 133444736000000000;
    info.lastUpdateTime = 133444736000000001;
    info.lastMyCompScanTime = 1700000003;
    info.applicationUpdateState = ApplicationUpdateState::UpdateInstalled;
    info.isOASEnabled = true;
    info.canRunProtection = true;
    info.isRollbackAvailable = true;
    info.avRecordsCount = 8000000000ull;
    info.applicationVersion = u"10.1.4.78";
    info.engineVersion = u"1.4";
    info.scannerWorkers = 3;
    info.applicationUpdateVersion = u"10.1.5";
    info.systemName = u"Linux";
    info.systemVersion = u"12 (\u0416)";
    return info;
}

Event FullEvent() {
    using ulk::types::variant_t;
    using Name = types::AdditionalName;
    Event event;
    event.id = 1ll << 40;
    event.type = types::EventName::ThreatDetected;
    event.severity = types::EventSeverity::Critical;
    event.initiator = types::EventInitiator::User;
    event.initiatorUser = EventUser{4000000000u, u"ulrike"};
    event.time = -1;
    event.Add(Name::FileName, "/tmp/\xff\n\0x"s, true);
    event.Add(Name::ObjectName, ulk::types::string16_t(u"lone \xd800 surrogate"));
    event.Add(Name::Size, std::uint64_t{1} << 63);
    event.Add(Name::ProcessResult, true);
    event.Add(Name::DaysLeft, std::int32_t{-2});
    event.Add(Name::Information, std::int64_t{-3});
    event.Add(Name::FileOwnerId, std::uint32_t{4000000000u});
    event.Add(Name::AVBasesDate, ulk::types::FileTime{133444736000000000});
    event.Add(Name::Reason, variant_t());
    event.Add(static_cast<Name::Type>(9999), variant_t(variant_t::Vector{variant_t(1), variant_t::Vector{"inner"}}));
    return event;
}

} // namespace tfs::test
