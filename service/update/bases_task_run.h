// SPDX-License-Identifier: GPL-2.0-or-later
// What the runs of an update and of a rollback have in common.
#pragma once

#include <service/scan/time_estimate.h>
#include <service/tasks/task_run.h>
#include <service/update/bases_user.h>
#include <service/update/update_area.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tfs::service::update {

/// Can be stopped, and not be paused: what is fetched by halves is worth nothing.
class BasesTaskRun : public tasks::ITaskRun {
public:
    BasesTaskRun(tasks::RunOrder order, tasks::IRunHost& host, UpdateArea& area, IBasesUser& user);

    void Execute() noexcept final;
    void Stop() noexcept override;
    /// What a factory answers: may there be anything to do? From memory.
    static bool IsAvailable(const UpdateArea&) noexcept { return true; }
    /// What a factory answers: are the settings of use? `problem` is one line for people where they aren't.
    static bool Accepts(const ulk::types::any_struct_t&, std::string&) { return true; }
    void Pause() noexcept final {}
    void Resume() noexcept final {}

protected:
    enum class End {
        Completed,
        Stopped,
        Failed, ///< with m_failure, which has been told by an event
    };
    /// Called with the turn on the sets, when the run has begun.
    virtual End Work(SignatureSets& sets) = 0;
    /// Looks at what the run needs before it begins; false with m_failure set.
    virtual bool Prepare() { return true; }

    /// Tells by an event that the task has failed.
    End Fail(std::string why);
    virtual Event MakeFailure(const std::string& why) const = 0;
    /// Loads the folder's signatures in place of those in use and then has the sets follow by `follow`; what was in use
    /// is loaded again where they don't.
    End TakeIntoUse(const SignatureSets& sets, const std::string& folder,
                    const std::function<result_t(std::string& problem)>& follow);
    bool IsStopped() const noexcept { return m_stopped; }
    /// Tells progress, and the time left once it can be told; the events among it at most four a second. Never falls.
    void Progress(std::uint32_t percent);
    void Publish(Event event) { m_host.PublishFinding(std::move(event)); }

    const tasks::RunOrder m_order;
    UpdateArea& m_area;
    std::string m_failure;

private:
    tasks::RunOutcome Run();
    result_t Replace(const std::string& folder, std::string& why);
    void PutBack(const std::string& folder);

    IBasesUser& m_user;
    tasks::IRunHost& m_host;
    std::atomic<bool> m_stopped = false;
    scan::TimeEstimate m_time;
    std::optional<std::uint32_t> m_percent;
    std::optional<std::chrono::steady_clock::time_point> m_told;
};

/// Makes the runs of one class. Outlives the registry, as do the area and the user of the signatures.
template <class TaskRun>
class BasesRunFactory final : public tasks::IRunFactory {
public:
    BasesRunFactory(UpdateArea& area, IBasesUser& user) : m_area(area), m_user(user) {}
    std::shared_ptr<tasks::ITaskRun> MakeRun(tasks::RunOrder order, tasks::IRunHost& host) override {
        return std::make_shared<TaskRun>(std::move(order), host, m_area, m_user);
    }

    bool Accepts(const ulk::types::any_struct_t& settings, std::string& problem) const override {
        return TaskRun::Accepts(settings, problem);
    }
    bool IsAvailable() const noexcept override { return TaskRun::IsAvailable(m_area); }

private:
    UpdateArea& m_area;
    IBasesUser& m_user;
};

} // namespace tfs::service::update
