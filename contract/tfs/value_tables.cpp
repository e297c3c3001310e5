// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/value_tables.h>

#include <algorithm>
#include <array>
#include <iterator>

namespace tfs::types {
namespace {

constexpr ValueRow EventNameRows[] = {
    {0, "IntegrityCheckFailed"},
    {1, "TaskStateChanged"},
    {2, "TaskSettingsChanged"},
    {3, "TaskScheduleChanged"},
    {4, "TaskCreated"},
    {5, "TaskDeleted"},
    {6, "ThreatDetected"},
    {8, "ObjectDeleted"},
    {9, "ObjectDisinfected"},
    {10, "ObjectNotDisinfected"},
    {11, "ObjectNotProcessed"},
    {12, "ObjectProcessed"},
    {13, "ObjectProcessingError"},
    {14, "ObjectProcessingStarted"},
    {15, "ObjectRemovedFromBackup"},
    {16, "ObjectRestoredFromBackup"},
    {17, "ObjectSavedToBackup"},
    {18, "ObjectSaveToBackupFailed"},
    {19, "OtherObjectDetected"},
    {20, "PackedObjectDetected"},
    {21, "ApplicationStopped"},
    {22, "ApplicationStarted"},
    {23, "ApplicationSettingsChanged"},
    {24, "TaskNotStarted"},
    {25, "AVBasesAttached"},
    {26, "AVBasesIntegrityCheckOK"},
    {27, "AVBasesIntegrityCheckFailed"},
    {28, "AVBasesApplied"},
    {29, "NothingToUpdate"},
    {30, "UpdateError"},
    {31, "AVBasesRollbackCompleted"},
    {32, "AVBasesRollbackError"},
    {33, "AVBasesAreTotallyOutOfDate"},
    {34, "AVBasesAreOutOfDate"},
    {35, "RetranslationError"},
    {36, "UpdateSourceSelected"},
    {37, "FileUpdateStarted"},
    {38, "FileUpdateFinished"},
    {39, "FileDownloadStarted"},
    {40, "ModuleDownloaded"},
    {41, "ModuleNotDownloaded"},
    {42, "UpdateProgressChanged"},
    {43, "PolicyNotApplied"},
    {47, "ODSProgressChanged"},
    {48, "OnDemandTaskInterrupted"},
    {49, "SettingLocaleFailed"},
    {50, "BlacklistCorrupted"},
    {51, "AVBasesCorrupted"},
    {52, "IllegalUpdate"},
    {53, "LicenseInstalled"},
    {54, "LicenseNotInstalled"},
    {55, "LicenseRevoked"},
    {56, "LicenseNotRevoked"},
    {57, "LicenseExpired"},
    {58, "LicenseExpiresSoon"},
    {59, "BackupSizeLimitReached"},
    {60, "BackupObjectRemovedSoon"},
    {61, "SubscriptionExpired"},
    {62, "SubscriptionExpiresSoon"},
    {63, "SubscriptionExpirationDateChanged"},
    {64, "TsnServiceProtocolNotSupported"},
    {65, "TsnServiceUnavailable"},
    {66, "TashellUpdateDone"},
    {67, "FileIntegrityIssue"},
    {68, "FileIntegrityOk"},
    {69, "BaselineBuilt"},
    {70, "FileIntegrityMonitorAlarmOverflow"},
    {71, "ObjectIntegrityCannotBeChecked"},
    {72, "IntegrityMonitorError"},
    {73, "EncryptionDetected"},
    {74, "HostBlocked"},
    {75, "HostNotBlocked"},
    {76, "HostUnblocked"},
    {77, "NetworkActivityAllowed"},
    {78, "NetworkActivityBlocked"},
    {79, "OSRebootRequired"},
    {80, "ProgramRestartRequired"},
    {81, "PatchDownloaded"},
    {82, "PatchInstalled"},
    {83, "PatchInstallError"},
    {84, "PatchRollbackCompleted"},
    {85, "PatchRollbackError"},
    {86, "ProductModuleInstalled"},
    {87, "NotCoveredByLicense"},
    {88, "PatchInstallStarted"},
    {89, "TsnStateChanged"},
};

constexpr ValueRow AdditionalNameRows[] = {
    {0, "FileName"},
    {1, "ObjectName"},
    {2, "ObjectType"},
    {3, "Size"},
    {4, "ProcessResult"},
    {5, "TaskName"},
    {6, "SCTaskName"},
    {7, "RuntimeTaskId"},
    {8, "TaskId"},
    {9, "TaskState"},
    {10, "PrevTaskState"},
    {11, "DetectName"},
    {12, "TaskType"},
    {13, "ObjectProcessError"},
    {14, "SkipReason"},
    {15, "ExecutionResult"},
    {16, "FileOwner"},
    {17, "FileOwnerId"},
    {18, "DetectCertainty"},
    {19, "DetectType"},
    {20, "DetectSource"},
    {21, "ObjectId"},
    {22, "Reason"},
    {23, "UpdateSource"},
    {24, "FileUpdateAction"},
    {25, "FileSize"},
    {26, "UpdateProgress"},
    {27, "UpdateTime"},
    {28, "UpdateTimestamp"},
    {29, "UpdateStatus"},
    {30, "ModuleName"},
    {31, "PackedObjectType"},
    {32, "PackerName"},
    {33, "TaskScanSettings"},
    {34, "ODSProgress"},
    {35, "AVBasesDate"},
    {36, "AVRecordsCount"},
    {37, "AccessUser"},
    {38, "AccessUserId"},
    {39, "ObjectNotDisinfectedReason"},
    {40, "DaysLeft"},
    {41, "Information"},
    {42, "NewExpirationDate"},
    {43, "NewGraceTerm"},
    {45, "LicenseId"},
    {48, "ApplicationStopReason"},
    {50, "Settings"},
    {51, "TashellUpdateResult"},
    {52, "TaskNotStartedReason"},
    {53, "AVBasesReleaseDate"},
    {54, "FileModificationType"},
    {55, "FileObjectType"},
    {56, "LastAccessTime"},
    {57, "LastModificationTime"},
    {58, "LastStatusChangeTime"},
    {59, "LinkCount"},
    {60, "ObjectAttributes"},
    {61, "ObjectSize"},
    {62, "OriginalFileName"},
    {63, "OriginalPath"},
    {64, "OwnerGroupId"},
    {65, "OwnerUserId"},
    {66, "Path"},
    {67, "UpdatedRecords"},
    {68, "FimErrorReason"},
    {69, "FimRuleId"},
    {70, "HostName"},
    {71, "CryptorName"},
    {74, "ExtraRule"},
    {75, "MissingRule"},
    {76, "NetworkActivity"},
    {77, "PacketRuleIndex"},
    {78, "PatchVersion"},
    {79, "TsnStatementId"},
    {80, "TsnAcceptance"},
    {81, "TsnStatisticsId"},
    {82, "TsnStatisticsAcceptance"},
    {83, "TsnState"},
};

constexpr ValueRow YesNoFlagRows[] = {
    {0, "No"},
    {1, "Yes"},
};

constexpr ValueRow EventSeverityRows[] = {
    {0, "Critical"}, {1, "High"}, {2, "Medium"}, {3, "Low"}, {4, "Informational"}, {5, "Error"},
};

constexpr ValueRow DetectCertaintyRows[] = {
    {0, "Unknown"},
    {1, "Sure"},
    {2, "Warning"},
    {3, "Suspicion"},
};

constexpr ValueRow DetectSourceRows[] = {
    {0, "Local"},
    {1, "TSN"},
};

constexpr ValueRow DetectTypeRows[] = {
    {0, "Other"},
    {1, "Virware"},
    {2, "Trojware"},
    {3, "Malware"},
    {4, "Adware"},
    {5, "Pornware"},
    {6, "SuspiciousPackedFiles"},
    {7, "LegacyDetect"},
};

constexpr ValueRow TaskStateRows[] = {
    {0, "Starting"}, {1, "Started"},  {2, "Pausing"}, {3, "Suspended"},
    {4, "Resuming"}, {5, "Stopping"}, {6, "Stopped"}, {7, "Unknown"},
};

constexpr ValueRow ObjectStatusRows[] = {
    {0, "Quarantine"}, {1, "Backup"}, {2, "UserAdded"}, {3, "Untreated"}, {4, "Unknown"},
};

constexpr ValueRow ObjectNameRows[] = {
    {0, "File"},         {1, "LogicalDrive"}, {2, "PhysicalDisk"}, {3, "SystemMemory"}, {4, "MemoryProcess"},
    {5, "MemoryModule"}, {6, "MailMsgRef"},   {7, "MailMsgMime"},  {8, "MailMsgBody"},  {9, "MailMsgAttach"},
    {10, "StartUp"},     {11, "Folder"},      {12, "Script"},      {13, "URL"},
};

constexpr ValueRow ThreatActionRows[] = {
    {0, "Cure"}, {1, "Remove"}, {2, "Recommended"}, {3, "Skip"}, {4, "Block"},
};

constexpr ValueRow ScanLevelRows[] = {
    {0, "Light"},
    {1, "Medium"},
    {2, "Deep"},
    {3, "Recommended"},
};

constexpr ValueRow InterceptorKindRows[] = {
    {0, "kernel"},
    {1, "fanotify"},
    {2, "pluginfs"},
};

constexpr ValueRow FileScanModeRows[] = {
    {0, "SmartCheck"},
    {1, "Open"},
    {2, "OpenAndModify"},
};

constexpr ValueRow MailerKindRows[] = {
    {0, "Internal"},
    {1, "Sendmail"},
};

constexpr ValueRow SettingsScopeRows[] = {
    {0, "Local"},
    {1, "Global"},
    {2, "Both"},
};

constexpr ValueRow ActivationKindRows[] = {
    {0, "Activation2"},
    {1, "LicenseKey"},
};

constexpr ValueRow ScheduleRepeatRows[] = {
    {0, "Daily"},
    {1, "Weekly"},
    {2, "Monthly"},
    {3, "Never"},
};

constexpr ValueRow LogRotationRows[] = {
    {0, "Erase"},
    {1, "Move"},
};

constexpr ValueRow TraceDetailRows[] = {
    {0, "None"},
    {1, "NotDetailed"},
    {2, "Detailed"},
};

constexpr ValueRow NetworkDiscoveryRows[] = {
    {0, "Multicast"},
    {1, "Viis"},
    {2, "List"},
};

constexpr ValueRow ObjectNotDisinfectedReasonRows[] = {
    {0, "None"},
    {1, "NonCurable"},
    {2, "Locked"},
    {3, "ReportOnly"},
    {4, "NoPermissions"},
    {5, "Cancelled"},
    {6, "WriteProtect"},
    {7, "TaskStopped"},
    {8, "Postponed"},
    {9, "NonOverwritable"},
    {10, "CopyFailed"},
    {11, "WriteError"},
    {12, "OutOfSpace"},
    {13, "ReadError"},
    {14, "DeviceNotReady"},
    {15, "ObjectNotFound"},
    {16, "WriteNotSupported"},
    {17, "CannotBackup"},
    {18, "SystemCriticalObject"},
    {19, "AlreadyProcessed"},
};

constexpr ValueRow ScanScopeRows[] = {
    {0, "Local"},     {1, "Mounted"},     {2, "Shared"}, {3, "AllRemoteMounted"},
    {4, "AllShared"}, {5, "BootSectors"}, {6, "Memory"}, {7, "Invalid"},
};

constexpr ValueRow ShareProtocolRows[] = {
    {0, "Any"},
    {1, "NFS"},
    {2, "SMB"},
};

constexpr ValueRow TaskNotStartedReasonRows[] = {
    {0, "InternalSettingsError"},
    {1, "InterceptionDriverError"},
    {2, "NetworkServicesNotAvailable"},
    {3, "InternalError"},
};

constexpr ValueRow ApplicationStopReasonRows[] = {
    {0, "NormalExit"},
    {1, "Crash"},
    {2, "IntegrityCheckFailed"},
    {3, "CannotImportPreviousVersionSettings"},
};

constexpr ValueRow PathIssueRows[] = {
    {0, "Unknown"},
    {1, "PathDoesntExist"},
    {2, "Cancelled"},
};

constexpr ValueRow UpdateSourceKindRows[] = {
    {0, "TLServers"},
    {1, "SCServer"},
    {2, "Custom"},
};

constexpr ValueRow FileModificationTypeRows[] = {
    {0, "Ignore"},
    {1, "ObjectAccessControlAttributesChanged"},
    {2, "ObjectAccessed"},
    {3, "ObjectAttributesChanged"},
    {4, "ObjectClosedAfterWrite"},
    {5, "ObjectClosedWithoutWrite"},
    {6, "ObjectContentChanged"},
    {7, "ObjectCreated"},
    {8, "ObjectDeleted"},
    {9, "ObjectMoved"},
    {10, "ObjectMovedFrom"},
    {11, "ObjectMovedTo"},
    {12, "ObjectOpened"},
    {13, "ObjectRenamed"},
    {14, "Unknown"},
};

constexpr ValueRow IpVersionRows[] = {
    {0, "IPv4"},
    {1, "IPv6"},
};

constexpr ValueRow PacketActionRows[] = {
    {0, "Allow"},
    {1, "Block"},
};

constexpr ValueRow TrafficDirectionRows[] = {
    {0, "IncomingOutgoing"},       {1, "Incoming"},       {2, "Outgoing"},
    {3, "IncomingOutgoingPacket"}, {4, "IncomingPacket"}, {5, "OutgoingPacket"},
};

constexpr ValueRow IpProtocolRows[] = {
    {0, "Any"}, {1, "ICMP"}, {2, "IGMP"}, {3, "TCP"}, {4, "UDP"}, {5, "ICMPv6"}, {6, "GRE"},
};

constexpr ValueRow FileObjectTypeRows[] = {
    {0, "File"},      {1, "Directory"},    {2, "CharacterDevice"}, {3, "BlockDevice"},
    {4, "NamedPipe"}, {5, "SymbolicLink"}, {6, "Socket"},
};

constexpr ValueRow PatchPolicyRows[] = {
    {0, "Disabled"},
    {1, "DownloadOnly"},
    {2, "DownloadAndInstall"},
};

constexpr ValueRow PatchImportanceRows[] = {
    {0, "Normal"},
    {1, "Critical"},
};

constexpr ValueRow PatchStateRows[] = {
    {0, "Applicable"},
    {1, "Installed"},
    {2, "InstallFailed"},
};

constexpr ValueRow ApplicationModuleStateRows[] = {
    {0, "NotInstalled"},  {1, "Installed"},   {2, "Uninstall"},   {3, "Upgrade"},    {4, "Start"},
    {5, "UpgradeFailed"}, {6, "StartFailed"}, {7, "RollingBack"}, {8, "RolledBack"},
};

constexpr ValueRow PatchEventResultRows[] = {
    {0, "Unknown"},      {1, "NoUpdatesAvailable"},    {2, "UpdateDownloaded"},    {3, "UpdateInstalled"},
    {4, "UpdateFailed"}, {5, "ModuleUpdateInstalled"}, {6, "PatchFilesCorrupted"},
};

constexpr ValueRow TsnModeRows[] = {
    {0, "No"},
    {1, "Extended"},
    {2, "Basic"},
    {3, "SaveStatisticsToFile"},
};

constexpr ValueRow TsnOffModeRows[] = {
    {0, "Off"},
    {1, "Extended"},
    {2, "Basic"},
    {3, "SaveStatisticsToFile"},
};

constexpr ValueRow AcceptanceStateRows[] = {
    {0, "Accepted"},
    {1, "Denied"},
};

constexpr ValueRow KeySourceRows[] = {
    {0, "Manual"},
    {1, "AutoKey"},
    {2, "AdditionalKeyAsActive"},
};

constexpr ValueRow EventInitiatorRows[] = {
    {0, "SecurityCenter"},
    {1, "User"},
    {2, "Product"},
    {3, "Scheduler"},
};

constexpr ValueRow ScheduleModeRows[] = {
    {0, "Manual"}, {1, "AtStart"}, {2, "Hourly"}, {3, "Daily"}, {4, "Weekly"}, {5, "Monthly"},
};

constexpr ValueRow DayOfWeekRows[] = {
    {0, "Sunday"}, {1, "Monday"}, {2, "Tuesday"}, {3, "Wednesday"}, {4, "Thursday"}, {5, "Friday"}, {6, "Saturday"},
};

/// The rows of a table by name. A name or a number that stands twice, and numbers out of order, don't compile.
template <const auto& Rows>
consteval auto ByName() {
    std::array<ValueRow, std::size(Rows)> sorted;
    std::copy(std::begin(Rows), std::end(Rows), sorted.begin());
    std::sort(sorted.begin(), sorted.end(), [](const ValueRow& a, const ValueRow& b) { return a.name < b.name; });
    for (std::size_t i = 1; i < std::size(Rows); ++i)
        if (Rows[i - 1].value >= Rows[i].value || sorted[i - 1].name == sorted[i].name)
            throw "not a two-way table";
    return sorted;
}

template <const auto& Rows>
constexpr auto RowsByName = ByName<Rows>();

template <const auto& Rows>
constexpr ValueTable Table(std::string_view name) {
    return ValueTable(name, Rows, RowsByName<Rows>);
}

constexpr ValueTable EventNameTable = Table<EventNameRows>("EventName");
constexpr ValueTable AdditionalNameTable = Table<AdditionalNameRows>("AdditionalName");
constexpr ValueTable YesNoFlagTable = Table<YesNoFlagRows>("YesNoFlag");
constexpr ValueTable EventSeverityTable = Table<EventSeverityRows>("EventSeverity");
constexpr ValueTable DetectCertaintyTable = Table<DetectCertaintyRows>("DetectCertainty");
constexpr ValueTable DetectSourceTable = Table<DetectSourceRows>("DetectSource");
constexpr ValueTable DetectTypeTable = Table<DetectTypeRows>("DetectType");
constexpr ValueTable TaskStateTable = Table<TaskStateRows>("TaskState");
constexpr ValueTable ObjectStatusTable = Table<ObjectStatusRows>("ObjectStatus");
constexpr ValueTable ObjectNameTable = Table<ObjectNameRows>("ObjectName");
constexpr ValueTable ThreatActionTable = Table<ThreatActionRows>("ThreatAction");
constexpr ValueTable ScanLevelTable = Table<ScanLevelRows>("ScanLevel");
constexpr ValueTable InterceptorKindTable = Table<InterceptorKindRows>("InterceptorKind");
constexpr ValueTable FileScanModeTable = Table<FileScanModeRows>("FileScanMode");
constexpr ValueTable MailerKindTable = Table<MailerKindRows>("MailerKind");
constexpr ValueTable SettingsScopeTable = Table<SettingsScopeRows>("SettingsScope");
constexpr ValueTable ActivationKindTable = Table<ActivationKindRows>("ActivationKind");
constexpr ValueTable ScheduleRepeatTable = Table<ScheduleRepeatRows>("ScheduleRepeat");
constexpr ValueTable LogRotationTable = Table<LogRotationRows>("LogRotation");
constexpr ValueTable TraceDetailTable = Table<TraceDetailRows>("TraceDetail");
constexpr ValueTable NetworkDiscoveryTable = Table<NetworkDiscoveryRows>("NetworkDiscovery");
constexpr ValueTable ObjectNotDisinfectedReasonTable =
    Table<ObjectNotDisinfectedReasonRows>("ObjectNotDisinfectedReason");
constexpr ValueTable ScanScopeTable = Table<ScanScopeRows>("ScanScope");
constexpr ValueTable ShareProtocolTable = Table<ShareProtocolRows>("ShareProtocol");
constexpr ValueTable TaskNotStartedReasonTable = Table<TaskNotStartedReasonRows>("TaskNotStartedReason");
constexpr ValueTable ApplicationStopReasonTable = Table<ApplicationStopReasonRows>("ApplicationStopReason");
constexpr ValueTable PathIssueTable = Table<PathIssueRows>("PathIssue");
constexpr ValueTable UpdateSourceKindTable = Table<UpdateSourceKindRows>("UpdateSourceKind");
constexpr ValueTable FileModificationTypeTable = Table<FileModificationTypeRows>("FileModificationType");
constexpr ValueTable IpVersionTable = Table<IpVersionRows>("IpVersion");
constexpr ValueTable PacketActionTable = Table<PacketActionRows>("PacketAction");
constexpr ValueTable TrafficDirectionTable = Table<TrafficDirectionRows>("TrafficDirection");
constexpr ValueTable IpProtocolTable = Table<IpProtocolRows>("IpProtocol");
constexpr ValueTable FileObjectTypeTable = Table<FileObjectTypeRows>("FileObjectType");
constexpr ValueTable PatchPolicyTable = Table<PatchPolicyRows>("PatchPolicy");
constexpr ValueTable PatchImportanceTable = Table<PatchImportanceRows>("PatchImportance");
constexpr ValueTable PatchStateTable = Table<PatchStateRows>("PatchState");
constexpr ValueTable ApplicationModuleStateTable = Table<ApplicationModuleStateRows>("ApplicationModuleState");
constexpr ValueTable PatchEventResultTable = Table<PatchEventResultRows>("PatchEventResult");
constexpr ValueTable TsnModeTable = Table<TsnModeRows>("TsnMode");
constexpr ValueTable TsnOffModeTable = Table<TsnOffModeRows>("TsnOffMode");
constexpr ValueTable TraceLevelTable = Table<TraceDetailRows>("TraceLevel");
constexpr ValueTable TsnUsageTable = Table<TsnOffModeRows>("TsnUsage");
constexpr ValueTable DangerLevelTable = Table<EventSeverityRows>("DangerLevel");
constexpr ValueTable InitiatorTable = Table<EventInitiatorRows>("Initiator");
constexpr ValueTable FilesystemTypeTable = Table<ShareProtocolRows>("FilesystemType");
constexpr ValueTable ScheduleModeTable = Table<ScheduleModeRows>("ScheduleMode");
constexpr ValueTable DayOfWeekTable = Table<DayOfWeekRows>("DayOfWeek");
constexpr ValueTable AcceptanceStateTable = Table<AcceptanceStateRows>("AcceptanceState");
constexpr ValueTable KeySourceTable = Table<KeySourceRows>("KeySource");
constexpr ValueTable EventInitiatorTable = Table<EventInitiatorRows>("EventInitiator");

// By name.
constexpr const ValueTable* AllTables[] = {
    &AcceptanceStateTable,
    &ActivationKindTable,
    &AdditionalNameTable,
    &ApplicationModuleStateTable,
    &ApplicationStopReasonTable,
    &DangerLevelTable,
    &DayOfWeekTable,
    &DetectCertaintyTable,
    &DetectSourceTable,
    &DetectTypeTable,
    &EventInitiatorTable,
    &EventNameTable,
    &EventSeverityTable,
    &FileModificationTypeTable,
    &FileObjectTypeTable,
    &FileScanModeTable,
    &FilesystemTypeTable,
    &InitiatorTable,
    &InterceptorKindTable,
    &IpProtocolTable,
    &IpVersionTable,
    &KeySourceTable,
    &LogRotationTable,
    &MailerKindTable,
    &NetworkDiscoveryTable,
    &ObjectNameTable,
    &ObjectNotDisinfectedReasonTable,
    &ObjectStatusTable,
    &PacketActionTable,
    &PatchEventResultTable,
    &PatchImportanceTable,
    &PatchPolicyTable,
    &PatchStateTable,
    &PathIssueTable,
    &ScanLevelTable,
    &ScanScopeTable,
    &ScheduleModeTable,
    &ScheduleRepeatTable,
    &SettingsScopeTable,
    &ShareProtocolTable,
    &TaskNotStartedReasonTable,
    &TaskStateTable,
    &ThreatActionTable,
    &TraceDetailTable,
    &TraceLevelTable,
    &TrafficDirectionTable,
    &TsnModeTable,
    &TsnOffModeTable,
    &TsnUsageTable,
    &UpdateSourceKindTable,
    &YesNoFlagTable,
};
static_assert(std::is_sorted(std::begin(AllTables), std::end(AllTables),
                             [](const auto* a, const auto* b) { return a->TableName() < b->TableName(); }));

} // namespace

std::string_view ValueTable::Name(std::int64_t value) const noexcept {
    const auto found = std::lower_bound(m_byValue.begin(), m_byValue.end(), value,
                                        [](const ValueRow& row, std::int64_t sought) { return row.value < sought; });
    return found == m_byValue.end() || found->value != value ? std::string_view() : found->name;
}

std::optional<std::int32_t> ValueTable::Value(std::string_view name) const noexcept {
    const auto found = std::lower_bound(m_byName.begin(), m_byName.end(), name,
                                        [](const ValueRow& row, std::string_view sought) { return row.name < sought; });
    if (found == m_byName.end() || found->name != name)
        return std::nullopt;
    return found->value;
}

const ValueTable& EventName::Table() noexcept { return EventNameTable; }
const ValueTable& AdditionalName::Table() noexcept { return AdditionalNameTable; }
const ValueTable& YesNoFlag::Table() noexcept { return YesNoFlagTable; }
const ValueTable& EventSeverity::Table() noexcept { return EventSeverityTable; }
const ValueTable& DetectCertainty::Table() noexcept { return DetectCertaintyTable; }
const ValueTable& DetectSource::Table() noexcept { return DetectSourceTable; }
const ValueTable& DetectType::Table() noexcept { return DetectTypeTable; }
const ValueTable& TaskState::Table() noexcept { return TaskStateTable; }
const ValueTable& ObjectStatus::Table() noexcept { return ObjectStatusTable; }
const ValueTable& ObjectName::Table() noexcept { return ObjectNameTable; }
const ValueTable& ThreatAction::Table() noexcept { return ThreatActionTable; }
const ValueTable& ScanLevel::Table() noexcept { return ScanLevelTable; }
const ValueTable& InterceptorKind::Table() noexcept { return InterceptorKindTable; }
const ValueTable& FileScanMode::Table() noexcept { return FileScanModeTable; }
const ValueTable& MailerKind::Table() noexcept { return MailerKindTable; }
const ValueTable& SettingsScope::Table() noexcept { return SettingsScopeTable; }
const ValueTable& ActivationKind::Table() noexcept { return ActivationKindTable; }
const ValueTable& ScheduleRepeat::Table() noexcept { return ScheduleRepeatTable; }
const ValueTable& LogRotation::Table() noexcept { return LogRotationTable; }
const ValueTable& TraceDetail::Table() noexcept { return TraceDetailTable; }
const ValueTable& NetworkDiscovery::Table() noexcept { return NetworkDiscoveryTable; }
const ValueTable& ObjectNotDisinfectedReason::Table() noexcept { return ObjectNotDisinfectedReasonTable; }
const ValueTable& ScanScope::Table() noexcept { return ScanScopeTable; }
const ValueTable& ShareProtocol::Table() noexcept { return ShareProtocolTable; }
const ValueTable& TaskNotStartedReason::Table() noexcept { return TaskNotStartedReasonTable; }
const ValueTable& ApplicationStopReason::Table() noexcept { return ApplicationStopReasonTable; }
const ValueTable& PathIssue::Table() noexcept { return PathIssueTable; }
const ValueTable& UpdateSourceKind::Table() noexcept { return UpdateSourceKindTable; }
const ValueTable& FileModificationType::Table() noexcept { return FileModificationTypeTable; }
const ValueTable& IpVersion::Table() noexcept { return IpVersionTable; }
const ValueTable& PacketAction::Table() noexcept { return PacketActionTable; }
const ValueTable& TrafficDirection::Table() noexcept { return TrafficDirectionTable; }
const ValueTable& IpProtocol::Table() noexcept { return IpProtocolTable; }
const ValueTable& FileObjectType::Table() noexcept { return FileObjectTypeTable; }
const ValueTable& PatchPolicy::Table() noexcept { return PatchPolicyTable; }
const ValueTable& PatchImportance::Table() noexcept { return PatchImportanceTable; }
const ValueTable& PatchState::Table() noexcept { return PatchStateTable; }
const ValueTable& ApplicationModuleState::Table() noexcept { return ApplicationModuleStateTable; }
const ValueTable& PatchEventResult::Table() noexcept { return PatchEventResultTable; }
const ValueTable& TsnMode::Table() noexcept { return TsnModeTable; }
const ValueTable& TsnOffMode::Table() noexcept { return TsnOffModeTable; }
const ValueTable& TraceLevel::Table() noexcept { return TraceLevelTable; }
const ValueTable& TsnUsage::Table() noexcept { return TsnUsageTable; }
const ValueTable& DangerLevel::Table() noexcept { return DangerLevelTable; }
const ValueTable& Initiator::Table() noexcept { return InitiatorTable; }
const ValueTable& FilesystemType::Table() noexcept { return FilesystemTypeTable; }
const ValueTable& ScheduleMode::Table() noexcept { return ScheduleModeTable; }
const ValueTable& DayOfWeek::Table() noexcept { return DayOfWeekTable; }
const ValueTable& AcceptanceState::Table() noexcept { return AcceptanceStateTable; }
const ValueTable& KeySource::Table() noexcept { return KeySourceTable; }
const ValueTable& EventInitiator::Table() noexcept { return EventInitiatorTable; }

const ValueTable* FindTable(std::string_view tableName) noexcept {
    const auto found =
        std::lower_bound(std::begin(AllTables), std::end(AllTables), tableName,
                         [](const ValueTable* table, std::string_view sought) { return table->TableName() < sought; });
    return found == std::end(AllTables) || (*found)->TableName() != tableName ? nullptr : *found;
}

} // namespace tfs::types
