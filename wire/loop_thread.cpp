// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/exceptions.h>
#include <wire/loop_thread.h>
#include <wire/results.h>

#include <cassert>
#include <cerrno>
#include <kj/async-unix.h>
#include <kj/exception.h>
#include <pthread.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace tfs::wire {
namespace {

int MakeEvent() {
    const int event = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (event < 0)
        throw ulk::SystemException(__FILE__, __LINE__, ulk::ResultFromErrno(errno));
    return event;
}

/// What the library has to say goes to the trace instead of standard error.
class TraceCallback final : public kj::ExceptionCallback {
public:
    explicit TraceCallback(ulk::ITracer* tracer) : m_tracer(tracer) {}
    void logMessage(kj::LogSeverity, const char*, int, int, kj::String&& text) override {
        ULK_TRACE(m_tracer, ulk::level::Notable) << "remoting: " << text.cStr();
    }

private:
    ulk::ITracer* m_tracer;
};

} // namespace

/// The loop's side of the queue.
class LoopQueue::Pump {
public:
    Pump(LoopQueue& queue, kj::AsyncIoContext& io, ulk::ITracer* tracer)
        : m_queue(queue), m_tracer(tracer),
          m_observer(io.unixEventPort, queue.m_event, kj::UnixEventPort::FdObserver::OBSERVE_READ) {}

    /// Ends when a stop is asked for. The event is edge-triggered: each write is one wake-up and nothing need be read
    /// back. The wake-up is armed before the queue is emptied, so that none is lost in between.
    kj::Promise<void> Run() {
        auto armed = m_observer.whenBecomesReadable();
        m_queue.m_signalled.store(false);
        for (auto& task : m_queue.Take()) {
            try {
                task->Run();
            } catch (const kj::Exception& e) {
                ULK_TRACE(m_tracer, ulk::level::Failure) << "remoting: a task failed: " << e.getDescription().cStr();
            } catch (...) {
                ULK_TRACE(m_tracer, ulk::level::Failure)
                    << "remoting: a task failed: " << ulk::ResultText(ResultFromCurrentException());
            }
            task.reset();
        }
        if (m_queue.m_stop.load())
            return kj::READY_NOW;
        return armed.then([this] { return Run(); });
    }

private:
    LoopQueue& m_queue;
    ulk::ITracer* m_tracer;
    kj::UnixEventPort::FdObserver m_observer;
};

LoopQueue::LoopQueue() : m_event(MakeEvent()) {}

LoopQueue::~LoopQueue() {
    Close();
    ::close(m_event);
}

bool LoopQueue::Post(std::unique_ptr<Task> task) {
    {
        ulk::LockGuard lock(m_mutex);
        if (m_closed)
            return false;
        m_tasks.push_back(std::move(task));
    }
    Wake();
    return true;
}

void LoopQueue::RequestStop() noexcept {
    m_stop.store(true);
    Wake();
}

bool LoopQueue::IsCurrent() const noexcept { return m_thread.load() == std::this_thread::get_id(); }

void LoopQueue::Adopt() noexcept { m_thread.store(std::this_thread::get_id()); }

void LoopQueue::Serve(kj::AsyncIoContext& io, ulk::ITracer* tracer, kj::Promise<void> vital) {
    assert(IsCurrent());
    TraceCallback callback(tracer);
    Pump pump(*this, io, tracer);
    pump.Run().exclusiveJoin(kj::mv(vital)).wait(io.waitScope);
}

void LoopQueue::Close() {
    std::vector<std::unique_ptr<Task>> dropped;
    {
        ulk::LockGuard lock(m_mutex);
        m_closed = true;
        dropped.swap(m_tasks);
    }
    m_thread.store(std::thread::id());
}

void LoopQueue::Wake() noexcept {
    if (m_signalled.exchange(true))
        return;
    const std::uint64_t one = 1;
    // Can fail only for a full counter, and then the loop is awake.
    [[maybe_unused]] const auto written = ::write(m_event, &one, sizeof(one));
}

std::vector<std::unique_ptr<LoopQueue::Task>> LoopQueue::Take() {
    std::vector<std::unique_ptr<Task>> tasks;
    ulk::LockGuard lock(m_mutex);
    tasks.swap(m_tasks);
    return tasks;
}

std::thread StartQuietThread(const char* name, std::function<void()> body) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before);
    try {
        std::thread thread(std::move(body));
        pthread_setname_np(thread.native_handle(), name);
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        return thread;
    } catch (...) {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        throw;
    }
}

} // namespace tfs::wire
