// SPDX-License-Identifier: GPL-2.0-or-later
// The guard that lets a user have one running instance: a pid file held under an advisory lock. Owned by main, used on
// the first thread alone; lives for the whole run.
#pragma once

#include <string>

namespace tfs {

class PidFile {
public:
    /// Opens or creates the file and tries to lock it. With `tryOnly` a file that another process holds is a normal
    /// outcome, told by owner(); without it throws. All failures throw ulk::CheckResultFailedException. A symbolic
    /// link, a file that isn't this user's and a file with a second name are refused like one that doesn't open.
    PidFile(const std::string& path, bool tryOnly);
    /// The owner removes the file before it gives the lock back.
    ~PidFile();
    PidFile(const PidFile&) = delete;
    PidFile& operator=(const PidFile&) = delete;

    /// True when this object holds the lock.
    bool owner() const noexcept { return m_owner; }
    /// The pid in the file. Throws CheckResultFailedException when the file can't be opened again, and as std::stoi
    /// does when its first line isn't a number or is too large. errno stays as it was.
    int ReadPid() const;

private:
    void Open();
    bool TryLock(bool tryOnly);
    void WritePid();

    int m_fd = -1;
    std::string m_path;
    bool m_owner = false;
};

} // namespace tfs
