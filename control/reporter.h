// SPDX-License-Identifier: GPL-2.0-or-later
// What commands have to tell. One implementation a form of output; a command knows nothing of forms.
#pragma once

#include <contract/tfs/app_info.h>
#include <contract/tfs/event.h>
#include <contract/tfs/settings.h>
#include <contract/tfs/tasks.h>
#include <control/exit_codes.h>
#include <control/task_row.h>
#include <tfs_common/overview/overview.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tfs::control {

/// One finding of a scan. Texts are bytes as they came.
struct ScanFinding {
    enum class Kind { Threat, NotProcessed };
    Kind kind = Kind::Threat;
    std::string path;
    std::string detail; ///< name of the threat, or why it wasn't processed
};

/// How a run ended.
enum class RunEnd {
    Completed,
    Stopped,     ///< by this user or by somebody else
    Interrupted, ///< the service couldn't go on
};

struct ScanSummary {
    std::uint64_t taskId = 0;
    std::uint64_t scannedObjects = 0;
    std::uint64_t scannedBytes = 0;
    std::uint64_t threats = 0;
    std::uint64_t notProcessed = 0;
    std::uint64_t skipped = 0;
    RunEnd end = RunEnd::Completed;
    std::string reason; ///< with Interrupted
};

enum class UpdateResult {
    Updated,
    NothingToUpdate,
    RolledBack,
    Failed,
    Stopped, ///< by this user or by somebody else
};

struct UpdateSummary {
    std::uint64_t taskId = 0;
    UpdateResult result = UpdateResult::Updated;
    std::string reason; ///< with Failed; may be empty
    /// Of the databases after it; empty where the service didn't tell.
    std::optional<std::uint64_t> records;
    std::string date;
};

/// Called on the main thread. Each run of the program reports one answer, or one error.
class IReporter {
public:
    virtual ~IReporter() = default;
    virtual void Help(const std::string& text) = 0;
    virtual void Version(const std::string& version) = 0;
    virtual void TaskList(const std::vector<TaskRow>& tasks) = 0;
    /// A command for a task was taken; `verb` is "start", "stop" and so on.
    virtual void TaskCommandTaken(const std::string& verb, const core::TaskInfo& task) = 0;
    virtual void TaskState(const TaskRow& row, const std::optional<OxsStatistic>& lastRun) = 0;
    virtual void TaskCreated(const core::TaskInfo& task) = 0;
    virtual void TaskDeleted(const core::TaskInfo& task) = 0;
    virtual void StatisticsTold(const std::vector<OxsStatistic>& statistics) = 0;
    virtual void StatisticsDeleted(const OxsStatistic& statistic) = 0;
    virtual void AppInfoTold(const AppInfo& appInfo, const overview::Overview& overview) = 0;
    /// Settings in the order in which they are to be told.
    virtual void SettingsTold(const std::vector<settings::ChangeItem>& settings) = 0;
    /// `message` is what the service had to say to it, one line; mostly empty.
    virtual void SettingsChanged(const std::string& message) = 0;
    virtual void SettingsWritten(const std::string& file) = 0;
    virtual void EventsTold(const std::vector<Event>& events) = 0;
    /// From now on there are only events that come while the program runs, each written at once, and perhaps an error.
    virtual void EventsBegin() = 0;
    /// False where the output failed.
    virtual bool EventCame(const Event& event) = 0;
    virtual void Finding(const ScanFinding& finding) = 0;
    virtual void ScanEnded(const ScanSummary& summary) = 0;
    /// Where an update looks, as bytes; there may be several, one after the other.
    virtual void UpdateSource(const std::string& source) = 0;
    virtual void UpdateEnded(const UpdateSummary& summary) = 0;
    /// How far a run has come, some four times a second. `task` is its name in UTF-8.
    virtual void Progress(const std::string& task, const TaskProgress& progress) = 0;
    /// The user's request to stop is on its way to the service.
    virtual void StopAsked() = 0;
    /// `text` is one safe line. May follow findings where the scan came to a bad end.
    virtual void Error(ExitCode code, const std::string& text) = 0;
    /// Everything is written. False where the output failed.
    virtual bool Finish() = 0;
};

} // namespace tfs::control
