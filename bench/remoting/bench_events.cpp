// SPDX-License-Identifier: GPL-2.0-or-later
#include <bench/remoting/bench_events.h>
#include <iterator>
#include <string>

namespace tfs::bench {

namespace {

using types::AdditionalName;
using types::EventName;

// None whose publisher waits for the disk: not the disk is measured.
constexpr EventName::Type Types[] = {EventName::ObjectProcessed,    EventName::ObjectProcessingStarted,
                                     EventName::TaskStateChanged,   EventName::TaskSettingsChanged,
                                     EventName::UpdateError,        EventName::ModuleDownloaded,
                                     EventName::ObjectNotProcessed, EventName::AVBasesApplied,
                                     EventName::HostBlocked,        EventName::FileDownloadStarted};

constexpr std::size_t LeastFields = 5;
constexpr std::size_t MostFields = 20;

} // namespace

Event EventOfNumber(std::int64_t at) {
    const auto number = static_cast<std::uint64_t>(at);
    const std::size_t fields = LeastFields + number % (MostFields - LeastFields + 1);
    Event event;
    event.type = Types[number % std::size(Types)];
    event.time = at;
    event.additional.reserve(fields);
    event.Add(AdditionalName::FileName, "/home/user/documents/report-" + std::to_string(number) + ".odt");
    event.Add(AdditionalName::ObjectSize, number * 100);
    event.Add(AdditionalName::TaskId, std::uint64_t{2});
    event.Add(AdditionalName::TaskName, ulk::types::string16_t(u"Scan_My_Computer"));
    event.Add(AdditionalName::TaskType, ulk::types::string16_t(u"ODS"));
    while (event.additional.size() < fields) {
        switch (event.additional.size() % 3) {
        case 0:
            event.Add(AdditionalName::DetectName, ulk::types::string16_t(u"Win.Test.EICAR_HDB-1"));
            break;
        case 1:
            event.Add(AdditionalName::FileOwnerId, std::uint32_t{1000});
            break;
        default:
            event.Add(AdditionalName::LastModificationTime, ulk::types::FileTime{133444736000000000 + at});
            break;
        }
    }
    return event;
}

EventFilter FilterOf(std::size_t number) {
    EventFilter filter;
    for (std::size_t i = 0; i < number; ++i)
        filter.eventTypes.push_back(static_cast<std::uint32_t>(Types[i]));
    return filter;
}

unsigned PassingFilter(std::size_t number) {
    static_assert(EventCount % std::size(Types) == 0);
    return number == 0 ? EventCount : EventCount / std::size(Types) * static_cast<unsigned>(number);
}

} // namespace tfs::bench
