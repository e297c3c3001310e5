// SPDX-License-Identifier: GPL-2.0-or-later
#include <scanner/worker.h>

#include <algorithm>
#include <malloc.h>

namespace tfs::scanner {
namespace {

/// How often a long read looks for a cancellation and tells how far it is.
constexpr std::chrono::milliseconds LookInterval{50};
constexpr int KeptMemory = 8 << 20;

} // namespace

void Worker::Run() {
    // Memory that one file needed is kept for the next one instead of being given back and asked for again.
    ::mallopt(M_MMAP_THRESHOLD, KeptMemory);
    ::mallopt(M_TRIM_THRESHOLD, KeptMemory);
    Send(m_channel, {.kind = MessageKind::Ready});
    for (;;) {
        if (m_waiting.empty() && !Take(MSG_DONTWAIT)) {
            if (m_closed)
                return;
            m_engine.Trim();
            if (!Take(0) && m_closed)
                return;
        }
        if (m_waiting.empty())
            continue;
        Request request = std::move(m_waiting.front());
        m_waiting.pop_front();
        Serve(std::move(request));
    }
}

bool Worker::Take(int flags) {
    Received received;
    switch (Receive(m_channel, received, flags)) {
    case ReceiveResult::Message:
        Accept(received);
        return true;
    case ReceiveResult::Nothing:
        return false;
    default:
        m_closed = true;
        return false;
    }
}

void Worker::Accept(Received& received) {
    const std::uint64_t id = received.message.id;
    if (received.message.kind == MessageKind::Scan && received.descriptors[0]) {
        const Message& message = received.message;
        const ScanLimits limits{(message.code & KeepArchivesShut) == 0, message.value,
                                static_cast<std::uint64_t>(std::max<std::int64_t>(message.time, 0))};
        m_waiting.push_back({id, limits, std::move(received.descriptors[0])});
    } else if (received.message.kind == MessageKind::Cancel) {
        if (id == m_current)
            m_cancelled = true;
        const auto waiting =
            std::find_if(m_waiting.begin(), m_waiting.end(), [&](auto& each) { return each.id == id; });
        if (waiting == m_waiting.end())
            return;
        m_waiting.erase(waiting);
        Answer(id, {VerdictCode::Cancelled, {}, {}, {}, 0});
    }
}

bool Worker::GoOn(std::uint64_t bytes) {
    const auto now = std::chrono::steady_clock::now();
    if (now - m_lastLook < LookInterval)
        return !m_cancelled;
    m_lastLook = now;
    while (!m_closed && Take(MSG_DONTWAIT)) {
    }
    if (bytes != 0)
        Send(m_channel, {.kind = MessageKind::Progress, .id = m_current, .value = bytes}, {}, MSG_DONTWAIT);
    return !m_cancelled && !m_closed;
}

void Worker::Serve(Request request) {
    m_current = request.id;
    m_cancelled = false;
    m_lastLook = std::chrono::steady_clock::now();
    const Verdict verdict = m_engine.Scan(request.file.Get(), *this, request.limits);
    m_current = 0;
    Answer(request.id, verdict);
}

void Worker::Answer(std::uint64_t id, const Verdict& verdict) {
    Send(m_channel, {.kind = MessageKind::Verdict,
                     .code = static_cast<std::uint32_t>(verdict.code),
                     .id = id,
                     .value = verdict.bytes,
                     .first = verdict.threat,
                     .second = verdict.inner,
                     .third = verdict.detail});
}

} // namespace tfs::scanner
