// SPDX-License-Identifier: GPL-2.0-or-later
// A task registry whose scans do what the test says.
#pragma once

#include <service/tasks/scan_run_factory.h>
#include <service/tasks/task_registry.h>
#include <tests/unit/service/temp_folder.h>
#include <tests/unit/service/waiting.h>

#include <algorithm>
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>
#include <unistd.h>

namespace tfs::service::tasks {

using tests::Eventually;
using tests::TempFolder;
using types::AdditionalName;
using types::EventName;

/// A scan that does what the test says, so that faults can be made.
class ScriptedRun final : public scan::IScanRun {
public:
    ScriptedRun(scan::ScanOptions options, scan::IScanObserver& observer)
        : m_options(std::move(options)), m_observer(observer) {}

    scan::ScanResult Run() override {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return (m_finish || m_stopped) && (!m_paused || m_stopped); });
        scan::ScanResult result = m_result;
        if (m_stopped)
            result.end = scan::ScanEnd::Stopped;
        return result;
    }
    void Stop() noexcept override { Set(m_stopped, true); }
    void Pause() noexcept override { Set(m_paused, true); }
    void Resume() noexcept override { Set(m_paused, false); }

    void Finish(scan::ScanResult result = {}) {
        const std::lock_guard lock(m_mutex);
        m_result = std::move(result);
        m_finish = true;
        m_changed.notify_all(); // under the lock: the run is gone as soon as it has seen it
    }
    /// What it ends with when it is stopped.
    void SetResult(scan::ScanResult result) {
        const std::lock_guard lock(m_mutex);
        m_result = std::move(result);
    }
    scan::IScanObserver& Observer() { return m_observer; }
    const scan::ScanOptions& Options() const { return m_options; }
    bool IsPaused() {
        const std::lock_guard lock(m_mutex);
        return m_paused;
    }

private:
    void Set(bool& flag, bool value) {
        const std::lock_guard lock(m_mutex);
        flag = value;
        m_changed.notify_all();
    }

    const scan::ScanOptions m_options;
    scan::IScanObserver& m_observer;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    scan::ScanResult m_result;
    bool m_finish = false;
    bool m_stopped = false;
    bool m_paused = false;
};

class ScriptedEngine final : public IScanEngine {
public:
    result_t WaitUntilReady(const std::function<bool()>& cancelled, std::string& why) override {
        for (;;) {
            if (cancelled())
                return ulk::eCancelled;
            std::unique_lock lock(m_mutex);
            if (!m_broken.empty()) {
                why = m_broken;
                return ulk::eNotReady;
            }
            if (m_ready)
                return ulk::sOk;
            m_changed.wait_for(lock, std::chrono::milliseconds(5));
        }
    }
    std::unique_ptr<scan::IScanRun> MakeRun(ScanKind kind, scan::ScanOptions options,
                                            scan::IScanObserver& observer) override {
        auto run = std::make_unique<ScriptedRun>(std::move(options), observer);
        const std::lock_guard lock(m_mutex);
        m_lastKind = kind;
        m_last = run.get();
        ++m_made;
        return run;
    }
    void SetReady(bool ready) {
        const std::lock_guard lock(m_mutex);
        m_ready = ready;
    }
    void Break(std::string why) {
        const std::lock_guard lock(m_mutex);
        m_broken = std::move(why);
    }
    /// The run made last; waits until there is the n-th.
    ScriptedRun* Run(int number) {
        EXPECT_TRUE(Eventually([&] {
            const std::lock_guard lock(m_mutex);
            return m_made >= number;
        }));
        const std::lock_guard lock(m_mutex);
        return m_last;
    }
    ScanKind LastKind() {
        const std::lock_guard lock(m_mutex);
        return m_lastKind;
    }
    int Made() {
        const std::lock_guard lock(m_mutex);
        return m_made;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_ready = true;
    std::string m_broken;
    ScriptedRun* m_last = nullptr;
    ScanKind m_lastKind = ScanKind::Files;
    int m_made = 0;
};

class Recorder final : public store::IEventPublisher {
public:
    void Publish(Event event) noexcept override { Add(std::move(event)); }
    void PublishTransient(Event event) noexcept override { Add(std::move(event)); }
    std::vector<Event> Events() const {
        const std::lock_guard lock(m_mutex);
        return m_events;
    }
    std::vector<Event> Of(EventName::Type type) const {
        std::vector<Event> events = Events();
        std::erase_if(events, [&](const Event& event) { return event.type != type; });
        return events;
    }
    bool Has(EventName::Type type) const { return !Of(type).empty(); }
    void Clear() {
        const std::lock_guard lock(m_mutex);
        m_events.clear();
    }

private:
    void Add(Event event) {
        const std::lock_guard lock(m_mutex);
        m_events.push_back(std::move(event));
    }
    mutable std::mutex m_mutex;
    std::vector<Event> m_events;
};

template <class T>
T ValueOf(const Event& event, AdditionalName::Type name) {
    ulk::types::variant_t value;
    EXPECT_EQ(event.GetAdditionalData(name, value), ulk::sOk) << name;
    const T* typed = value.As<T>();
    EXPECT_NE(typed, nullptr) << "another tag for " << name;
    return typed != nullptr ? *typed : T();
}

inline constexpr rpc::Caller User{1000, false, 0};
inline constexpr rpc::Caller OtherUser{1001, false, 0};
inline constexpr rpc::Caller Administrator{0, true, 0};

class TaskRegistryTest : public testing::Test {
protected:
    void Make(TaskRegistry::Options options = {}) {
        m_registry.reset();
        options.stateFile = m_folder.File("tasks.json");
        m_registry = std::make_unique<TaskRegistry>(options, m_factories, m_recorder, ulk::Ptr<ulk::ITracer>());
        m_registry->Load();
    }
    TaskState::Type State(std::u16string_view task) {
        core::TaskInfo info;
        return ULK_SUCCEEDED(m_registry->GetTaskInfo(task, info)) ? info.state : TaskState::Unknown;
    }
    bool Reaches(std::u16string_view task, TaskState::Type state) {
        return Eventually([&] { return State(task) == state; });
    }
    result_t Do(TaskCommand command, std::u16string_view task = u"2", const rpc::Caller& caller = User) {
        return m_registry->Command(caller, task, command);
    }
    std::u16string Create(const rpc::Caller& caller, std::vector<std::string> areas) {
        core::TaskInfo info;
        EXPECT_EQ(m_registry->CreateScanTask(caller, ScanSettings{std::move(areas)}, info), ulk::sOk);
        return std::u16string(std::u16string_view(info.taskName));
    }
    std::vector<std::pair<int, int>> Transitions() {
        std::vector<std::pair<int, int>> list;
        for (const Event& event : m_recorder.Of(EventName::TaskStateChanged))
            list.emplace_back(ValueOf<std::int32_t>(event, AdditionalName::PrevTaskState),
                              ValueOf<std::int32_t>(event, AdditionalName::TaskState));
        return list;
    }

    TempFolder m_folder;
    ScriptedEngine m_engine;
    ScanRunFactory m_scans{m_engine, {"/private"}};
    RunFactories m_factories{{task_type::ODS, &m_scans}};
    Recorder m_recorder;
    std::unique_ptr<TaskRegistry> m_registry;
};

} // namespace tfs::service::tasks
