// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/value_tables.h>

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <set>
#include <sstream>
#include <string>

namespace tfs::types {
namespace {

/// Each table in full, in the order of its numbers: what the other side sends and expects.
const struct {
    const char* table;
    std::size_t rows;
    const char* text;
} Expected[] = {
    {"EventName", 86,
     "IntegrityCheckFailed=0 TaskStateChanged=1 TaskSettingsChanged=2 TaskScheduleChanged=3 "
     "TaskCreated=4 TaskDeleted=5 ThreatDetected=6 ObjectDeleted=8 ObjectDisinfected=9 "
     "ObjectNotDisinfected=10 ObjectNotProcessed=11 ObjectProcessed=12 ObjectProcessingError=13 "
     "ObjectProcessingStarted=14 ObjectRemovedFromBackup=15 ObjectRestoredFromBackup=16 "
     "ObjectSavedToBackup=17 ObjectSaveToBackupFailed=18 OtherObjectDetected=19 "
     "PackedObjectDetected=20 ApplicationStopped=21 ApplicationStarted=22 "
     "ApplicationSettingsChanged=23 TaskNotStarted=24 AVBasesAttached=25 AVBasesIntegrityCheckOK=26 "
     "AVBasesIntegrityCheckFailed=27 AVBasesApplied=28 NothingToUpdate=29 UpdateError=30 "
     "AVBasesRollbackCompleted=31 AVBasesRollbackError=32 AVBasesAreTotallyOutOfDate=33 "
     "AVBasesAreOutOfDate=34 RetranslationError=35 UpdateSourceSelected=36 FileUpdateStarted=37 "
     "FileUpdateFinished=38 FileDownloadStarted=39 ModuleDownloaded=40 ModuleNotDownloaded=41 "
     "UpdateProgressChanged=42 PolicyNotApplied=43 ODSProgressChanged=47 OnDemandTaskInterrupted=48 "
     "SettingLocaleFailed=49 BlacklistCorrupted=50 AVBasesCorrupted=51 IllegalUpdate=52 "
     "LicenseInstalled=53 LicenseNotInstalled=54 LicenseRevoked=55 LicenseNotRevoked=56 "
     "LicenseExpired=57 LicenseExpiresSoon=58 BackupSizeLimitReached=59 BackupObjectRemovedSoon=60 "
     "SubscriptionExpired=61 SubscriptionExpiresSoon=62 SubscriptionExpirationDateChanged=63 "
     "TsnServiceProtocolNotSupported=64 TsnServiceUnavailable=65 TashellUpdateDone=66 "
     "FileIntegrityIssue=67 FileIntegrityOk=68 BaselineBuilt=69 FileIntegrityMonitorAlarmOverflow=70 "
     "ObjectIntegrityCannotBeChecked=71 IntegrityMonitorError=72 EncryptionDetected=73 HostBlocked=74 "
     "HostNotBlocked=75 HostUnblocked=76 NetworkActivityAllowed=77 NetworkActivityBlocked=78 "
     "OSRebootRequired=79 ProgramRestartRequired=80 PatchDownloaded=81 PatchInstalled=82 "
     "PatchInstallError=83 PatchRollbackCompleted=84 PatchRollbackError=85 ProductModuleInstalled=86 "
     "NotCoveredByLicense=87 PatchInstallStarted=88 TsnStateChanged=89"},
    {"AdditionalName", 78,
     "FileName=0 ObjectName=1 ObjectType=2 Size=3 ProcessResult=4 TaskName=5 SCTaskName=6 "
     "RuntimeTaskId=7 TaskId=8 TaskState=9 PrevTaskState=10 DetectName=11 TaskType=12 "
     "ObjectProcessError=13 SkipReason=14 ExecutionResult=15 FileOwner=16 FileOwnerId=17 "
     "DetectCertainty=18 DetectType=19 DetectSource=20 ObjectId=21 Reason=22 UpdateSource=23 "
     "FileUpdateAction=24 FileSize=25 UpdateProgress=26 UpdateTime=27 UpdateTimestamp=28 "
     "UpdateStatus=29 ModuleName=30 PackedObjectType=31 PackerName=32 TaskScanSettings=33 "
     "ODSProgress=34 AVBasesDate=35 AVRecordsCount=36 AccessUser=37 AccessUserId=38 "
     "ObjectNotDisinfectedReason=39 DaysLeft=40 Information=41 NewExpirationDate=42 NewGraceTerm=43 "
     "LicenseId=45 ApplicationStopReason=48 Settings=50 TashellUpdateResult=51 TaskNotStartedReason=52 "
     "AVBasesReleaseDate=53 FileModificationType=54 FileObjectType=55 LastAccessTime=56 "
     "LastModificationTime=57 LastStatusChangeTime=58 LinkCount=59 ObjectAttributes=60 ObjectSize=61 "
     "OriginalFileName=62 OriginalPath=63 OwnerGroupId=64 OwnerUserId=65 Path=66 UpdatedRecords=67 "
     "FimErrorReason=68 FimRuleId=69 HostName=70 CryptorName=71 ExtraRule=74 MissingRule=75 "
     "NetworkActivity=76 PacketRuleIndex=77 PatchVersion=78 TsnStatementId=79 TsnAcceptance=80 "
     "TsnStatisticsId=81 TsnStatisticsAcceptance=82 TsnState=83"},
    {"YesNoFlag", 2, "No=0 Yes=1"},
    {"EventSeverity", 6, "Critical=0 High=1 Medium=2 Low=3 Informational=4 Error=5"},
    {"DetectCertainty", 4, "Unknown=0 Sure=1 Warning=2 Suspicion=3"},
    {"DetectSource", 2, "Local=0 TSN=1"},
    {"DetectType", 8,
     "Other=0 Virware=1 Trojware=2 Malware=3 Adware=4 Pornware=5 SuspiciousPackedFiles=6 "
     "LegacyDetect=7"},
    {"TaskState", 8, "Starting=0 Started=1 Pausing=2 Suspended=3 Resuming=4 Stopping=5 Stopped=6 Unknown=7"},
    {"ObjectStatus", 5, "Quarantine=0 Backup=1 UserAdded=2 Untreated=3 Unknown=4"},
    {"ObjectName", 14,
     "File=0 LogicalDrive=1 PhysicalDisk=2 SystemMemory=3 MemoryProcess=4 MemoryModule=5 MailMsgRef=6 "
     "MailMsgMime=7 MailMsgBody=8 MailMsgAttach=9 StartUp=10 Folder=11 Script=12 URL=13"},
    {"ThreatAction", 5, "Cure=0 Remove=1 Recommended=2 Skip=3 Block=4"},
    {"ScanLevel", 4, "Light=0 Medium=1 Deep=2 Recommended=3"},
    {"InterceptorKind", 3, "kernel=0 fanotify=1 pluginfs=2"},
    {"FileScanMode", 3, "SmartCheck=0 Open=1 OpenAndModify=2"},
    {"MailerKind", 2, "Internal=0 Sendmail=1"},
    {"SettingsScope", 3, "Local=0 Global=1 Both=2"},
    {"ActivationKind", 2, "Activation2=0 LicenseKey=1"},
    {"ScheduleRepeat", 4, "Daily=0 Weekly=1 Monthly=2 Never=3"},
    {"LogRotation", 2, "Erase=0 Move=1"},
    {"TraceDetail", 3, "None=0 NotDetailed=1 Detailed=2"},
    {"NetworkDiscovery", 3, "Multicast=0 Viis=1 List=2"},
    {"ObjectNotDisinfectedReason", 20,
     "None=0 NonCurable=1 Locked=2 ReportOnly=3 NoPermissions=4 Cancelled=5 WriteProtect=6 "
     "TaskStopped=7 Postponed=8 NonOverwritable=9 CopyFailed=10 WriteError=11 OutOfSpace=12 "
     "ReadError=13 DeviceNotReady=14 ObjectNotFound=15 WriteNotSupported=16 CannotBackup=17 "
     "SystemCriticalObject=18 AlreadyProcessed=19"},
    {"ScanScope", 8, "Local=0 Mounted=1 Shared=2 AllRemoteMounted=3 AllShared=4 BootSectors=5 Memory=6 Invalid=7"},
    {"ShareProtocol", 3, "Any=0 NFS=1 SMB=2"},
    {"TaskNotStartedReason", 4,
     "InternalSettingsError=0 InterceptionDriverError=1 NetworkServicesNotAvailable=2 InternalError=3"},
    {"ApplicationStopReason", 4, "NormalExit=0 Crash=1 IntegrityCheckFailed=2 CannotImportPreviousVersionSettings=3"},
    {"PathIssue", 3, "Unknown=0 PathDoesntExist=1 Cancelled=2"},
    {"UpdateSourceKind", 3, "TLServers=0 SCServer=1 Custom=2"},
    {"FileModificationType", 15,
     "Ignore=0 ObjectAccessControlAttributesChanged=1 ObjectAccessed=2 ObjectAttributesChanged=3 "
     "ObjectClosedAfterWrite=4 ObjectClosedWithoutWrite=5 ObjectContentChanged=6 ObjectCreated=7 "
     "ObjectDeleted=8 ObjectMoved=9 ObjectMovedFrom=10 ObjectMovedTo=11 ObjectOpened=12 "
     "ObjectRenamed=13 Unknown=14"},
    {"IpVersion", 2, "IPv4=0 IPv6=1"},
    {"PacketAction", 2, "Allow=0 Block=1"},
    {"TrafficDirection", 6,
     "IncomingOutgoing=0 Incoming=1 Outgoing=2 IncomingOutgoingPacket=3 IncomingPacket=4 "
     "OutgoingPacket=5"},
    {"IpProtocol", 7, "Any=0 ICMP=1 IGMP=2 TCP=3 UDP=4 ICMPv6=5 GRE=6"},
    {"FileObjectType", 7, "File=0 Directory=1 CharacterDevice=2 BlockDevice=3 NamedPipe=4 SymbolicLink=5 Socket=6"},
    {"PatchPolicy", 3, "Disabled=0 DownloadOnly=1 DownloadAndInstall=2"},
    {"PatchImportance", 2, "Normal=0 Critical=1"},
    {"PatchState", 3, "Applicable=0 Installed=1 InstallFailed=2"},
    {"ApplicationModuleState", 9,
     "NotInstalled=0 Installed=1 Uninstall=2 Upgrade=3 Start=4 UpgradeFailed=5 StartFailed=6 "
     "RollingBack=7 RolledBack=8"},
    {"PatchEventResult", 7,
     "Unknown=0 NoUpdatesAvailable=1 UpdateDownloaded=2 UpdateInstalled=3 UpdateFailed=4 "
     "ModuleUpdateInstalled=5 PatchFilesCorrupted=6"},
    {"TsnMode", 4, "No=0 Extended=1 Basic=2 SaveStatisticsToFile=3"},
    {"TsnOffMode", 4, "Off=0 Extended=1 Basic=2 SaveStatisticsToFile=3"},
    {"AcceptanceState", 2, "Accepted=0 Denied=1"},
    {"KeySource", 3, "Manual=0 AutoKey=1 AdditionalKeyAsActive=2"},
    {"EventInitiator", 4, "SecurityCenter=0 User=1 Product=2 Scheduler=3"},
    {"TraceLevel", 3, "None=0 NotDetailed=1 Detailed=2"},
    {"TsnUsage", 4, "Off=0 Extended=1 Basic=2 SaveStatisticsToFile=3"},
    {"DangerLevel", 6, "Critical=0 High=1 Medium=2 Low=3 Informational=4 Error=5"},
    {"Initiator", 4, "SecurityCenter=0 User=1 Product=2 Scheduler=3"},
    {"FilesystemType", 3, "Any=0 NFS=1 SMB=2"},
    {"ScheduleMode", 6, "Manual=0 AtStart=1 Hourly=2 Daily=3 Weekly=4 Monthly=5"},
    {"DayOfWeek", 7, "Sunday=0 Monday=1 Tuesday=2 Wednesday=3 Thursday=4 Friday=5 Saturday=6"},
};

using Pairs = std::map<std::string, std::int32_t>;

Pairs PairsIn(const std::string& text) {
    Pairs pairs;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        const std::size_t mark = word.find('=');
        EXPECT_TRUE(pairs.emplace(word.substr(0, mark), std::stoi(word.substr(mark + 1))).second) << word;
    }
    return pairs;
}

TEST(ValueTables, AreCompleteInBothDirections) {
    for (const auto& row : Expected) {
        SCOPED_TRACE(row.table);
        const ValueTable* table = FindTable(row.table);
        ASSERT_NE(table, nullptr);
        EXPECT_EQ(table->TableName(), row.table);
        const Pairs expected = PairsIn(row.text);
        EXPECT_EQ(expected.size(), row.rows);
        ASSERT_EQ(table->Rows().size(), row.rows);
        for (const auto& [name, value] : expected) {
            EXPECT_EQ(table->Name(value), name);
            EXPECT_EQ(table->Value(name), value) << name;
        }
        std::set<std::int32_t> values;
        for (const ValueRow& known : table->Rows()) {
            EXPECT_TRUE(expected.contains(std::string(known.name))) << known.name;
            EXPECT_TRUE(values.empty() || known.value > *values.rbegin()) << known.name;
            values.insert(known.value);
        }
        EXPECT_EQ(table->Name(*values.rbegin() + 1), "");
    }
}

TEST(ValueTables, AreFoundByTheirExactName) {
    for (const char* unknown : {"Nothing", "", "tsnUsage", "YesNoFlagg"})
        EXPECT_EQ(FindTable(unknown), nullptr) << unknown;
}

TEST(ValueTables, GapsAreLikeUnknownNumbers) {
    for (const std::int64_t gap : {7, 44, 45, 46, 90, -1})
        EXPECT_EQ(EventName::Table().Name(gap), "") << gap;
    for (const std::int64_t gap : {44, 46, 47, 49, 72, 73, 84, -1})
        EXPECT_EQ(AdditionalName::Table().Name(gap), "") << gap;
    // A number of the wire isn't cut to 32 bits before it is looked up.
    EXPECT_EQ(EventName::Table().Name(std::int64_t{1} << 32), "");
    EXPECT_EQ(EventName::Table().Name(std::numeric_limits<std::int64_t>::min()), "");
    EXPECT_FALSE(EventName::Table().Value("threatdetected"));
    EXPECT_FALSE(EventName::Table().Value(""));
    EXPECT_EQ(EventName::Table().Value("ThreatDetected"), EventName::ThreatDetected);
}

} // namespace
} // namespace tfs::types
