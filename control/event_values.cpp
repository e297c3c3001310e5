// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/event_values.h>
#include <control/values.h>

namespace tfs::control {
namespace {

using ulk::types::FileTime;
using ulk::types::variant_t;

} // namespace

std::string NameOf(const types::ValueTable& table, std::int64_t value) {
    const std::string_view name = table.Name(value);
    return name.empty() ? std::to_string(value) : std::string(name);
}

std::string EventTypeName(types::EventName::Type type) { return NameOf(types::EventName::Table(), type); }

const types::ValueTable* TableOf(types::AdditionalName::Type field) noexcept {
    using types::AdditionalName;
    switch (field) {
    case AdditionalName::TaskState:
    case AdditionalName::PrevTaskState:
        return &types::TaskState::Table();
    case AdditionalName::ObjectName:
        return &types::ObjectName::Table();
    case AdditionalName::DetectCertainty:
        return &types::DetectCertainty::Table();
    case AdditionalName::DetectType:
        return &types::DetectType::Table();
    case AdditionalName::DetectSource:
        return &types::DetectSource::Table();
    case AdditionalName::ObjectNotDisinfectedReason:
        return &types::ObjectNotDisinfectedReason::Table();
    case AdditionalName::TaskNotStartedReason:
        return &types::TaskNotStartedReason::Table();
    case AdditionalName::ApplicationStopReason:
        return &types::ApplicationStopReason::Table();
    case AdditionalName::FileModificationType:
        return &types::FileModificationType::Table();
    case AdditionalName::FileObjectType:
        return &types::FileObjectType::Table();
    case AdditionalName::TsnAcceptance:
    case AdditionalName::TsnStatisticsAcceptance:
        return &types::AcceptanceState::Table();
    default:
        return nullptr;
    }
}

std::string FieldText(types::AdditionalName::Type field, const variant_t& value) {
    std::int64_t number = 0;
    const types::ValueTable* const table = TableOf(field);
    if (table != nullptr && ulk::types::VariantToInteger(value, number))
        return NameOf(*table, number);
    if (const auto* date = value.As<FileTime>())
        return UtcFromTicks(date->ticks);
    const auto* items = value.As<variant_t::Vector>();
    if (items == nullptr)
        return BytesOf(value);
    std::string text = "[";
    for (const variant_t& item : *items)
        text.append(text.size() > 1 ? ", " : "").append(FieldText(field, item));
    return text + "]";
}

} // namespace tfs::control
