// SPDX-License-Identifier: GPL-2.0-or-later
// Which processes run one of a few known programs.
#pragma once

#include <foundation/sync.h>

#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

namespace tfs::service::realtime {

/// Any thread. Waits for nothing but the file systems of its programs, which are local ones: other programs' are passed
/// over.
class KnownPrograms {
public:
    /// Absolute paths; links are followed now.
    explicit KnownPrograms(const std::vector<std::string>& paths);

    /// A name alone is no proof, for a user may mount a file system of his own with that name in it: it has to be the
    /// very file.
    bool Runs(pid_t process) ULK_EXCLUDES(m_lock);

private:
    struct Identity {
        dev_t device = 0;
        ino_t inode = 0;
        friend bool operator==(const Identity&, const Identity&) = default;
    };
    static bool Look(const std::string& path, Identity& identity) noexcept;

    ulk::Mutex m_lock;
    std::map<std::string, Identity> m_programs ULK_GUARDED_BY(m_lock);
};

} // namespace tfs::service::realtime
