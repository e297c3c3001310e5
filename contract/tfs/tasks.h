// SPDX-License-Identifier: GPL-2.0-or-later
// Task records and the interfaces that read and drive tasks.
#pragma once

#include <contract/tfs/settings.h>
#include <contract/tfs/value_tables.h>
#include <contract/tfs/variant.h>
#include <foundation/object.h>
#include <foundation/string16.h>

#include <cstdint>
#include <optional>
#include <string>

namespace tfs {

/// Identifiers of the tasks that always exist; they travel as decimal text.
enum class FixedTaskId : std::uint64_t {
    FileMonitoring = 1,
    FullScan = 2,
    CustomScan = 3,
    BootScan = 4,
    MemoryScan = 5,
    Update = 6,
    Rollback = 7,
};
/// Temporary tasks are numbered from here.
inline constexpr std::uint64_t FirstTemporaryTaskId = 100;

/// Settings of a scan task.
struct ScanSettings {
    static constexpr std::uint32_t TypeNumber = 0x6009A201u;
    /// Absolute paths, files or folders, as bytes of the file system.
    ulk::types::vector_t<std::string> areas{};
    ulk::types::vector_t<std::string> excludedPaths{}; ///< absolute; with everything below them
    /// Shell patterns (`*`, `?`, `[...]`): one without a slash for the name of a file or a folder, one that begins with
    /// a slash for a whole path. What is matched is left out with everything below it.
    ulk::types::vector_t<std::string> excludeMasks{};
    bool scanArchives = true;
    std::uint64_t maxFileSize = 0;          ///< bytes; larger files are told as not processed; 0: the scanner's limit
    std::uint32_t fileTimeLimitSeconds = 0; ///< of one file; 0: the service's limit
    /// A custom scan goes on into whatever is mounted below its areas, other scans into local file systems.
    bool crossFileSystems = true;
    types::ThreatAction::Type actionOnThreat = types::ThreatAction::Skip; ///< Skip: report only
    bool fullSpeed = false;                                               ///< don't make way for other programs
    friend bool operator==(const ScanSettings&, const ScanSettings&) = default;
};

/// Settings of an update task.
struct UpdateSettings {
    static constexpr std::uint32_t TypeNumber = 0x6009A202u;
    types::UpdateSourceKind::Type sourceType = types::UpdateSourceKind::TLServers;
    /// Where sourceType is Custom, tried in this order: addresses of private mirrors (http, https) and absolute paths
    /// of folders with signature files.
    ulk::types::vector_t<std::string> customSources{};
    bool useOfficialWhenUnavailable = true; ///< the official servers where no custom source answers
    std::uint32_t connectionTimeout = 30;   ///< seconds
    bool useProxy = false;                  ///< for everything that is fetched from the network, but for:
    bool ignoreProxyForOfficial = false;
    bool ignoreProxyForCustom = false;
    /// `http://HOST:PORT` or `https://HOST:PORT`; without a password, for everybody may read settings.
    std::string proxyServer{};
    friend bool operator==(const UpdateSettings&, const UpdateSettings&) = default;
};

/// A task's schedule as settings: what TaskSchedule holds in numbers, in the words that users read and write.
struct ScheduleSettings {
    static constexpr std::uint32_t TypeNumber = 0x6009A203u;
    types::ScheduleMode::Type mode = types::ScheduleMode::Manual;
    std::string startTime = "00:00"; ///< local time, HH:MM or HH:MM:SS; of an hourly task the minutes and seconds count
    types::DayOfWeek::Type dayOfWeek = types::DayOfWeek::Sunday; ///< Weekly
    std::uint32_t dayOfMonth = 1; ///< Monthly; 29 to 31 mean the last day of shorter months
    bool runMissed = false;       ///< a start that was missed is made up once
    friend bool operator==(const ScheduleSettings&, const ScheduleSettings&) = default;
};

/// Settings of the file monitoring task.
struct FileMonitoringSettings {
    static constexpr std::uint32_t TypeNumber = 0x6009A204u;
    /// SmartCheck: a program waits for its verdict before it starts, a written file is looked at when it is closed, and
    /// opening waits in `watchedFolders` alone. Open: every open waits. OpenAndModify: both.
    types::FileScanMode::Type mode = types::FileScanMode::SmartCheck;
    /// Absolute paths of folders, with the local file systems that are mounted below them.
    ulk::types::vector_t<std::string> areas{};
    ulk::types::vector_t<std::string> watchedFolders{};   ///< absolute; with everything below them
    ulk::types::vector_t<std::string> excludedPaths{};    ///< as of a scan
    ulk::types::vector_t<std::string> excludeMasks{};     ///< as of a scan
    ulk::types::vector_t<std::string> excludedPrograms{}; ///< absolute paths; what they open isn't looked at
    std::uint64_t maxFileSize = 100 * 1024 * 1024;        ///< bytes; larger files are let through; 0: without limit
    std::uint32_t deadlineSeconds = 10;                   ///< who waits longer for a verdict is let through
    /// Skip: a threat is reported and let through. Block: denied and reported. All others: moved into Storage besides.
    types::ThreatAction::Type actionOnThreat = types::ThreatAction::Recommended;
    friend bool operator==(const FileMonitoringSettings&, const FileMonitoringSettings&) = default;
};

/// Counters of one or more runs.
struct ScanStatistic {
    std::uint64_t scannedObjects = 0;
    std::uint64_t threatsFound = 0;
    std::uint64_t infectedObjects = 0;
    std::uint64_t suspiciousObjects = 0;
    std::uint64_t curedObjects = 0;
    std::uint64_t backedUpObjects = 0;
    std::uint64_t deletedObjects = 0;
    std::uint64_t notCuredObjects = 0;
    std::uint64_t scanErrors = 0;
    std::uint64_t passwordProtectedObjects = 0;
    std::uint64_t skippedObjects = 0;
    friend bool operator==(const ScanStatistic&, const ScanStatistic&) = default;
};

/// Statistics of one task's last or current run; they outlive a temporary task.
struct OxsStatistic {
    std::uint64_t taskId = 0;
    ulk::types::string16_t taskName;
    ulk::types::string16_t taskType;
    bool isTemporary = false;
    std::int64_t startTime = 0;  ///< seconds since the Unix epoch; 0 when never run
    std::int64_t finishTime = 0; ///< 0 while running
    std::uint64_t scannedBytes = 0;
    ScanStatistic scan;
    friend bool operator==(const OxsStatistic&, const OxsStatistic&) = default;
};

struct TaskOwner {
    std::uint32_t uid = 0;
    ulk::types::string16_t userName;
    friend bool operator==(const TaskOwner&, const TaskOwner&) = default;
};

struct TaskSchedule {
    std::uint32_t mode = 0;        ///< types::ScheduleMode; 0: started by hand
    ulk::types::string16_t text{}; ///< for people; made by the service
    std::int64_t firstValue = 0;   ///< second of the local day; Hourly: of the hour
    std::int64_t secondValue = 0;  ///< Weekly: types::DayOfWeek; Monthly: day of the month, from 1
    std::uint8_t flag = 0;         ///< 1: a start that was missed is made up once
    friend bool operator==(const TaskSchedule&, const TaskSchedule&) = default;
};

/// How far a task's current or last run has come.
struct TaskProgress {
    std::uint32_t percent = 0;                ///< never falls within a run
    std::optional<std::uint32_t> secondsLeft; ///< empty until an estimate has settled, and where nothing runs
    friend bool operator==(const TaskProgress&, const TaskProgress&) = default;
};

namespace core {

/// The service's record of a task.
struct TaskInfo {
    std::uint64_t taskId = 0;
    ulk::types::string16_t taskName;
    ulk::types::string16_t taskType;
    types::TaskState::Type state = types::TaskState::Stopped;
    ulk::types::any_struct_t settings;
    bool isTemporary = false;
    std::int64_t startTime = 0; ///< seconds since the Unix epoch
    std::int64_t stopTime = 0;
    std::optional<TaskOwner> owner;
    std::uint32_t isCentralKit = 0; ///< not 0: managed from the central console
    ulk::types::string16_t displayName;
    std::optional<bool> cannotBeDeleted;
};

} // namespace core

/// Ids and names are told by one text: a decimal id or a task name. Results beside transport failures: eNotFound
/// (no such task), eInvalidState (the state doesn't allow it), eAccessDenied (this user may not), eNotSupported.
class ITfsTaskManager : public ulk::IObject {
public:
    static constexpr ulk::iid_t Iid = 0x887632C7u;

    virtual result_t GetTaskList(ulk::types::vector_t<core::TaskInfo>& tasks) = 0;
    virtual result_t GetStatistics(ulk::types::vector_t<OxsStatistic>& statistics) = 0;
    virtual result_t GetStatistic(const ulk::types::string16_t& taskName, OxsStatistic& statistics) = 0;
    /// Sum over all on-demand scans.
    virtual result_t GetOdsStatistics(ScanStatistic& statistic) = 0;
    /// Answers when the command is taken; the rest is told by TaskStateChanged.
    virtual result_t StartTask(const ulk::types::string16_t& idOrName) = 0;
    virtual result_t StopTask(const ulk::types::string16_t& idOrName) = 0;
    virtual result_t PauseTask(const ulk::types::string16_t& idOrName) = 0;
    virtual result_t ResumeTask(const ulk::types::string16_t& idOrName) = 0;
    virtual result_t DeleteTask(const ulk::types::string16_t& taskName) = 0;
    virtual result_t DeleteStatistic(const OxsStatistic& statistics) = 0;
    virtual result_t GetSchedule(const ulk::types::string16_t& taskName, TaskSchedule& schedule) = 0;
    virtual result_t GetTaskInfo(const ulk::types::string16_t& idOrName, core::TaskInfo& task) = 0;
    /// Makes a temporary custom scan owned by the caller; it is started by StartTask and goes when it has run.
    virtual result_t CreateScanTask(const ScanSettings& settings, core::TaskInfo& task) = 0;
    virtual result_t GetProgress(const ulk::types::string16_t& idOrName, TaskProgress& progress) = 0;
    /// Every setting of the task, as key and text. eNotSupported for a task without settings.
    virtual result_t GetTaskSettings(const ulk::types::string16_t& idOrName,
                                     settings::SettingsChangeList& settings) = 0;
    /// Applies the whole list or nothing, to the settings in force or, with `toDefault`, to the task's default ones.
    /// They count from the task's next run. An administrator's right, and the owner's of a temporary task. sOk;
    /// sInvalidSettings with a line in `messages` for each fault; eInvalidState while the task isn't stopped;
    /// eNotSupported for a task without settings.
    virtual result_t SetTaskSettings(const ulk::types::string16_t& idOrName,
                                     const settings::SettingsChangeList& changes, bool toDefault,
                                     ulk::types::vector_t<settings::ValidationMessage>& messages) = 0;
    /// The same for the schedule; the list is one of ScheduleSettings. eNotSupported for a task that can't have one.
    virtual result_t SetSchedule(const ulk::types::string16_t& idOrName, const settings::SettingsChangeList& changes,
                                 bool toDefault, ulk::types::vector_t<settings::ValidationMessage>& messages) = 0;

protected:
    ~ITfsTaskManager() = default;
};

} // namespace tfs
