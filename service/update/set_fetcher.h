// SPDX-License-Identifier: GPL-2.0-or-later
// Brings a new set up to date from one source.
#pragma once

#include <service/update/freshclam_process.h>
#include <service/update/source_folder.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>

namespace tfs::service::update {

/// Where an update finds its programs, and its bounds.
struct UpdateConfig {
    FreshclamPrograms programs;
    FolderLimits limits;
    /// Bytes that may still be written where `folder` is; a test may tell another truth.
    std::function<std::uint64_t(const std::string& folder)> freeSpace;
    UpdateConfig();
};

/// Used by one run, on its worker.
class SetFetcher {
public:
    explicit SetFetcher(const UpdateConfig& config);

    /// `timeout` is in seconds, for connecting and for a wait without a byte. Works on the folder of
    /// SignatureSets::BeginNew, which holds the set in use. On Updated it holds the new files too, not yet trusted (see
    /// SignatureSets::Keep); on everything else it is to be discarded. Never throws but for want of memory.
    FetchResult Fetch(const UpdateSource& source, const std::string& folder, std::uint32_t timeout,
                      const FetchObserver& observer);
    /// From any thread: the fetch under way, and every later one, ends at once.
    void Stop() noexcept;

private:
    FetchResult FetchFolder(FreshclamJob job, const std::string& folder, const FetchObserver& observer);
    FetchResult FetchFile(FreshclamJob job, const std::string& folder, const FetchObserver& observer);
    FetchResult FetchMirror(FreshclamJob job, const std::string& folder, const FetchObserver& observer);
    void RequireSpace(const std::string& folder, std::uint64_t bytes) const;

    const UpdateConfig& m_config;
    FreshclamProcess m_process;
    std::atomic<bool> m_stopped = false;
};

} // namespace tfs::service::update
