// SPDX-License-Identifier: GPL-2.0-or-later
// A model's static map from event to member function, and the filter that follows from it.
#pragma once

#include <contract/tfs/event.h>
#include <gui/common/exception_text.h>

#include <algorithm>
#include <initializer_list>
#include <map>

namespace tfs::gui {

/// Built once for a model's class and never changed; calls come from the subscription's thread.
template <class Model>
class EventHandlers {
public:
    using EventType = tfs::types::EventName::Type;
    using Handler = result_t (Model::*)(const Event&);

    EventHandlers(std::initializer_list<std::pair<const EventType, Handler>> handlers) : m_handlers(handlers) {}
    /// Gives one handler to many events.
    void Add(std::initializer_list<EventType> events, Handler handler) {
        for (const EventType event : events)
            m_handlers.emplace(event, handler);
    }

    /// Every event of the map in its order; those of `excluded` that the map doesn't have are kept away.
    EventFilter Filter(std::initializer_list<EventType> excluded) const {
        EventFilter filter;
        for (const auto& [event, handler] : m_handlers)
            filter.eventTypes.push_back(static_cast<std::uint32_t>(event));
        for (const EventType event : excluded) {
            if (m_handlers.count(event) == 0)
                filter.excludedEventTypes.push_back(static_cast<std::uint32_t>(event));
        }
        return filter;
    }

    /// The handler's result; eUnspecified for an event that isn't in the map and after an exception, both traced.
    result_t Call(Model& model, const Event& event) const noexcept {
        try {
            return (model.*m_handlers.at(event.type))(event);
        }
        GUI_CATCH_ALL
        return ulk::eUnspecified;
    }

private:
    std::map<EventType, Handler> m_handlers;
};

} // namespace tfs::gui
