// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/exceptions.h>
#include <wire/results.h>

#include <kj/exception.h>
#include <new>

namespace tfs::wire {

result_t ResultFromException(const kj::Exception& exception) noexcept {
    switch (exception.getType()) {
    case kj::Exception::Type::DISCONNECTED:
        return ulk::eNotReady;
    case kj::Exception::Type::OVERLOADED:
        return ulk::eInsufficientResources;
    case kj::Exception::Type::UNIMPLEMENTED:
        return ulk::eNotImplemented;
    case kj::Exception::Type::FAILED:
        break;
    }
    return ulk::eUnexpected;
}

result_t ResultFromCurrentException() noexcept {
    try {
        throw;
    } catch (const kj::Exception& e) {
        return ResultFromException(e);
    } catch (const ulk::ResultCodeException& e) {
        return e.Code();
    } catch (const std::bad_alloc&) {
        return ulk::eOutOfMemory;
    } catch (...) {
        return ulk::eUnspecified;
    }
}

} // namespace tfs::wire
