// SPDX-License-Identifier: GPL-2.0-or-later
// The settings structures of the product.
#include <contract/tfs/settings.h>
#include <contract/tfs/tasks.h>
#include <tfs_common/settings_description.h>

#include <algorithm>
#include <iterator>

namespace tfs::settings {
namespace {

constexpr std::int64_t MiB = 1 << 20;
constexpr std::int64_t GiB = 1 << 30;

constexpr Member AppSettingsMembers[] = {
    Describe<&AppSettings::sambaConfigPath>("SambaConfigPath", Path()),
    Describe<&AppSettings::nfsExportsPath>("NfsExportPath", Path()),
    Describe<&AppSettings::traceFolder>("TraceFolder", Path()),
    Describe<&AppSettings::traceLevel>("TraceLevel", Enumerated<types::TraceLevel>()),
    Describe<&AppSettings::traceMaxFileCount>(keys::TraceMaxFileCount, Integer<std::uint32_t>(1, 10000)),
    Describe<&AppSettings::traceMaxFileSize>(keys::TraceMaxFileSize, Integer<std::uint32_t>(1, 500)),
    Describe<&AppSettings::traceFolderSizeLimit>("TraceFolderSizeLimit", Integer<std::uint64_t>(MiB, 100 * GiB)),
    Describe<&AppSettings::eventsStoragePath>("EventsStoragePath", Path()),
    Describe<&AppSettings::maxEventsNumber>(keys::MaxEventsNumber, Integer<std::uint32_t>(1000, 5000000)),
    Describe<&AppSettings::offlineTsnStatsFolder>("OfflineTsnStatsFolder", Path()),
    Describe<&AppSettings::useTsn>("UseTSN", Enumerated<types::TsnUsage>()),
    Describe<&AppSettings::uiReportsForRootOnly>(keys::UIReportsForRootOnly, Boolean()),
    Describe<&AppSettings::limitNumberOfScanFileTasks>(keys::LimitNumberOfScanFileTasks,
                                                       Integer<std::uint32_t>(0, 10000)),
    Describe<&AppSettings::useSyslog>(keys::UseSyslog, Boolean()),
    Describe<&AppSettings::daysToLive>(keys::DaysToLive, Integer<std::uint32_t>(0, 3650)),
    Describe<&AppSettings::backupSizeLimit>(keys::BackupSizeLimit, Integer<std::uint32_t>(0, 10 * MiB)),
};

constexpr TypeOf<std::string> PathType = Path();
constexpr TypeOf<std::string> MaskType = Text(GreatestPathLength);
constexpr TypeOf<std::string> SourceType = Text(2048);

constexpr Member ScanSettingsMembers[] = {
    Describe<&ScanSettings::areas>("ScanAreas", List(PathType, 1024)),
    Describe<&ScanSettings::excludedPaths>("ExcludePaths", List(PathType, 1024)),
    Describe<&ScanSettings::excludeMasks>("ExcludeMasks", List(MaskType, 1024)),
    Describe<&ScanSettings::scanArchives>(keys::ScanArchived, Boolean()),
    Describe<&ScanSettings::maxFileSize>(keys::SizeLimit, Integer<std::uint64_t>(0, 1024 * GiB)),
    Describe<&ScanSettings::fileTimeLimitSeconds>(keys::TimeLimit, Integer<std::uint32_t>(0, 24 * 60 * 60)),
    Describe<&ScanSettings::crossFileSystems>("CrossFileSystems", Boolean()),
    Describe<&ScanSettings::actionOnThreat>(keys::FirstAction, Enumerated<types::ThreatAction>()),
    Describe<&ScanSettings::fullSpeed>("FullSpeed", Boolean()),
};

constexpr Member FileMonitoringSettingsMembers[] = {
    Describe<&FileMonitoringSettings::mode>(keys::ScanByAccessType, Enumerated<types::FileScanMode>()),
    Describe<&FileMonitoringSettings::areas>("ScanAreas", List(PathType, 1024)),
    Describe<&FileMonitoringSettings::watchedFolders>("WatchedFolders", List(PathType, 1024)),
    Describe<&FileMonitoringSettings::excludedPaths>("ExcludePaths", List(PathType, 1024)),
    Describe<&FileMonitoringSettings::excludeMasks>("ExcludeMasks", List(MaskType, 1024)),
    Describe<&FileMonitoringSettings::excludedPrograms>("ExcludePrograms", List(PathType, 1024)),
    Describe<&FileMonitoringSettings::maxFileSize>(keys::SizeLimit, Integer<std::uint64_t>(0, 1024 * GiB)),
    Describe<&FileMonitoringSettings::deadlineSeconds>(keys::TimeLimit, Integer<std::uint32_t>(1, 60)),
    Describe<&FileMonitoringSettings::actionOnThreat>(keys::FirstAction, Enumerated<types::ThreatAction>()),
};

constexpr Member UpdateSettingsMembers[] = {
    Describe<&UpdateSettings::sourceType>(keys::SourceType, Enumerated<types::UpdateSourceKind>()),
    Describe<&UpdateSettings::customSources>("CustomSources", List(SourceType, 100)),
    Describe<&UpdateSettings::useOfficialWhenUnavailable>(keys::UseTLServersWhenUnavailable, Boolean()),
    Describe<&UpdateSettings::connectionTimeout>(keys::ConnectionTimeout, Integer<std::uint32_t>(1, 600)),
    Describe<&UpdateSettings::useProxy>(keys::UseProxy, Boolean()),
    Describe<&UpdateSettings::ignoreProxyForOfficial>(keys::IgnoreProxySettingsForTLServers, Boolean()),
    Describe<&UpdateSettings::ignoreProxyForCustom>(keys::IgnoreProxySettingsForCustomSources, Boolean()),
    Describe<&UpdateSettings::proxyServer>("ProxyServer", Text(1024)),
};

constexpr Member ScheduleSettingsMembers[] = {
    Describe<&ScheduleSettings::mode>("RuleType", Enumerated<types::ScheduleMode>()),
    Describe<&ScheduleSettings::startTime>("StartTime", Text(8)),
    Describe<&ScheduleSettings::dayOfWeek>("DayOfWeek", Enumerated<types::DayOfWeek>()),
    Describe<&ScheduleSettings::dayOfMonth>("DayOfMonth", Integer<std::uint32_t>(1, 31)),
    Describe<&ScheduleSettings::runMissed>("RunMissed", Boolean()),
};

constexpr StructureDescription Structures[] = {
    DescribeStructure<AppSettings>(AppSettingsMembers),
    DescribeStructure<ScanSettings>(ScanSettingsMembers),
    DescribeStructure<UpdateSettings>(UpdateSettingsMembers),
    DescribeStructure<FileMonitoringSettings>(FileMonitoringSettingsMembers),
    DescribeStructure<ScheduleSettings>(ScheduleSettingsMembers),
};

} // namespace

const StructureDescription* FindStructure(std::uint32_t typeNumber) noexcept {
    const auto found =
        std::find_if(std::begin(Structures), std::end(Structures),
                     [typeNumber](const StructureDescription& known) { return known.typeNumber == typeNumber; });
    return found == std::end(Structures) ? nullptr : found;
}

} // namespace tfs::settings
