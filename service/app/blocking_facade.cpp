// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/app/blocking_facade.h>
#include <service/app/guarded.h>
#include <service/app/reports_allowed.h>

namespace tfs::service::app {

template <class Body>
result_t BlockingFacade::ForReader(const rpc::Caller& caller, Body body) noexcept {
    return Guarded([&] { return ReportsAllowed(m_settings, caller) ? body() : ulk::eAccessDenied; });
}

result_t BlockingFacade::SetAppSettings(const rpc::Caller& caller, const tfs::settings::SettingsChangeList& changes,
                                        bool acceptTsn,
                                        std::vector<tfs::settings::ValidationMessage>& messages) noexcept {
    return m_settings.Apply(changes, acceptTsn, caller.uid, messages);
}

result_t BlockingFacade::SetTaskSettings(const rpc::Caller& caller, const std::u16string& idOrName,
                                         const tfs::settings::SettingsChangeList& changes, bool toDefault,
                                         std::vector<tfs::settings::ValidationMessage>& messages) noexcept {
    return Guarded([&] { return m_tasks.SetSettings(caller, idOrName, changes, toDefault, messages); });
}

result_t BlockingFacade::SetSchedule(const rpc::Caller& caller, const std::u16string& idOrName,
                                     const tfs::settings::SettingsChangeList& changes, bool toDefault,
                                     std::vector<tfs::settings::ValidationMessage>& messages) noexcept {
    return Guarded([&] { return m_tasks.SetSchedule(caller, idOrName, changes, toDefault, messages); });
}

result_t BlockingFacade::GetEventCount(const rpc::Caller& caller, std::uint64_t& count) noexcept {
    return ForReader(caller, [&] {
        count = m_events.Count();
        return ulk::sOk;
    });
}

result_t BlockingFacade::GetOldestEvent(const rpc::Caller& caller, Event& event) noexcept {
    return ForReader(caller, [&] { return m_events.GetOldest(event); });
}

result_t BlockingFacade::GetEvent(const rpc::Caller& caller, Event::IdType id, Event& event) noexcept {
    return ForReader(caller, [&] { return m_events.Get(id, event); });
}

result_t BlockingFacade::QueryEvents(const rpc::Caller& caller, const EventQuery& query, store::EventCursor cursor,
                                     std::size_t byteLimit, store::EventPage& page) noexcept {
    return ForReader(caller, [&] { return m_events.Query(query, cursor, byteLimit, page); });
}

} // namespace tfs::service::app
