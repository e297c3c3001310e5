// SPDX-License-Identifier: GPL-2.0-or-later
// A KJ event loop on a thread of its own, and the queue by which other threads hand it work.
#pragma once

#include <foundation/sync.h>
#include <foundation/trace.h>

#include <atomic>
#include <functional>
#include <kj/async-io.h>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

namespace tfs::wire {

/// The queue of one loop. Shared by the loop's thread and by those who post: it may outlive the loop, and then takes
/// nothing any more. Every KJ object belongs to the loop's thread; what is posted carries plain data only.
class LoopQueue {
public:
    /// Work for the loop. Where the loop ends before its turn comes it is destroyed without being run, on any thread.
    class Task {
    public:
        virtual ~Task() = default;
        virtual void Run() = 0;
    };

    /// Throws ulk::SystemException where there is no descriptor left.
    LoopQueue();
    ~LoopQueue();
    LoopQueue(const LoopQueue&) = delete;
    LoopQueue& operator=(const LoopQueue&) = delete;

    /// Any thread. False when the loop has ended; the task is destroyed then.
    bool Post(std::unique_ptr<Task> task);
    /// Any thread; `function` is called once with no arguments.
    template <class Function>
    bool PostFunction(Function function) {
        return Post(std::make_unique<FunctionTask<Function>>(std::move(function)));
    }
    /// Any thread: Serve returns soon.
    void RequestStop() noexcept;
    /// True on the thread that has adopted the queue and not yet closed it.
    bool IsCurrent() const noexcept;

    /// Makes the calling thread the loop's thread.
    void Adopt() noexcept;
    /// The loop's thread: runs tasks and everything else of the loop until a stop is asked for. A task that throws is
    /// traced and doesn't end the loop; `vital` ends it when it does, and its exception is thrown from here. `tracer`
    /// may be null.
    void Serve(kj::AsyncIoContext& io, ulk::ITracer* tracer, kj::Promise<void> vital = kj::NEVER_DONE);
    /// Takes nothing any more and destroys what is queued. Called by the loop's thread when its objects are gone.
    void Close();

private:
    template <class Function>
    class FunctionTask final : public Task {
    public:
        explicit FunctionTask(Function function) : m_function(std::move(function)) {}
        void Run() override { m_function(); }

    private:
        Function m_function;
    };

    class Pump;
    void Wake() noexcept;
    std::vector<std::unique_ptr<Task>> Take();

    const int m_event;
    std::atomic<bool> m_signalled{false};
    std::atomic<bool> m_stop{false};
    std::atomic<std::thread::id> m_thread;
    ulk::Mutex m_mutex;
    bool m_closed ULK_GUARDED_BY(m_mutex) = false;
    std::vector<std::unique_ptr<Task>> m_tasks ULK_GUARDED_BY(m_mutex);
};

/// A thread on which all signals are blocked, so that they stay with the program's own threads. Throws
/// std::system_error where no thread can be had. `name` is at most 15 characters.
std::thread StartQuietThread(const char* name, std::function<void()> body);

} // namespace tfs::wire
