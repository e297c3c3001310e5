// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/exceptions.h>
#include <tfs_common/update_failure.h>

#include <new>

namespace tfs::tools {
namespace {

UpdateFailure Failure(result_t code, const std::string& reason) {
    return {code, "Cannot update settings: " + (reason.empty() ? std::string("Unexpected error") : reason)};
}

} // namespace

UpdateFailure DescribeUpdateFailure(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const ulk::ResultCodeException& e) {
        return Failure(e.Code(), ulk::text::ToUtf8Lossy(e.Message()));
    } catch (const std::bad_alloc& e) {
        return Failure(ulk::eOutOfMemory, e.what());
    } catch (const std::exception& e) {
        return Failure(ulk::eUnexpected, e.what());
    } catch (...) { // whatever it is, it says nothing
        return Failure(ulk::eUnexpected, {});
    }
}

} // namespace tfs::tools
