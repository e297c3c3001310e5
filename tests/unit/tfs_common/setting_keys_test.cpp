// SPDX-License-Identifier: GPL-2.0-or-later
#include <tfs_common/setting_keys.h>

#include <gtest/gtest.h>
#include <iterator>
#include <string_view>

namespace tfs::settings {
namespace {

/// The whole vocabulary in its order: what settings files of customers are written with. A value is of the named
/// table, a "bool" or a "number".
constexpr struct {
    std::string_view key;
    std::string_view value;
} Expected[] = {
    {"HeuristicLevel", "ScanLevel"},
    {"FirstAction", "ThreatAction"},
    {"SecondAction", "ThreatAction"},
    {"UseScanArea", "bool"},
    {"ReportPackedObjects", "bool"},
    {"ScanArchived", "bool"},
    {"ScanSfxArchived", "bool"},
    {"ScanMailBases", "bool"},
    {"ScanPlainMail", "bool"},
    {"UseExcludeMasks", "bool"},
    {"UseExcludeThreats", "bool"},
    {"ReportCleanObjects", "bool"},
    {"UseAnalyzer", "bool"},
    {"ReportUnprocessedObjects", "bool"},
    {"UseIChecker", "bool"},
    {"ScanByAccessType", "FileScanMode"},
    {"DetectOtherObjects", "bool"},
    {"UIReportsForRootOnly", "bool"},
    {"UseProxy", "bool"},
    {"UseSyslog", "bool"},
    {"SourceType", "UpdateSourceKind"},
    {"Enabled", "bool"},
    {"UseTLServersWhenUnavailable", "bool"},
    {"IgnoreProxySettingsForTLServers", "bool"},
    {"IgnoreProxySettingsForCustomSources", "bool"},
    {"AutoPatchDownload", "bool"},
    {"ApplicationUpdateMode", "PatchPolicy"},
    {"Verdict", "DetectType"},
    {"EventType", "EventName"},
    {"DangerLevel", "DangerLevel"},
    {"RotateMethod", "LogRotation"},
    {"RotatePeriod", "ScheduleRepeat"},
    {"DumpsEnable", "bool"},
    {"FilesystemType", "FilesystemType"},
    {"DefaultIncomingAction", "PacketAction"},
    {"DefaultIncomingPacketAction", "PacketAction"},
    {"FirewallAction", "PacketAction"},
    {"Direction", "TrafficDirection"},
    {"Protocol", "IpProtocol"},
    {"LogAttempts", "bool"},
    {"RebuildBaseline", "bool"},
    {"TrackDirectoryChanges", "bool"},
    {"TrackLastAccessTime", "bool"},
    {"CheckFileHash", "bool"},
    {"UseHostBlocker", "bool"},
    {"Active", "bool"},
    {"Importance", "PatchImportance"},
    {"ProductUpdateStatus", "PatchState"},
    {"UpgradeState", "ApplicationModuleState"},
    {"Initiator", "Initiator"},
    {"BlockFilesGreaterMaxFileNamePath", "bool"},
    {"LimitNumberOfScanFileTasks", "number"},
    {"MaxEventsNumber", "number"},
    {"TraceMaxFileCount", "number"},
    {"TraceMaxFileSize", "number"},
    {"TimeLimit", "number"},
    {"SizeLimit", "number"},
    {"ConnectionTimeout", "number"},
    {"DaysToLive", "number"},
    {"BackupSizeLimit", "number"},
};

std::string_view ValueOf(const SettingKey& key) {
    switch (key.kind) {
    case SettingKeyKind::Enumerated:
        return key.table != nullptr ? key.table().TableName() : "no table";
    case SettingKeyKind::Boolean:
        return key.table == nullptr ? "bool" : "bool with a table";
    case SettingKeyKind::Numeric:
        return key.table == nullptr ? "number" : "number with a table";
    }
    return "no kind";
}

TEST(SettingKeys, AreTheWholeVocabularyInItsOrder) {
    ASSERT_EQ(std::size(SettingKeys), std::size(Expected));
    for (std::size_t i = 0; i < std::size(Expected); ++i) {
        EXPECT_EQ(SettingKeys[i]->name, Expected[i].key) << i;
        EXPECT_EQ(ValueOf(*SettingKeys[i]), Expected[i].value) << Expected[i].key;
    }
}

} // namespace
} // namespace tfs::settings
