// SPDX-License-Identifier: GPL-2.0-or-later
// What the remote interfaces reach of the service that may take the disk's time.
#pragma once

#include <service/rpc/blocking_api.h>
#include <service/settings/settings_store.h>
#include <service/store/event_bus.h>
#include <service/tasks/task_registry.h>

namespace tfs::service::app {

/// Owned by the application object. Any thread; holds no state of its own.
class BlockingFacade final : public rpc::IBlockingApi {
public:
    BlockingFacade(settings::SettingsStore& settings, store::EventBus& events, tasks::TaskRegistry& tasks)
        : m_settings(settings), m_events(events), m_tasks(tasks) {}

    result_t SetAppSettings(const rpc::Caller& caller, const tfs::settings::SettingsChangeList& changes, bool acceptTsn,
                            std::vector<tfs::settings::ValidationMessage>& messages) noexcept override;
    result_t SetTaskSettings(const rpc::Caller& caller, const std::u16string& idOrName,
                             const tfs::settings::SettingsChangeList& changes, bool toDefault,
                             std::vector<tfs::settings::ValidationMessage>& messages) noexcept override;
    result_t SetSchedule(const rpc::Caller& caller, const std::u16string& idOrName,
                         const tfs::settings::SettingsChangeList& changes, bool toDefault,
                         std::vector<tfs::settings::ValidationMessage>& messages) noexcept override;
    result_t GetEventCount(const rpc::Caller& caller, std::uint64_t& count) noexcept override;
    result_t GetOldestEvent(const rpc::Caller& caller, Event& event) noexcept override;
    result_t GetEvent(const rpc::Caller& caller, Event::IdType id, Event& event) noexcept override;
    result_t QueryEvents(const rpc::Caller& caller, const EventQuery& query, store::EventCursor cursor,
                         std::size_t byteLimit, store::EventPage& page) noexcept override;

private:
    template <class Body>
    result_t ForReader(const rpc::Caller& caller, Body body) noexcept;

    settings::SettingsStore& m_settings;
    store::EventBus& m_events;
    tasks::TaskRegistry& m_tasks;
};

} // namespace tfs::service::app
