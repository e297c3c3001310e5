// SPDX-License-Identifier: GPL-2.0-or-later
// The enumerations against the tables, by the spelling that the compiler has for each number.
#include <contract/tfs/value_tables.h>

#include <cstdint>
#include <gtest/gtest.h>
#include <string_view>
#include <utility>

namespace tfs::types {
namespace {

template <auto Value>
constexpr std::string_view Signature() {
    return __PRETTY_FUNCTION__;
}

/// "Basic" of TsnUsage::Basic; empty for a number without an enumerator, which compilers spell as a cast.
template <auto Value>
constexpr std::string_view EnumeratorName() {
    constexpr std::string_view Mark = "Value = ";
    std::string_view spelled = Signature<Value>();
    spelled.remove_prefix(spelled.find(Mark) + Mark.size());
    spelled = spelled.substr(0, spelled.find_first_of(";]"));
    return spelled.front() == '(' ? std::string_view() : spelled.substr(spelled.rfind(':') + 1);
}

template <class Named, std::int32_t First, std::int32_t... Offsets>
void ExpectNames(std::integer_sequence<std::int32_t, Offsets...>) {
    const auto compare = [](std::int32_t value, std::string_view name) {
        EXPECT_EQ(Named::Table().Name(value), name) << Named::Table().TableName() << ' ' << value;
    };
    (compare(First + Offsets, EnumeratorName<static_cast<typename Named::Type>(First + Offsets)>()), ...);
}

/// Each number from -1 to `Greatest`: both have it under one name, or neither has it.
template <std::int32_t Greatest, class... Named>
void ExpectTheSameNames() {
    (ExpectNames<Named, -1>(std::make_integer_sequence<std::int32_t, Greatest + 2>()), ...);
}

TEST(ValueEnumerations, HaveTheNamesOfTheirTables) {
    static_assert(EnumeratorName<TsnUsage::Basic>() == "Basic");
    static_assert(EnumeratorName<static_cast<EventName::Type>(7)>().empty());
    ExpectTheSameNames<100, EventName, AdditionalName>();
    ExpectTheSameNames<
        24, YesNoFlag, EventSeverity, DetectCertainty, DetectSource, DetectType, TaskState, ObjectStatus, ObjectName,
        ThreatAction, ScanLevel, InterceptorKind, FileScanMode, MailerKind, SettingsScope, ActivationKind,
        ScheduleRepeat, LogRotation, TraceDetail, NetworkDiscovery, ObjectNotDisinfectedReason, ScanScope,
        ShareProtocol, TaskNotStartedReason, ApplicationStopReason, PathIssue, UpdateSourceKind, FileModificationType,
        IpVersion, PacketAction, TrafficDirection, IpProtocol, FileObjectType, PatchPolicy, PatchImportance, PatchState,
        ApplicationModuleState, PatchEventResult, TsnMode, TsnOffMode, AcceptanceState, KeySource, EventInitiator,
        TraceLevel, TsnUsage, DangerLevel, Initiator, FilesystemType, ScheduleMode, DayOfWeek>();
}

} // namespace
} // namespace tfs::types
