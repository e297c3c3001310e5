// SPDX-License-Identifier: GPL-2.0-or-later
// How much a run has to do: at first what the file systems say of themselves, where an area is a whole one, then what a
// quick walk beside the scan counts. Used on one thread.
#pragma once

#include <service/scan/file_walker.h>
#include <service/scan/scan_tally.h>

#include <chrono>
#include <string>
#include <vector>

namespace tfs::service::scan {

/// Weight of the areas by the inodes and bytes in use on their file systems; 0 where an area is no whole file system on
/// a disk, or one doesn't tell.
std::uint64_t WeightInUse(const std::vector<std::string>& areas);
/// Weight in use on the file systems that areas lie on, whether they are whole ones or not: an upper bound.
std::uint64_t WeightAround(const std::vector<std::string>& areas);

/// Adds up what the walk will come by, without opening a file. Ends by itself after a time.
class WorkCounter final : public IWalkVisitor {
public:
    static constexpr std::chrono::seconds MostTime{30};

    /// `goOnBehind` as in ScanOptions. `run` says whether to go on.
    WorkCounter(std::string goOnBehind, IWalkVisitor& run)
        : m_goOnBehind(std::move(goOnBehind)), m_run(run), m_deadline(std::chrono::steady_clock::now() + MostTime) {}

    void OnFile(const FoundFile& file) override;
    void OnOpened(const std::string& path, scanner::Descriptor file, FileSystemKind fileSystem) override;
    void OnSkipped(const std::string&) override {}
    void OnUnreadable(const std::string&, int, const std::string&) override {}
    bool GoOn() override;

    std::uint64_t Weight() const noexcept { return m_weight; }
    /// Of that, what comes at or before `goOnBehind`.
    std::uint64_t WeightBefore() const noexcept { return m_before; }
    bool IsComplete() const noexcept { return !m_gaveUp; }

private:
    const std::string m_goOnBehind;
    IWalkVisitor& m_run;
    const std::chrono::steady_clock::time_point m_deadline;
    std::uint64_t m_weight = 0;
    std::uint64_t m_before = 0;
    unsigned m_looks = 0;
    bool m_gaveUp = false;
};

} // namespace tfs::service::scan
