// SPDX-License-Identifier: GPL-2.0-or-later
// Named value tables: two-way maps between the service's numbers and fixed text names; names of task types and tasks.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace tfs::types {

struct ValueRow {
    std::int32_t value;
    std::string_view name;
};

/// One table: number to name and name to number. All tables are constants that the compiler builds, so that starting
/// costs nothing and all threads read them without a lock.
class ValueTable {
public:
    /// The same rows by number and by name; both must outlive the table.
    constexpr ValueTable(std::string_view tableName, std::span<const ValueRow> byValue,
                         std::span<const ValueRow> byName) noexcept
        : m_tableName(tableName), m_byValue(byValue), m_byName(byName) {}
    ValueTable(const ValueTable&) = delete;
    ValueTable& operator=(const ValueTable&) = delete;

    constexpr std::string_view TableName() const noexcept { return m_tableName; }
    /// By number.
    constexpr std::span<const ValueRow> Rows() const noexcept { return m_byValue; }
    /// Empty for a number without a row.
    std::string_view Name(std::int64_t value) const noexcept;
    std::optional<std::int32_t> Value(std::string_view name) const noexcept;

private:
    std::string_view m_tableName;
    std::span<const ValueRow> m_byValue;
    std::span<const ValueRow> m_byName;
};

// Each table is a struct with the numbers as an enumeration and the table itself.

struct EventName {
    enum Type : std::int32_t {
        IntegrityCheckFailed = 0,
        TaskStateChanged = 1,
        TaskSettingsChanged = 2,
        TaskScheduleChanged = 3,
        TaskCreated = 4,
        TaskDeleted = 5,
        ThreatDetected = 6,
        ObjectDeleted = 8,
        ObjectDisinfected = 9,
        ObjectNotDisinfected = 10,
        ObjectNotProcessed = 11,
        ObjectProcessed = 12,
        ObjectProcessingError = 13,
        ObjectProcessingStarted = 14,
        ObjectRemovedFromBackup = 15,
        ObjectRestoredFromBackup = 16,
        ObjectSavedToBackup = 17,
        ObjectSaveToBackupFailed = 18,
        OtherObjectDetected = 19,
        PackedObjectDetected = 20,
        ApplicationStopped = 21,
        ApplicationStarted = 22,
        ApplicationSettingsChanged = 23,
        TaskNotStarted = 24,
        AVBasesAttached = 25,
        AVBasesIntegrityCheckOK = 26,
        AVBasesIntegrityCheckFailed = 27,
        AVBasesApplied = 28,
        NothingToUpdate = 29,
        UpdateError = 30,
        AVBasesRollbackCompleted = 31,
        AVBasesRollbackError = 32,
        AVBasesAreTotallyOutOfDate = 33,
        AVBasesAreOutOfDate = 34,
        RetranslationError = 35,
        UpdateSourceSelected = 36,
        FileUpdateStarted = 37,
        FileUpdateFinished = 38,
        FileDownloadStarted = 39,
        ModuleDownloaded = 40,
        ModuleNotDownloaded = 41,
        UpdateProgressChanged = 42,
        PolicyNotApplied = 43,
        ODSProgressChanged = 47,
        OnDemandTaskInterrupted = 48,
        SettingLocaleFailed = 49,
        BlacklistCorrupted = 50,
        AVBasesCorrupted = 51,
        IllegalUpdate = 52,
        LicenseInstalled = 53,
        LicenseNotInstalled = 54,
        LicenseRevoked = 55,
        LicenseNotRevoked = 56,
        LicenseExpired = 57,
        LicenseExpiresSoon = 58,
        BackupSizeLimitReached = 59,
        BackupObjectRemovedSoon = 60,
        SubscriptionExpired = 61,
        SubscriptionExpiresSoon = 62,
        SubscriptionExpirationDateChanged = 63,
        TsnServiceProtocolNotSupported = 64,
        TsnServiceUnavailable = 65,
        TashellUpdateDone = 66,
        FileIntegrityIssue = 67,
        FileIntegrityOk = 68,
        BaselineBuilt = 69,
        FileIntegrityMonitorAlarmOverflow = 70,
        ObjectIntegrityCannotBeChecked = 71,
        IntegrityMonitorError = 72,
        EncryptionDetected = 73,
        HostBlocked = 74,
        HostNotBlocked = 75,
        HostUnblocked = 76,
        NetworkActivityAllowed = 77,
        NetworkActivityBlocked = 78,
        OSRebootRequired = 79,
        ProgramRestartRequired = 80,
        PatchDownloaded = 81,
        PatchInstalled = 82,
        PatchInstallError = 83,
        PatchRollbackCompleted = 84,
        PatchRollbackError = 85,
        ProductModuleInstalled = 86,
        NotCoveredByLicense = 87,
        PatchInstallStarted = 88,
        TsnStateChanged = 89,
    };
    static const ValueTable& Table() noexcept;
};

struct AdditionalName {
    enum Type : std::int32_t {
        FileName = 0,
        ObjectName = 1,
        ObjectType = 2,
        Size = 3,
        ProcessResult = 4,
        TaskName = 5,
        SCTaskName = 6,
        RuntimeTaskId = 7,
        TaskId = 8,
        TaskState = 9,
        PrevTaskState = 10,
        DetectName = 11,
        TaskType = 12,
        ObjectProcessError = 13,
        SkipReason = 14,
        ExecutionResult = 15,
        FileOwner = 16,
        FileOwnerId = 17,
        DetectCertainty = 18,
        DetectType = 19,
        DetectSource = 20,
        ObjectId = 21,
        Reason = 22,
        UpdateSource = 23,
        FileUpdateAction = 24,
        FileSize = 25,
        UpdateProgress = 26,
        UpdateTime = 27,
        UpdateTimestamp = 28,
        UpdateStatus = 29,
        ModuleName = 30,
        PackedObjectType = 31,
        PackerName = 32,
        TaskScanSettings = 33,
        ODSProgress = 34,
        AVBasesDate = 35,
        AVRecordsCount = 36,
        AccessUser = 37,
        AccessUserId = 38,
        ObjectNotDisinfectedReason = 39,
        DaysLeft = 40,
        Information = 41,
        NewExpirationDate = 42,
        NewGraceTerm = 43,
        LicenseId = 45,
        ApplicationStopReason = 48,
        Settings = 50,
        TashellUpdateResult = 51,
        TaskNotStartedReason = 52,
        AVBasesReleaseDate = 53,
        FileModificationType = 54,
        FileObjectType = 55,
        LastAccessTime = 56,
        LastModificationTime = 57,
        LastStatusChangeTime = 58,
        LinkCount = 59,
        ObjectAttributes = 60,
        ObjectSize = 61,
        OriginalFileName = 62,
        OriginalPath = 63,
        OwnerGroupId = 64,
        OwnerUserId = 65,
        Path = 66,
        UpdatedRecords = 67,
        FimErrorReason = 68,
        FimRuleId = 69,
        HostName = 70,
        CryptorName = 71,
        ExtraRule = 74,
        MissingRule = 75,
        NetworkActivity = 76,
        PacketRuleIndex = 77,
        PatchVersion = 78,
        TsnStatementId = 79,
        TsnAcceptance = 80,
        TsnStatisticsId = 81,
        TsnStatisticsAcceptance = 82,
        TsnState = 83,
    };
    static const ValueTable& Table() noexcept;
};

struct YesNoFlag {
    enum Type : std::int32_t {
        No = 0,
        Yes = 1,
    };
    static const ValueTable& Table() noexcept;
};

struct EventSeverity {
    enum Type : std::int32_t {
        Critical = 0,
        High = 1,
        Medium = 2,
        Low = 3,
        Informational = 4,
        Error = 5,
    };
    static const ValueTable& Table() noexcept;
};

struct DetectCertainty {
    enum Type : std::int32_t {
        Unknown = 0,
        Sure = 1,
        Warning = 2,
        Suspicion = 3,
    };
    static const ValueTable& Table() noexcept;
};

struct DetectSource {
    enum Type : std::int32_t {
        Local = 0,
        TSN = 1,
    };
    static const ValueTable& Table() noexcept;
};

struct DetectType {
    enum Type : std::int32_t {
        Other = 0,
        Virware = 1,
        Trojware = 2,
        Malware = 3,
        Adware = 4,
        Pornware = 5,
        SuspiciousPackedFiles = 6,
        LegacyDetect = 7,
    };
    static const ValueTable& Table() noexcept;
};

struct TaskState {
    enum Type : std::int32_t {
        Starting = 0,
        Started = 1,
        Pausing = 2,
        Suspended = 3,
        Resuming = 4,
        Stopping = 5,
        Stopped = 6,
        Unknown = 7,
    };
    static const ValueTable& Table() noexcept;
};

struct ObjectStatus {
    enum Type : std::int32_t {
        Quarantine = 0,
        Backup = 1,
        UserAdded = 2,
        Untreated = 3,
        Unknown = 4,
    };
    static const ValueTable& Table() noexcept;
};

struct ObjectName {
    enum Type : std::int32_t {
        File = 0,
        LogicalDrive = 1,
        PhysicalDisk = 2,
        SystemMemory = 3,
        MemoryProcess = 4,
        MemoryModule = 5,
        MailMsgRef = 6,
        MailMsgMime = 7,
        MailMsgBody = 8,
        MailMsgAttach = 9,
        StartUp = 10,
        Folder = 11,
        Script = 12,
        URL = 13,
    };
    static const ValueTable& Table() noexcept;
};

struct ThreatAction {
    enum Type : std::int32_t {
        Cure = 0,
        Remove = 1,
        Recommended = 2,
        Skip = 3,
        Block = 4,
    };
    static const ValueTable& Table() noexcept;
};

struct ScanLevel {
    enum Type : std::int32_t {
        Light = 0,
        Medium = 1,
        Deep = 2,
        Recommended = 3,
    };
    static const ValueTable& Table() noexcept;
};

struct InterceptorKind {
    enum Type : std::int32_t {
        kernel = 0,
        fanotify = 1,
        pluginfs = 2,
    };
    static const ValueTable& Table() noexcept;
};

struct FileScanMode {
    enum Type : std::int32_t {
        SmartCheck = 0,
        Open = 1,
        OpenAndModify = 2,
    };
    static const ValueTable& Table() noexcept;
};

struct MailerKind {
    enum Type : std::int32_t {
        Internal = 0,
        Sendmail = 1,
    };
    static const ValueTable& Table() noexcept;
};

struct SettingsScope {
    enum Type : std::int32_t {
        Local = 0,
        Global = 1,
        Both = 2,
    };
    static const ValueTable& Table() noexcept;
};

struct ActivationKind {
    enum Type : std::int32_t {
        Activation2 = 0,
        LicenseKey = 1,
    };
    static const ValueTable& Table() noexcept;
};

struct ScheduleRepeat {
    enum Type : std::int32_t {
        Daily = 0,
        Weekly = 1,
        Monthly = 2,
        Never = 3,
    };
    static const ValueTable& Table() noexcept;
};

struct LogRotation {
    enum Type : std::int32_t {
        Erase = 0,
        Move = 1,
    };
    static const ValueTable& Table() noexcept;
};

struct TraceDetail {
    enum Type : std::int32_t {
        None = 0,
        NotDetailed = 1,
        Detailed = 2,
    };
    static const ValueTable& Table() noexcept;
};

struct NetworkDiscovery {
    enum Type : std::int32_t {
        Multicast = 0,
        Viis = 1,
        List = 2,
    };
    static const ValueTable& Table() noexcept;
};

struct ObjectNotDisinfectedReason {
    enum Type : std::int32_t {
        None = 0,
        NonCurable = 1,
        Locked = 2,
        ReportOnly = 3,
        NoPermissions = 4,
        Cancelled = 5,
        WriteProtect = 6,
        TaskStopped = 7,
        Postponed = 8,
        NonOverwritable = 9,
        CopyFailed = 10,
        WriteError = 11,
        OutOfSpace = 12,
        ReadError = 13,
        DeviceNotReady = 14,
        ObjectNotFound = 15,
        WriteNotSupported = 16,
        CannotBackup = 17,
        SystemCriticalObject = 18,
        AlreadyProcessed = 19,
    };
    static const ValueTable& Table() noexcept;
};

struct ScanScope {
    enum Type : std::int32_t {
        Local = 0,
        Mounted = 1,
        Shared = 2,
        AllRemoteMounted = 3,
        AllShared = 4,
        BootSectors = 5,
        Memory = 6,
        Invalid = 7,
    };
    static const ValueTable& Table() noexcept;
};

struct ShareProtocol {
    enum Type : std::int32_t {
        Any = 0,
        NFS = 1,
        SMB = 2,
    };
    static const ValueTable& Table() noexcept;
};

struct TaskNotStartedReason {
    enum Type : std::int32_t {
        InternalSettingsError = 0,
        InterceptionDriverError = 1,
        NetworkServicesNotAvailable = 2,
        InternalError = 3,
    };
    static const ValueTable& Table() noexcept;
};

struct ApplicationStopReason {
    enum Type : std::int32_t {
        NormalExit = 0,
        Crash = 1,
        IntegrityCheckFailed = 2,
        CannotImportPreviousVersionSettings = 3,
    };
    static const ValueTable& Table() noexcept;
};

struct PathIssue {
    enum Type : std::int32_t {
        Unknown = 0,
        PathDoesntExist = 1,
        Cancelled = 2,
    };
    static const ValueTable& Table() noexcept;
};

struct UpdateSourceKind {
    enum Type : std::int32_t {
        TLServers = 0,
        SCServer = 1,
        Custom = 2,
    };
    static const ValueTable& Table() noexcept;
};

struct FileModificationType {
    enum Type : std::int32_t {
        Ignore = 0,
        ObjectAccessControlAttributesChanged = 1,
        ObjectAccessed = 2,
        ObjectAttributesChanged = 3,
        ObjectClosedAfterWrite = 4,
        ObjectClosedWithoutWrite = 5,
        ObjectContentChanged = 6,
        ObjectCreated = 7,
        ObjectDeleted = 8,
        ObjectMoved = 9,
        ObjectMovedFrom = 10,
        ObjectMovedTo = 11,
        ObjectOpened = 12,
        ObjectRenamed = 13,
        Unknown = 14,
    };
    static const ValueTable& Table() noexcept;
};

struct IpVersion {
    enum Type : std::int32_t {
        IPv4 = 0,
        IPv6 = 1,
    };
    static const ValueTable& Table() noexcept;
};

struct PacketAction {
    enum Type : std::int32_t {
        Allow = 0,
        Block = 1,
    };
    static const ValueTable& Table() noexcept;
};

struct TrafficDirection {
    enum Type : std::int32_t {
        IncomingOutgoing = 0,
        Incoming = 1,
        Outgoing = 2,
        IncomingOutgoingPacket = 3,
        IncomingPacket = 4,
        OutgoingPacket = 5,
    };
    static const ValueTable& Table() noexcept;
};

struct IpProtocol {
    enum Type : std::int32_t {
        Any = 0,
        ICMP = 1,
        IGMP = 2,
        TCP = 3,
        UDP = 4,
        ICMPv6 = 5,
        GRE = 6,
    };
    static const ValueTable& Table() noexcept;
};

struct FileObjectType {
    enum Type : std::int32_t {
        File = 0,
        Directory = 1,
        CharacterDevice = 2,
        BlockDevice = 3,
        NamedPipe = 4,
        SymbolicLink = 5,
        Socket = 6,
    };
    static const ValueTable& Table() noexcept;
};

struct PatchPolicy {
    enum Type : std::int32_t {
        Disabled = 0,
        DownloadOnly = 1,
        DownloadAndInstall = 2,
    };
    static const ValueTable& Table() noexcept;
};

struct PatchImportance {
    enum Type : std::int32_t {
        Normal = 0,
        Critical = 1,
    };
    static const ValueTable& Table() noexcept;
};

struct PatchState {
    enum Type : std::int32_t {
        Applicable = 0,
        Installed = 1,
        InstallFailed = 2,
    };
    static const ValueTable& Table() noexcept;
};

struct ApplicationModuleState {
    enum Type : std::int32_t {
        NotInstalled = 0,
        Installed = 1,
        Uninstall = 2,
        Upgrade = 3,
        Start = 4,
        UpgradeFailed = 5,
        StartFailed = 6,
        RollingBack = 7,
        RolledBack = 8,
    };
    static const ValueTable& Table() noexcept;
};

struct PatchEventResult {
    enum Type : std::int32_t {
        Unknown = 0,
        NoUpdatesAvailable = 1,
        UpdateDownloaded = 2,
        UpdateInstalled = 3,
        UpdateFailed = 4,
        ModuleUpdateInstalled = 5,
        PatchFilesCorrupted = 6,
    };
    static const ValueTable& Table() noexcept;
};

struct TsnMode {
    enum Type : std::int32_t {
        No = 0,
        Extended = 1,
        Basic = 2,
        SaveStatisticsToFile = 3,
    };
    static const ValueTable& Table() noexcept;
};

struct TsnOffMode {
    enum Type : std::int32_t {
        Off = 0,
        Extended = 1,
        Basic = 2,
        SaveStatisticsToFile = 3,
    };
    static const ValueTable& Table() noexcept;
};

/// Detail of the service's trace, as a setting.
struct TraceLevel {
    enum Type : std::int32_t {
        None = 0,
        NotDetailed = 1,
        Detailed = 2,
    };
    static const ValueTable& Table() noexcept;
};

/// Participation in the security network, as a setting.
struct TsnUsage {
    enum Type : std::int32_t {
        Off = 0,
        Extended = 1,
        Basic = 2,
        SaveStatisticsToFile = 3,
    };
    static const ValueTable& Table() noexcept;
};

struct AcceptanceState {
    enum Type : std::int32_t {
        Accepted = 0,
        Denied = 1,
    };
    static const ValueTable& Table() noexcept;
};

struct KeySource {
    enum Type : std::int32_t {
        Manual = 0,
        AutoKey = 1,
        AdditionalKeyAsActive = 2,
    };
    static const ValueTable& Table() noexcept;
};

struct EventInitiator {
    enum Type : std::int32_t {
        SecurityCenter = 0,
        User = 1,
        Product = 2,
        Scheduler = 3,
    };
    static const ValueTable& Table() noexcept;
};

/// Weight of a threat or an event, as a setting and of an object in Storage: the vocabulary of EventSeverity.
struct DangerLevel {
    using Type = EventSeverity::Type;
    static const ValueTable& Table() noexcept;
};

/// EventInitiator, as a setting.
struct Initiator {
    using Type = EventInitiator::Type;
    static const ValueTable& Table() noexcept;
};

/// Which remote file systems a setting means: the vocabulary of ShareProtocol.
struct FilesystemType {
    using Type = ShareProtocol::Type;
    static const ValueTable& Table() noexcept;
};

/// When a task starts by itself.
struct ScheduleMode {
    enum Type : std::int32_t {
        Manual = 0,
        AtStart = 1,
        Hourly = 2,
        Daily = 3,
        Weekly = 4,
        Monthly = 5,
    };
    static const ValueTable& Table() noexcept;
};

struct DayOfWeek {
    enum Type : std::int32_t {
        Sunday = 0,
        Monday = 1,
        Tuesday = 2,
        Wednesday = 3,
        Thursday = 4,
        Friday = 5,
        Saturday = 6,
    };
    static const ValueTable& Table() noexcept;
};

/// Every table above, found by its name; null where there is none.
const ValueTable* FindTable(std::string_view tableName) noexcept;

} // namespace tfs::types

namespace tfs {

/// What a TaskType value holds.
namespace task_type {
inline constexpr char16_t AntiCryptor[] = u"AntiCryptor";
inline constexpr char16_t Backup[] = u"Backup";
inline constexpr char16_t BootScan[] = u"BootScan";
inline constexpr char16_t Firewall[] = u"Firewall";
inline constexpr char16_t License[] = u"License";
inline constexpr char16_t MemoryScan[] = u"MemoryScan";
inline constexpr char16_t OAFIM[] = u"OAFIM";
inline constexpr char16_t OAS[] = u"OAS";
inline constexpr char16_t ODFIM[] = u"ODFIM";
inline constexpr char16_t ODS[] = u"ODS";
inline constexpr char16_t Retranslate[] = u"Retranslate";
inline constexpr char16_t Rollback[] = u"Rollback";
inline constexpr char16_t Update[] = u"Update";
} // namespace task_type

/// Names of the tasks that the product knows by name.
namespace task_name {
inline constexpr char16_t AntiCryptor[] = u"Anti_Cryptor";
inline constexpr char16_t AVS[] = u"AVS";
inline constexpr char16_t Backup[] = u"Backup";
inline constexpr char16_t BootScan[] = u"Boot_Scan";
inline constexpr char16_t FirewallManager[] = u"Firewall_Manager";
inline constexpr char16_t IntegrityMonitoring[] = u"Integrity_Monitoring";
inline constexpr char16_t License[] = u"License";
inline constexpr char16_t MemoryScan[] = u"Memory_Scan";
inline constexpr char16_t FileMonitoring[] = u"File_Monitoring";
inline constexpr char16_t FullScan[] = u"Scan_My_Computer";
inline constexpr char16_t Retranslate[] = u"Retranslate";
inline constexpr char16_t CustomScan[] = u"Scan_File";
inline constexpr char16_t Rollback[] = u"Rollback";
inline constexpr char16_t Update[] = u"Update";
} // namespace task_name

} // namespace tfs
