// SPDX-License-Identifier: GPL-2.0-or-later
// The event record, the subscription filter and the interfaces by which events travel.
#pragma once

#include <contract/tfs/value_tables.h>
#include <contract/tfs/variant.h>
#include <foundation/object.h>

#include <cstdint>
#include <ctime>
#include <optional>

namespace tfs {

struct EventAdditionalData {
    types::AdditionalName::Type name{};
    ulk::types::variant_t value;
    std::uint8_t hidden = 0; ///< not 0: kept out of every display
    friend bool operator==(const EventAdditionalData&, const EventAdditionalData&) = default;
};

struct EventUser {
    std::uint32_t uid = 0;
    ulk::types::string16_t userName;
    friend bool operator==(const EventUser&, const EventUser&) = default;
};

/// Everything that the service reports. A default record holds id 0, severity Informational, initiator Product, no
/// user, no additional data and the time of its creation.
struct Event {
    using IdType = std::int64_t;

    IdType id = 0; ///< above 0 where stored; grows with time
    types::EventName::Type type{};
    types::EventSeverity::Type severity = types::EventSeverity::Informational;
    types::EventInitiator::Type initiator = types::EventInitiator::Product;
    std::optional<EventUser> initiatorUser;
    std::int64_t time = std::time(nullptr); ///< seconds since 1970-01-01 UTC
    ulk::types::vector_t<EventAdditionalData> additional;

    /// Value of the first pair of that name; eUnspecified where there is none (then `out` is untouched).
    result_t GetAdditionalData(types::AdditionalName::Type name, ulk::types::variant_t& out) const;
    /// The same as text, through VariantToString. A value without a text form is eInvalidType, a date that can't be
    /// told eInvalidArgument; `out` is untouched then too.
    result_t GetAdditionalData(types::AdditionalName::Type name, ulk::types::string16_t& out) const;
    /// Appends a pair.
    void Add(types::AdditionalName::Type name, ulk::types::variant_t value, bool isHidden = false);
    friend bool operator==(const Event&, const Event&) = default;
};

/// What a receiver wants. An event passes when `eventTypes` is empty or names it, `excludedEventTypes` doesn't, and
/// `taskTypes` is empty or names its TaskType value.
struct EventFilter {
    ulk::types::vector_t<std::uint32_t> eventTypes;
    ulk::types::vector_t<std::uint32_t> excludedEventTypes;
    ulk::types::vector_t<ulk::types::string16_t> taskTypes;

    bool Passes(const Event& event) const;
    friend bool operator==(const EventFilter&, const EventFilter&) = default;
};

/// Sink of pushed events. OnEvent is called on the transport's thread: copy and return.
class IRemoteEventsReceiver : public ulk::IObject {
public:
    static constexpr ulk::iid_t Iid = 0x2B6E90C4u;
    virtual result_t OnEvent(const Event& event) = 0;
    virtual result_t GetReceiverName(ulk::types::string16_t& name) const = 0;

protected:
    ~IRemoteEventsReceiver() = default;
};

class IEventSubscriber : public ulk::IObject {
public:
    static constexpr ulk::iid_t Iid = 0x3A110E55u;
    /// Events published from now on reach the receiver, in order, once each, until Unsubscribe returns.
    virtual result_t Subscribe(IRemoteEventsReceiver* receiver, const EventFilter& filter) = 0;
    virtual result_t Unsubscribe(IRemoteEventsReceiver* receiver) = 0;

protected:
    ~IEventSubscriber() = default;
};

} // namespace tfs
