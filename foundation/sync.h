// SPDX-License-Identifier: GPL-2.0-or-later
// Mutexes that clang's thread-safety analysis understands.
#pragma once

#include <mutex>

#if defined(__clang__)
#define ULK_ANNOTATION(x) __attribute__((x))
#else
#define ULK_ANNOTATION(x)
#endif

#define ULK_CAPABILITY(x) ULK_ANNOTATION(capability(x))
#define ULK_SCOPED_CAPABILITY ULK_ANNOTATION(scoped_lockable)
#define ULK_GUARDED_BY(x) ULK_ANNOTATION(guarded_by(x))
#define ULK_REQUIRES(...) ULK_ANNOTATION(requires_capability(__VA_ARGS__))
#define ULK_EXCLUDES(...) ULK_ANNOTATION(locks_excluded(__VA_ARGS__))
#define ULK_ACQUIRE(...) ULK_ANNOTATION(acquire_capability(__VA_ARGS__))
#define ULK_RELEASE(...) ULK_ANNOTATION(release_capability(__VA_ARGS__))
#define ULK_TRY_ACQUIRE(...) ULK_ANNOTATION(try_acquire_capability(__VA_ARGS__))
#define ULK_NO_ANALYSIS ULK_ANNOTATION(no_thread_safety_analysis)

namespace ulk {

/// std::mutex with annotations; works with std::condition_variable_any and with std::unique_lock through Native().
class ULK_CAPABILITY("mutex") Mutex {
public:
    void lock() ULK_ACQUIRE() { m_mutex.lock(); }
    void unlock() ULK_RELEASE() { m_mutex.unlock(); }
    bool try_lock() ULK_TRY_ACQUIRE(true) { return m_mutex.try_lock(); }

private:
    std::mutex m_mutex;
};

/// Locks for a scope; may be unlocked and locked again, so that a condition_variable_any can wait on it.
class ULK_SCOPED_CAPABILITY LockGuard {
public:
    explicit LockGuard(Mutex& mutex) ULK_ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.lock(); }
    ~LockGuard() ULK_RELEASE() {
        if (m_locked)
            m_mutex.unlock();
    }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;
    void lock() ULK_ACQUIRE() {
        m_mutex.lock();
        m_locked = true;
    }
    void unlock() ULK_RELEASE() {
        m_locked = false;
        m_mutex.unlock();
    }

private:
    Mutex& m_mutex;
    bool m_locked = true;
};

} // namespace ulk
