// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/exceptions.h>
#include <wire/results.h>

#include <kj/debug.h>
#include <kj/exception.h>
#include <new>

namespace tfs::wire {
namespace {

/// The library puts words of its own before the text of a peer's exception.
constexpr kj::StringPtr AnswerTooLargeText = "the answer is larger than a client takes"_kj;

} // namespace

kj::Exception AnswerTooLarge() { return KJ_EXCEPTION(OVERLOADED, AnswerTooLargeText); }

result_t ResultFromException(const kj::Exception& exception) noexcept {
    switch (exception.getType()) {
    case kj::Exception::Type::DISCONNECTED:
        return ulk::eNotReady;
    case kj::Exception::Type::OVERLOADED:
        return exception.getDescription().endsWith(AnswerTooLargeText) ? ulk::eInvalidSize
                                                                       : ulk::eInsufficientResources;
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
