// SPDX-License-Identifier: GPL-2.0-or-later
// The service's areas as the transport sees them: answers with what the test has put in, and notes what was asked.
#pragma once

#include <service/rpc/blocking_api.h>
#include <service/rpc/service_api.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace tfs::test {

class FakeService final : public service::rpc::IServiceApi, public service::rpc::IBlockingApi {
public:
    // Answers. Set before the server starts.
    AppInfo appInfo;
    settings::AppSettings appSettings;
    PolicyState policy;
    bool localTasks = true;
    bool groupTasks = false;
    std::vector<core::TaskInfo> tasks;
    std::vector<OxsStatistic> statistics;
    ScanStatistic scanStatistic;
    TaskSchedule schedule;
    TaskProgress progress;
    std::atomic<bool> reportsAllowed{true};
    settings::SettingsChangeList taskSettings;
    std::atomic<result_t> code{ulk::sOk};
    /// Called inside each call, on the loop's thread.
    std::function<void()> during;

    // Of the calls that may block.
    std::vector<settings::ValidationMessage> messages;
    std::vector<Event> stored;       ///< ids ascending
    std::size_t eventsOfAPage = 3;   ///< of a query, which passes over every clause
    std::atomic<int> failingPage{0}; ///< this one of a query's pages fails
    /// Called inside each of them, on a helper thread.
    std::function<void()> duringBlocking;

    struct Seen {
        std::string method;
        std::u16string text;
        service::rpc::Caller caller;
        ScanSettings settings;
        OxsStatistic statistic;
        settings::SettingsChangeList changes{};
        bool acceptTsn = false;
        EventQuery query{};
        bool toDefault = false;
    };
    Seen Last() const;
    int Calls() const noexcept { return m_calls.load(); }
    int BlockingCalls() const noexcept { return m_blockingCalls.load(); }

    result_t GetAppInfo(AppInfo& out) noexcept override;
    result_t GetAppSettings(settings::AppSettings& out) noexcept override;
    bool AreReportsAllowed(const service::rpc::Caller&) noexcept override { return reportsAllowed; }
    result_t GetPolicy(PolicyState& out) noexcept override;
    result_t IsUserManageTasksAllowed(bool& local, bool& group) noexcept override;
    result_t CanBeStarted(const service::rpc::Caller& caller, const std::u16string& name,
                          bool& allowed) noexcept override;
    result_t CanBeStopped(const service::rpc::Caller& caller, const std::u16string& name,
                          bool& allowed) noexcept override;
    result_t GetTaskList(std::vector<core::TaskInfo>& out) noexcept override;
    result_t GetTaskInfo(const std::u16string& name, core::TaskInfo& out) noexcept override;
    result_t GetStatistics(std::vector<OxsStatistic>& out) noexcept override;
    result_t GetStatistic(const std::u16string& name, OxsStatistic& out) noexcept override;
    result_t GetOdsStatistics(ScanStatistic& out) noexcept override;
    result_t GetSchedule(const std::u16string& name, TaskSchedule& out) noexcept override;
    result_t StartTask(const service::rpc::Caller& caller, const std::u16string& name) noexcept override;
    result_t StopTask(const service::rpc::Caller& caller, const std::u16string& name) noexcept override;
    result_t PauseTask(const service::rpc::Caller& caller, const std::u16string& name) noexcept override;
    result_t ResumeTask(const service::rpc::Caller& caller, const std::u16string& name) noexcept override;
    result_t DeleteTask(const service::rpc::Caller& caller, const std::u16string& name) noexcept override;
    result_t DeleteStatistic(const service::rpc::Caller& caller, const OxsStatistic& statistic) noexcept override;
    result_t CreateScanTask(const service::rpc::Caller& caller, const ScanSettings& settings,
                            core::TaskInfo& out) noexcept override;
    result_t GetProgress(const std::u16string& name, TaskProgress& out) noexcept override;
    result_t GetTaskSettings(const std::u16string& name, settings::SettingsChangeList& out) noexcept override;

    result_t SetTaskSettings(const service::rpc::Caller& caller, const std::u16string& name,
                             const settings::SettingsChangeList& changes, bool toDefault,
                             std::vector<settings::ValidationMessage>& out) noexcept override;
    result_t SetSchedule(const service::rpc::Caller& caller, const std::u16string& name,
                         const settings::SettingsChangeList& changes, bool toDefault,
                         std::vector<settings::ValidationMessage>& out) noexcept override;
    result_t SetAppSettings(const service::rpc::Caller& caller, const settings::SettingsChangeList& changes,
                            bool acceptTsn, std::vector<settings::ValidationMessage>& out) noexcept override;
    result_t GetEventCount(const service::rpc::Caller& caller, std::uint64_t& count) noexcept override;
    result_t GetOldestEvent(const service::rpc::Caller& caller, Event& event) noexcept override;
    result_t GetEvent(const service::rpc::Caller& caller, Event::IdType id, Event& event) noexcept override;
    result_t QueryEvents(const service::rpc::Caller& caller, const EventQuery& query,
                         service::store::EventCursor cursor, std::size_t byteLimit,
                         service::store::EventPage& page) noexcept override;

private:
    result_t Note(Seen seen) noexcept;
    result_t NoteBlocking(Seen seen) noexcept;

    mutable std::mutex m_mutex;
    Seen m_last;
    std::atomic<int> m_calls{0};
    std::atomic<int> m_blockingCalls{0};
};

/// Records with every field away from its default.
core::TaskInfo FullTaskInfo();
OxsStatistic FullStatistic();
ScanStatistic FullScanStatistic();
AppInfo FullAppInfo();
Event FullEvent();

} // namespace tfs::test
