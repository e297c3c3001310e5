// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/event_query.h>

namespace tfs::control {

ExitCode QueryEvents(const CommandContext& context, const EventSelection& selection) {
    std::vector<Event> events;
    ThrowIfFailed(Service<IEventStorer>(context)->QueryEvents(selection.Query(), events), "Cannot read the events");
    context.reporter.EventsTold(events);
    return ExitCode::Ok;
}

} // namespace tfs::control
