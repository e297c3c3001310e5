// SPDX-License-Identifier: GPL-2.0-or-later
// What ends a piece of work inside this area; turned into a result code and a line at its boundary.
#pragma once

#include <foundation/result.h>
#include <service/update/signature_files.h>

#include <cerrno>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace tfs::service::update {

/// what() is one line for people.
class SetFailure : public std::runtime_error {
public:
    SetFailure(const std::string& line, result_t result) : std::runtime_error(line), m_result(result) {}
    result_t Result() const noexcept { return m_result; }

private:
    result_t m_result;
};

/// A system call failed: the line ends in the error's text.
SetFailure SystemFailure(const std::string& what, int error = errno);

/// More names than this in a folder of signatures are an attack or an accident.
inline constexpr std::size_t MostEntriesOfSet = 10000;

/// Names in an open folder, sorted; `path` is for the failure. Throws SetFailure, also for more than MostEntriesOfSet.
std::vector<std::string> NamesIn(int folder, const std::string& path);

/// Makes what was made, renamed or removed in a folder durable. Throws SetFailure.
void SyncFolder(const Descriptor& folder, const std::string& path);

/// Runs `work`; what it throws becomes a code and one line.
template <class Work>
result_t Guarded(std::string& problem, Work work) noexcept {
    problem.clear();
    try {
        work();
        return ulk::sOk;
    } catch (const SetFailure& failure) {
        problem = failure.what();
        return failure.Result();
    } catch (const std::bad_alloc&) {
        return ulk::eOutOfMemory;
    } catch (const std::exception&) {
        return ulk::eUnexpected;
    }
}

} // namespace tfs::service::update
