// SPDX-License-Identifier: GPL-2.0-or-later
// Files with several names: each is scanned once a run, and its verdict holds for every name. Guarded by its owner.
#pragma once

#include <service/scan/scan_client.h>

#include <cstdint>
#include <map>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace tfs::service::scan {

class LinkLedger {
public:
    enum class Answer {
        Scan,  ///< first seen: scan it, then call Settle
        Wait,  ///< in work; Settle will give this name back
        Known, ///< settled; see Verdict
    };

    /// Asks about one name of a file with more than one.
    Answer Ask(const struct stat& file, const std::string& path) {
        const auto [entry, made] = m_files.try_emplace({file.st_dev, file.st_ino});
        if (made)
            return Answer::Scan;
        if (entry->second.settled)
            return Answer::Known;
        entry->second.waiting.push_back(path);
        return Answer::Wait;
    }
    const FileVerdict& Verdict(const struct stat& file) { return m_files.at({file.st_dev, file.st_ino}).verdict; }
    /// Notes the verdict and returns the names that waited for it.
    std::vector<std::string> Settle(const struct stat& file, const FileVerdict& verdict) {
        Entry& entry = m_files[{file.st_dev, file.st_ino}];
        entry.settled = true;
        entry.verdict = verdict;
        return std::exchange(entry.waiting, {});
    }

private:
    struct Entry {
        bool settled = false;
        FileVerdict verdict;
        std::vector<std::string> waiting;
    };
    std::map<std::pair<dev_t, ino_t>, Entry> m_files;
};

} // namespace tfs::service::scan
