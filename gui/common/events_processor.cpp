// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/check.h>
#include <gui/common/events_processor.h>
#include <gui/common/exception_text.h>

namespace tfs::gui {

result_t EventsProcessor::FinalConstruct() {
    return ULK_CHECK_TRACE(GetTracer(), ulk::CreateInstance(GetServiceLocator(), m_eventSubscription.Ref()),
                           "Cannot create EventSubscription instance");
}

void EventsProcessor::FinalRelease() noexcept { m_eventSubscription.Reset(); }

result_t EventsProcessor::Subscribe(ulk::IServiceLocator* remoteLocator, const ulk::types::string16_t& name,
                                    const EventFilter& filter, Handler handler) {
    ULK_TRACE(GetTracer(), ulk::level::Detail) << "Subscribe"
                                               << "(..., " << name << ", ... )";
    m_name = name;
    m_handler = std::move(handler);
    return m_eventSubscription->Subscribe(remoteLocator, this, filter);
}

result_t EventsProcessor::Unsubscribe() {
    ULK_TRACE(GetTracer(), ulk::level::Detail) << "Unsubscribe()";
    return m_eventSubscription->Unsubscribe();
}

result_t EventsProcessor::OnEvent(const Event& event) {
    const char* const signature = __PRETTY_FUNCTION__;
    ULK_TRACE(GetTracer(), ulk::level::Detail) << signature << static_cast<std::int32_t>(event.type);
    try {
        return m_handler(event);
    } catch (const std::exception& e) {
        ULK_TRACE(GetTracer(), ulk::level::Failure) << signature << e.what();
        // The framework's exceptions name their class alone in what().
        if (const std::string details = ExceptionText(e); details != e.what()) {
            ULK_TRACE(GetTracer(), ulk::level::Failure) << signature << ": " << details;
        }
    } catch (...) {
        ULK_TRACE(GetTracer(), ulk::level::Failure) << signature << ": unspecified error";
    }
    return ulk::eUnspecified;
}

result_t EventsProcessor::GetReceiverName(ulk::types::string16_t& name) const {
    name = m_name;
    return ulk::sOk;
}

} // namespace tfs::gui
