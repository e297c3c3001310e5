// SPDX-License-Identifier: GPL-2.0-or-later
// A model's subscription to the service's events.
#pragma once

#include <gui/common/events_processor.h>

namespace tfs::gui {

/// Owned by one model and called on its thread; the handler runs on the subscription's.
class ModelSubscription {
public:
    /// What can't be made is traced, and the model then runs without events.
    void Open(ulk::IServiceLocator* remoteSl, const ulk::types::string16_t& modelName, const EventFilter& filter,
              EventsProcessor::Handler handler);
    /// After it no handler is running or will run. To be called before anything that the handler uses goes.
    void Close();

private:
    ulk::Ptr<EventsProcessor> m_eventsProcessor;
};

} // namespace tfs::gui
