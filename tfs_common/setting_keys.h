// SPDX-License-Identifier: GPL-2.0-or-later
// The keys by which change lists and INI files name settings whose values are words or numbers.
#pragma once

#include <contract/tfs/value_tables.h>

#include <string_view>

namespace tfs::settings {

enum class SettingKeyKind { Enumerated, Boolean, Numeric };

/// One key. Its name is one part of a dotted path.
struct SettingKey {
    std::string_view name;
    SettingKeyKind kind;
    const types::ValueTable& (*table)() noexcept = nullptr; ///< of an enumerated key
};

namespace keys {
inline constexpr SettingKey HeuristicLevel{"HeuristicLevel", SettingKeyKind::Enumerated, &types::ScanLevel::Table};
inline constexpr SettingKey FirstAction{"FirstAction", SettingKeyKind::Enumerated, &types::ThreatAction::Table};
inline constexpr SettingKey SecondAction{"SecondAction", SettingKeyKind::Enumerated, &types::ThreatAction::Table};
inline constexpr SettingKey UseScanArea{"UseScanArea", SettingKeyKind::Boolean};
inline constexpr SettingKey ReportPackedObjects{"ReportPackedObjects", SettingKeyKind::Boolean};
inline constexpr SettingKey ScanArchived{"ScanArchived", SettingKeyKind::Boolean};
inline constexpr SettingKey ScanSfxArchived{"ScanSfxArchived", SettingKeyKind::Boolean};
inline constexpr SettingKey ScanMailBases{"ScanMailBases", SettingKeyKind::Boolean};
inline constexpr SettingKey ScanPlainMail{"ScanPlainMail", SettingKeyKind::Boolean};
inline constexpr SettingKey UseExcludeMasks{"UseExcludeMasks", SettingKeyKind::Boolean};
inline constexpr SettingKey UseExcludeThreats{"UseExcludeThreats", SettingKeyKind::Boolean};
inline constexpr SettingKey ReportCleanObjects{"ReportCleanObjects", SettingKeyKind::Boolean};
inline constexpr SettingKey UseAnalyzer{"UseAnalyzer", SettingKeyKind::Boolean};
inline constexpr SettingKey ReportUnprocessedObjects{"ReportUnprocessedObjects", SettingKeyKind::Boolean};
inline constexpr SettingKey UseIChecker{"UseIChecker", SettingKeyKind::Boolean};
inline constexpr SettingKey ScanByAccessType{"ScanByAccessType", SettingKeyKind::Enumerated,
                                             &types::FileScanMode::Table};
inline constexpr SettingKey DetectOtherObjects{"DetectOtherObjects", SettingKeyKind::Boolean};
inline constexpr SettingKey UIReportsForRootOnly{"UIReportsForRootOnly", SettingKeyKind::Boolean};
inline constexpr SettingKey UseProxy{"UseProxy", SettingKeyKind::Boolean};
inline constexpr SettingKey UseSyslog{"UseSyslog", SettingKeyKind::Boolean};
inline constexpr SettingKey SourceType{"SourceType", SettingKeyKind::Enumerated, &types::UpdateSourceKind::Table};
inline constexpr SettingKey Enabled{"Enabled", SettingKeyKind::Boolean};
inline constexpr SettingKey UseTLServersWhenUnavailable{"UseTLServersWhenUnavailable", SettingKeyKind::Boolean};
inline constexpr SettingKey IgnoreProxySettingsForTLServers{"IgnoreProxySettingsForTLServers", SettingKeyKind::Boolean};
inline constexpr SettingKey IgnoreProxySettingsForCustomSources{"IgnoreProxySettingsForCustomSources",
                                                                SettingKeyKind::Boolean};
inline constexpr SettingKey AutoPatchDownload{"AutoPatchDownload", SettingKeyKind::Boolean};
inline constexpr SettingKey ApplicationUpdateMode{"ApplicationUpdateMode", SettingKeyKind::Enumerated,
                                                  &types::PatchPolicy::Table};
inline constexpr SettingKey Verdict{"Verdict", SettingKeyKind::Enumerated, &types::DetectType::Table};
inline constexpr SettingKey EventType{"EventType", SettingKeyKind::Enumerated, &types::EventName::Table};
inline constexpr SettingKey DangerLevel{"DangerLevel", SettingKeyKind::Enumerated, &types::DangerLevel::Table};
inline constexpr SettingKey RotateMethod{"RotateMethod", SettingKeyKind::Enumerated, &types::LogRotation::Table};
inline constexpr SettingKey RotatePeriod{"RotatePeriod", SettingKeyKind::Enumerated, &types::ScheduleRepeat::Table};
inline constexpr SettingKey DumpsEnable{"DumpsEnable", SettingKeyKind::Boolean};
inline constexpr SettingKey FilesystemType{"FilesystemType", SettingKeyKind::Enumerated, &types::FilesystemType::Table};
inline constexpr SettingKey DefaultIncomingAction{"DefaultIncomingAction", SettingKeyKind::Enumerated,
                                                  &types::PacketAction::Table};
inline constexpr SettingKey DefaultIncomingPacketAction{"DefaultIncomingPacketAction", SettingKeyKind::Enumerated,
                                                        &types::PacketAction::Table};
inline constexpr SettingKey FirewallAction{"FirewallAction", SettingKeyKind::Enumerated, &types::PacketAction::Table};
inline constexpr SettingKey Direction{"Direction", SettingKeyKind::Enumerated, &types::TrafficDirection::Table};
inline constexpr SettingKey Protocol{"Protocol", SettingKeyKind::Enumerated, &types::IpProtocol::Table};
inline constexpr SettingKey LogAttempts{"LogAttempts", SettingKeyKind::Boolean};
inline constexpr SettingKey RebuildBaseline{"RebuildBaseline", SettingKeyKind::Boolean};
inline constexpr SettingKey TrackDirectoryChanges{"TrackDirectoryChanges", SettingKeyKind::Boolean};
inline constexpr SettingKey TrackLastAccessTime{"TrackLastAccessTime", SettingKeyKind::Boolean};
inline constexpr SettingKey CheckFileHash{"CheckFileHash", SettingKeyKind::Boolean};
inline constexpr SettingKey UseHostBlocker{"UseHostBlocker", SettingKeyKind::Boolean};
inline constexpr SettingKey Active{"Active", SettingKeyKind::Boolean};
inline constexpr SettingKey Importance{"Importance", SettingKeyKind::Enumerated, &types::PatchImportance::Table};
inline constexpr SettingKey ProductUpdateStatus{"ProductUpdateStatus", SettingKeyKind::Enumerated,
                                                &types::PatchState::Table};
inline constexpr SettingKey UpgradeState{"UpgradeState", SettingKeyKind::Enumerated,
                                         &types::ApplicationModuleState::Table};
inline constexpr SettingKey Initiator{"Initiator", SettingKeyKind::Enumerated, &types::Initiator::Table};
inline constexpr SettingKey BlockFilesGreaterMaxFileNamePath{"BlockFilesGreaterMaxFileNamePath",
                                                             SettingKeyKind::Boolean};
inline constexpr SettingKey LimitNumberOfScanFileTasks{"LimitNumberOfScanFileTasks", SettingKeyKind::Numeric};
inline constexpr SettingKey MaxEventsNumber{"MaxEventsNumber", SettingKeyKind::Numeric};
inline constexpr SettingKey TraceMaxFileCount{"TraceMaxFileCount", SettingKeyKind::Numeric};
inline constexpr SettingKey TraceMaxFileSize{"TraceMaxFileSize", SettingKeyKind::Numeric};
inline constexpr SettingKey TimeLimit{"TimeLimit", SettingKeyKind::Numeric};
inline constexpr SettingKey SizeLimit{"SizeLimit", SettingKeyKind::Numeric};
inline constexpr SettingKey ConnectionTimeout{"ConnectionTimeout", SettingKeyKind::Numeric};
inline constexpr SettingKey DaysToLive{"DaysToLive", SettingKeyKind::Numeric};
inline constexpr SettingKey BackupSizeLimit{"BackupSizeLimit", SettingKeyKind::Numeric};
} // namespace keys

/// All of them, in the order of the product's vocabulary.
inline constexpr const SettingKey* SettingKeys[] = {
    &keys::HeuristicLevel,
    &keys::FirstAction,
    &keys::SecondAction,
    &keys::UseScanArea,
    &keys::ReportPackedObjects,
    &keys::ScanArchived,
    &keys::ScanSfxArchived,
    &keys::ScanMailBases,
    &keys::ScanPlainMail,
    &keys::UseExcludeMasks,
    &keys::UseExcludeThreats,
    &keys::ReportCleanObjects,
    &keys::UseAnalyzer,
    &keys::ReportUnprocessedObjects,
    &keys::UseIChecker,
    &keys::ScanByAccessType,
    &keys::DetectOtherObjects,
    &keys::UIReportsForRootOnly,
    &keys::UseProxy,
    &keys::UseSyslog,
    &keys::SourceType,
    &keys::Enabled,
    &keys::UseTLServersWhenUnavailable,
    &keys::IgnoreProxySettingsForTLServers,
    &keys::IgnoreProxySettingsForCustomSources,
    &keys::AutoPatchDownload,
    &keys::ApplicationUpdateMode,
    &keys::Verdict,
    &keys::EventType,
    &keys::DangerLevel,
    &keys::RotateMethod,
    &keys::RotatePeriod,
    &keys::DumpsEnable,
    &keys::FilesystemType,
    &keys::DefaultIncomingAction,
    &keys::DefaultIncomingPacketAction,
    &keys::FirewallAction,
    &keys::Direction,
    &keys::Protocol,
    &keys::LogAttempts,
    &keys::RebuildBaseline,
    &keys::TrackDirectoryChanges,
    &keys::TrackLastAccessTime,
    &keys::CheckFileHash,
    &keys::UseHostBlocker,
    &keys::Active,
    &keys::Importance,
    &keys::ProductUpdateStatus,
    &keys::UpgradeState,
    &keys::Initiator,
    &keys::BlockFilesGreaterMaxFileNamePath,
    &keys::LimitNumberOfScanFileTasks,
    &keys::MaxEventsNumber,
    &keys::TraceMaxFileCount,
    &keys::TraceMaxFileSize,
    &keys::TimeLimit,
    &keys::SizeLimit,
    &keys::ConnectionTimeout,
    &keys::DaysToLive,
    &keys::BackupSizeLimit,
};

} // namespace tfs::settings
