// SPDX-License-Identifier: GPL-2.0-or-later
// A thread that runs one member function of an object.
#pragma once

#include <foundation/result.h>

#include <exception>
#include <system_error>
#include <thread>

namespace tfs::gui {

/// Owned by the object that it runs in, which joins it before it goes. Create, Exists and Join belong to one thread.
class MemberThread {
public:
    /// The system's code where no thread can be had. There must be none yet.
    template <class Object>
    result_t Create(void (Object::*body)(), Object* object) noexcept {
        try {
            m_thread = std::thread(body, object);
            return ulk::sOk;
        } catch (const std::system_error& e) {
            return ulk::ResultFromErrno(e.code().value());
        } catch (const std::exception&) {
            return ulk::eOutOfMemory;
        }
    }
    bool Exists() const noexcept { return m_thread.joinable(); }
    /// Waits for the end; afterwards there is no thread. Not to be called from inside it.
    void Join() { m_thread.join(); }

private:
    std::thread m_thread;
};

} // namespace tfs::gui
