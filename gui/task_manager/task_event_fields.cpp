// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/task_manager/task_event_fields.h>

#include <algorithm>
#include <charconv>

namespace tfs::gui {
namespace {

using tfs::types::AdditionalName;
using tfs::types::TaskState;

std::optional<std::int64_t> NumberOf(const Event& event, AdditionalName::Type field) {
    ulk::types::variant_t value;
    std::int64_t number = 0;
    if (!ULK_SUCCEEDED(event.GetAdditionalData(field, value)))
        return std::nullopt;
    if (ulk::types::VariantToInteger(value, number))
        return number;
    ulk::types::string16_t text16;
    if (!ULK_SUCCEEDED(event.GetAdditionalData(field, text16)))
        return std::nullopt;
    const std::string text = ulk::text::ToUtf8Lossy(text16);
    const auto [stopped, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || stopped != text.data() + text.size())
        return std::nullopt;
    return number;
}

std::optional<std::int64_t> StateByName(const Event& event) {
    ulk::types::string16_t name;
    if (!ULK_SUCCEEDED(event.GetAdditionalData(AdditionalName::TaskState, name)))
        return std::nullopt;
    return TaskState::Table().Value(ulk::text::ToUtf8Lossy(name));
}

} // namespace

std::optional<std::uint64_t> TaskIdOf(const Event& event) {
    const auto number = NumberOf(event, AdditionalName::TaskId);
    if (!number || *number < 0)
        return std::nullopt;
    return static_cast<std::uint64_t>(*number);
}

std::optional<TaskState::Type> TaskStateOf(const Event& event) {
    auto number = NumberOf(event, AdditionalName::TaskState);
    if (!number)
        number = StateByName(event);
    if (!number || *number < TaskState::Starting || *number > TaskState::Unknown)
        return std::nullopt;
    return static_cast<TaskState::Type>(*number);
}

std::optional<std::uint8_t> ProgressOf(const Event& event, AdditionalName::Type field) {
    const auto number = NumberOf(event, field);
    if (!number)
        return std::nullopt;
    return static_cast<std::uint8_t>(std::clamp<std::int64_t>(*number, 0, 100));
}

} // namespace tfs::gui
