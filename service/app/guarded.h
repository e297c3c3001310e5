// SPDX-License-Identifier: GPL-2.0-or-later
// The one place where exceptions of the areas become codes.
#pragma once

#include <foundation/exceptions.h>

#include <new>

namespace tfs::service::app {

/// The code of `body`, or of what it threw.
template <class Body>
result_t Guarded(Body body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return ulk::eOutOfMemory;
    } catch (const ulk::ResultCodeException& e) {
        return e.Code();
    } catch (...) {
        return ulk::eUnspecified;
    }
}

} // namespace tfs::service::app
