// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/event_subscription.h>
#include <control/wait_events.h>

#include <chrono>

namespace tfs::control {
namespace {

constexpr std::chrono::milliseconds Step{100}; ///< how late a request to stop may be noticed

} // namespace

ExitCode WaitEvents(const CommandContext& context, const EventSelection& selection) {
    EventSubscription subscription(context, selection.Filter(), "Cannot follow the events");
    context.reporter.EventsBegin();
    while (context.stopRequests() == 0) {
        if (const auto event = subscription.Queue().Pop(Step)) {
            if (!context.reporter.EventCame(*event))
                return ExitCode::OutputFailed;
        } else if (!context.isServiceAlive()) {
            throw Failure(ExitCode::Unavailable, "The service went away.");
        }
    }
    return ExitCode::Ok;
}

} // namespace tfs::control
