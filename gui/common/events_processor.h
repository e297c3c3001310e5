// SPDX-License-Identifier: GPL-2.0-or-later
// A model's subscription: a name, a handler and the subscription behind them.
#pragma once

#include <foundation/objclient.h>
#include <gui/common/events_subscription.h>
#include <gui/common/gui_event_receiver.h>

#include <boost/function.hpp>

namespace tfs::gui {

/// Made through the framework, owned by one model. Subscribe and Unsubscribe are called on the model's thread; the
/// handler runs on the subscription's.
class EventsProcessor : public ulk::LocatorObject, public IGuiEventReceiver {
public:
    using Interfaces = ulk::InterfaceList<IGuiEventReceiver>;
    using Handler = boost::function<result_t(const Event&)>;
    using ulk::LocatorObject::LocatorObject;

    result_t FinalConstruct();
    void FinalRelease() noexcept;

    result_t Subscribe(ulk::IServiceLocator* remoteLocator, const ulk::types::string16_t& name,
                       const EventFilter& filter, Handler handler);
    /// After it no handler is running or will run. Needed before the object can go: the subscription holds it.
    result_t Unsubscribe();

    /// Whatever the handler throws is traced and becomes eUnspecified.
    result_t OnEvent(const Event& event) override;
    result_t GetReceiverName(ulk::types::string16_t& name) const override;

private:
    ulk::types::string16_t m_name = u"GuiEventsProcessor";
    ulk::Ptr<EventSubscription> m_eventSubscription;
    Handler m_handler;
};

} // namespace tfs::gui
