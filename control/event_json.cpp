// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/escape.h>
#include <control/event_json.h>
#include <control/event_values.h>
#include <control/values.h>

#include <type_traits>

namespace tfs::control {
namespace {

using nlohmann::json;
using ulk::types::string16_t;
using ulk::types::variant_t;

json ValueJson(types::AdditionalName::Type field, const variant_t& value) {
    return value.Visit([&](const auto& held) -> json {
        using Held = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<Held, std::monostate>) {
            return nullptr;
        } else if constexpr (std::is_same_v<Held, bool>) {
            return held;
        } else if constexpr (std::is_integral_v<Held>) {
            return TableOf(field) != nullptr ? json(FieldText(field, value)) : json(held);
        } else if constexpr (std::is_same_v<Held, variant_t::Vector>) {
            json list = json::array();
            for (const variant_t& item : held)
                list.push_back(ValueJson(field, item));
            return list;
        } else {
            return FieldText(field, value);
        }
    });
}

json FieldJson(const EventAdditionalData& field) {
    json object = {{"name", NameOf(types::AdditionalName::Table(), field.name)},
                   {"value", ValueJson(field.name, field.value)}};
    if (const auto* bytes = field.value.As<std::string>(); bytes != nullptr && !IsUtf8(*bytes))
        object["valueHex"] = ToHex(*bytes);
    return object;
}

} // namespace

json EventJson(const Event& event) {
    const std::string time = UtcFromEpoch(event.time);
    json object = {
        {"id", event.id},
        {"time", time.empty() ? json(nullptr) : json(time)},
        {"type", EventTypeName(event.type)},
        {"severity", NameOf(types::EventSeverity::Table(), event.severity)},
        {"initiator", NameOf(types::EventInitiator::Table(), event.initiator)},
        {"fields", json::array()},
    };
    if (event.initiatorUser)
        object["user"] = {{"uid", event.initiatorUser->uid}, {"name", Utf8(event.initiatorUser->userName)}};
    for (const EventAdditionalData& field : event.additional)
        if (field.hidden == 0)
            object["fields"].push_back(FieldJson(field));
    return object;
}

} // namespace tfs::control
