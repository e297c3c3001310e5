// SPDX-License-Identifier: GPL-2.0-or-later
// The parent: loaded and warmed up, it forks workers when the service asks for one and tells of those that end. Runs
// on the only thread of its process; ends when the service's socket closes.
#pragma once

#include <contract/scanner_channel.h>
#include <scanner/engine.h>
#include <scanner/private_root.h>
#include <scanner/sandbox.h>

#include <map>
#include <string>
#include <sys/types.h>

namespace tfs::scanner {

class Parent {
public:
    Parent(Engine& engine, PrivateRoot root, WorkerLimits limits, int control);
    /// Returns when the service is gone or asked for what doesn't exist.
    void Run();

private:
    struct Child {
        std::uint64_t id = 0;
        std::string folder;
    };

    void Fork(std::uint64_t id, bool low);
    [[noreturn]] void BeWorker(pid_t parent, const std::string& folder, int channel, bool low);
    void Reap();

    Engine& m_engine;
    PrivateRoot m_root;
    WorkerLimits m_limits;
    int m_control;
    Descriptor m_signals;
    std::map<pid_t, Child> m_children;
};

} // namespace tfs::scanner
