// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/value_tables.h>

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <set>
#include <string>

namespace tfs::types {
namespace {

TEST(ValueTables, HaveAllTheirRows) {
    const struct {
        const char* table;
        std::size_t rows;
        std::int32_t last;
        const char* lastName;
    } expected[] = {
        {"EventName", 86, 89, "TsnStateChanged"},
        {"AdditionalName", 78, 83, "TsnState"},
        {"YesNoFlag", 2, 1, "Yes"},
        {"EventSeverity", 6, 5, "Error"},
        {"DetectCertainty", 4, 3, "Suspicion"},
        {"DetectSource", 2, 1, "TSN"},
        {"DetectType", 8, 7, "LegacyDetect"},
        {"TaskState", 8, 7, "Unknown"},
        {"ObjectStatus", 5, 4, "Unknown"},
        {"ObjectName", 14, 13, "URL"},
        {"ThreatAction", 5, 4, "Block"},
        {"ScanLevel", 4, 3, "Recommended"},
        {"InterceptorKind", 3, 2, "pluginfs"},
        {"FileScanMode", 3, 2, "OpenAndModify"},
        {"MailerKind", 2, 1, "Sendmail"},
        {"SettingsScope", 3, 2, "Both"},
        {"ActivationKind", 2, 1, "LicenseKey"},
        {"ScheduleRepeat", 4, 3, "Never"},
        {"LogRotation", 2, 1, "Move"},
        {"TraceDetail", 3, 2, "Detailed"},
        {"NetworkDiscovery", 3, 2, "List"},
        {"ObjectNotDisinfectedReason", 20, 19, "AlreadyProcessed"},
        {"ScanScope", 8, 7, "Invalid"},
        {"ShareProtocol", 3, 2, "SMB"},
        {"TaskNotStartedReason", 4, 3, "InternalError"},
        {"ApplicationStopReason", 4, 3, "CannotImportPreviousVersionSettings"},
        {"PathIssue", 3, 2, "Cancelled"},
        {"UpdateSourceKind", 3, 2, "Custom"},
        {"FileModificationType", 15, 14, "Unknown"},
        {"IpVersion", 2, 1, "IPv6"},
        {"PacketAction", 2, 1, "Block"},
        {"TrafficDirection", 6, 5, "OutgoingPacket"},
        {"IpProtocol", 7, 6, "GRE"},
        {"FileObjectType", 7, 6, "Socket"},
        {"PatchPolicy", 3, 2, "DownloadAndInstall"},
        {"PatchImportance", 2, 1, "Critical"},
        {"PatchState", 3, 2, "InstallFailed"},
        {"ApplicationModuleState", 9, 8, "RolledBack"},
        {"PatchEventResult", 7, 6, "PatchFilesCorrupted"},
        {"TsnMode", 4, 3, "SaveStatisticsToFile"},
        {"TsnOffMode", 4, 3, "SaveStatisticsToFile"},
        {"TraceLevel", 3, 2, "Detailed"},
        {"TsnUsage", 4, 3, "SaveStatisticsToFile"},
        {"DangerLevel", 6, 5, "Error"},
        {"Initiator", 4, 3, "Scheduler"},
        {"FilesystemType", 3, 2, "SMB"},
        {"AcceptanceState", 2, 1, "Denied"},
        {"KeySource", 3, 2, "AdditionalKeyAsActive"},
        {"EventInitiator", 4, 3, "Scheduler"},
    };
    for (const auto& row : expected) {
        const ValueTable* table = FindTable(row.table);
        ASSERT_NE(table, nullptr) << row.table;
        EXPECT_EQ(table->Rows().size(), row.rows) << row.table;
        EXPECT_EQ(table->Name(row.last), row.lastName) << row.table;
        EXPECT_EQ(table->Value(row.lastName), row.last) << row.table;

        // Each row is found both ways, and no number or name of a table stands twice.
        std::set<std::int32_t> values;
        std::set<std::string> names;
        for (const ValueRow& known : table->Rows()) {
            EXPECT_EQ(table->Name(known.value), known.name) << row.table;
            EXPECT_EQ(table->Value(known.name), known.value) << row.table;
            values.insert(known.value);
            names.emplace(known.name);
        }
        EXPECT_EQ(values.size(), row.rows) << row.table;
        EXPECT_EQ(names.size(), row.rows) << row.table;
        EXPECT_EQ(*values.begin(), 0) << row.table;
        EXPECT_EQ(*values.rbegin(), row.last) << row.table;
    }
    EXPECT_EQ(FindTable("Nothing"), nullptr);
    EXPECT_EQ(FindTable(""), nullptr);
    EXPECT_EQ(FindTable("tsnUsage"), nullptr);
    EXPECT_EQ(FindTable("YesNoFlagg"), nullptr);
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
