// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/check.h>
#include <gui/common/application.h>
#include <gui/common/model_subscription.h>

#include <utility>

namespace tfs::gui {

void ModelSubscription::Open(ulk::IServiceLocator* remoteSl, const ulk::types::string16_t& modelName,
                             const EventFilter& filter, EventsProcessor::Handler handler) {
    const result_t created = ULK_CHECK_TRACE(
        application::GetTracer(), ulk::CreateInstance(application::GetLocalServiceLocator(), m_eventsProcessor.Ref()),
        "Subscribe: Cannot create EventsProcessor instance");
    if (ULK_SUCCEEDED(created))
        m_eventsProcessor->Subscribe(remoteSl, modelName, filter, std::move(handler));
}

void ModelSubscription::Close() {
    if (m_eventsProcessor)
        m_eventsProcessor->Unsubscribe();
    m_eventsProcessor.Reset();
}

} // namespace tfs::gui
