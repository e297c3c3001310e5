// SPDX-License-Identifier: GPL-2.0-or-later
// Files with several names: each is scanned once a run, and its verdict holds for every name. Guarded by its owner.
#pragma once

#include <service/scan/scan_client.h>

#include <map>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace tfs::service::scan {

class LinkLedger {
public:
    enum class Answer {
        Scan,  ///< scan it, then call Settle, or Withdraw where this name can't be opened
        Wait,  ///< in work; Settle will give this name back
        Known, ///< settled; see Verdict
    };

    /// A name that waits for its file's verdict; `token` is the asking side's own number.
    struct Name {
        std::string path;
        std::uint64_t token = 0;
        friend bool operator==(const Name&, const Name&) = default;
    };

    /// Asks about one name of a file with more than one.
    Answer Ask(const struct stat& file, Name name) {
        const auto [entry, made] = m_files.try_emplace(KeyOf(file));
        if (made)
            return Answer::Scan;
        Entry& known = entry->second;
        if (!known.settled) {
            known.waiting.push_back(std::move(name));
            return Answer::Wait;
        }
        if (IsAsScanned(known, file))
            return Answer::Known;
        known.settled = false; // changed since it was scanned under another name
        return Answer::Scan;
    }
    const FileVerdict& Verdict(const struct stat& file) { return m_files.at(KeyOf(file)).verdict; }
    /// Notes the verdict on a file, `file` being its state when it was opened, and returns the names that waited for
    /// it.
    std::vector<Name> Settle(const struct stat& file, const FileVerdict& verdict) {
        Entry& entry = m_files[KeyOf(file)];
        entry.settled = true;
        entry.verdict = verdict;
        entry.verdict.file.reset(); // descriptors are few; who needs this one opens the name that he asked for
        entry.size = file.st_size;
        entry.modified = file.st_mtim;
        entry.changed = file.st_ctim;
        return std::exchange(entry.waiting, {});
    }
    /// The name that was to be scanned led nowhere: the next one is tried. Only the asking thread may call it, before
    /// it asks again, so that nobody waits.
    void Withdraw(const struct stat& file) { m_files.erase(KeyOf(file)); }

private:
    using Key = std::pair<dev_t, ino_t>;
    struct Entry {
        bool settled = false;
        FileVerdict verdict;
        off_t size = 0;
        timespec modified{};
        timespec changed{};
        std::vector<Name> waiting;
    };

    static Key KeyOf(const struct stat& file) noexcept { return {file.st_dev, file.st_ino}; }
    static bool Same(const timespec& a, const timespec& b) noexcept {
        return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
    }
    static bool IsAsScanned(const Entry& entry, const struct stat& file) noexcept {
        return entry.size == file.st_size && Same(entry.modified, file.st_mtim) && Same(entry.changed, file.st_ctim);
    }

    std::map<Key, Entry> m_files;
};

} // namespace tfs::service::scan
