// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/event.h>
#include <foundation/datetime.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tfs {

result_t Event::GetAdditionalData(types::AdditionalName::Type name, ulk::types::variant_t& out) const {
    const auto found = std::find_if(additional.begin(), additional.end(),
                                    [name](const EventAdditionalData& data) { return data.name == name; });
    if (found == additional.end())
        return ulk::eUnspecified;
    out = found->value;
    return ulk::sOk;
}

result_t Event::GetAdditionalData(types::AdditionalName::Type name, ulk::types::string16_t& out) const {
    ulk::types::variant_t value;
    if (const result_t result = GetAdditionalData(name, value); !ULK_SUCCEEDED(result))
        return result;
    try {
        out = ulk::text::ToUtf16Lossy(ulk::types::VariantToString(value));
        return ulk::sOk;
    } catch (const ulk::datetime::TimeSystemError& e) {
        return e.Code();
    } catch (const std::invalid_argument&) {
        return ulk::eInvalidType;
    }
}

void Event::Add(types::AdditionalName::Type name, ulk::types::variant_t value, bool isHidden) {
    additional.push_back({name, std::move(value), static_cast<std::uint8_t>(isHidden ? 1 : 0)});
}

bool EventFilter::Passes(const Event& event) const {
    const auto names = [&event](const ulk::types::vector_t<std::uint32_t>& list) {
        return std::find(list.begin(), list.end(), static_cast<std::uint32_t>(event.type)) != list.end();
    };
    if (names(excludedEventTypes) || (!eventTypes.empty() && !names(eventTypes)))
        return false;
    if (taskTypes.empty())
        return true;
    ulk::types::string16_t taskType;
    return ULK_SUCCEEDED(event.GetAdditionalData(types::AdditionalName::TaskType, taskType)) &&
           std::find(taskTypes.begin(), taskTypes.end(), taskType) != taskTypes.end();
}

} // namespace tfs
