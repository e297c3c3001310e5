// SPDX-License-Identifier: GPL-2.0-or-later
// A worker's life: takes descriptors from the service, answers with verdicts, ends when its channel closes. Runs on
// the only thread of a forked process, inside the sandbox.
#pragma once

#include <contract/scanner_channel.h>
#include <scanner/engine.h>

#include <chrono>
#include <deque>

namespace tfs::scanner {

class Worker final : public IReadMonitor {
public:
    Worker(Engine& engine, int channel) noexcept : m_engine(engine), m_channel(channel) {}

    /// Returns when the service has closed the channel or sent what is no request.
    void Run();
    /// Tells the service about long reads and takes its cancellations.
    bool GoOn(std::uint64_t bytes) override;

private:
    struct Request {
        std::uint64_t id = 0;
        ScanLimits limits;
        Descriptor file;
    };

    bool Take(int flags);
    void Accept(Received& received);
    void Serve(Request request);
    void Answer(std::uint64_t id, const Verdict& verdict);

    Engine& m_engine;
    int m_channel;
    std::deque<Request> m_waiting;
    std::uint64_t m_current = 0;
    bool m_cancelled = false;
    bool m_closed = false;
    std::chrono::steady_clock::time_point m_lastLook;
};

} // namespace tfs::scanner
