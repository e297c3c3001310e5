// SPDX-License-Identifier: GPL-2.0-or-later
#include <platform/common/private_folder.h>
#include <platform/instrumental_services/old_logs.h>
#include <platform/instrumental_services/rotating_log.h>

#include <algorithm>
#include <spdlog/formatter.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <stdexcept>
#include <sys/stat.h>

namespace platform::instrumental {
namespace {

constexpr std::uint32_t kMostFiles = 1000;
constexpr std::uint64_t kSmallestLimit = 1024; ///< a limit below one line would rotate at each
constexpr std::chrono::seconds kRetryInterval{1};

/// Lines come ready made.
class VerbatimFormatter final : public spdlog::formatter {
public:
    void format(const spdlog::details::log_msg& message, spdlog::memory_buf_t& out) override {
        out.append(message.payload.begin(), message.payload.end());
    }
    std::unique_ptr<spdlog::formatter> clone() const override { return std::make_unique<VerbatimFormatter>(); }
};

void Require(result_t result) {
    if (ULK_FAILED(result))
        throw std::runtime_error("the trace file is refused");
}

} // namespace

/// Keeps the library's headers out of ours.
struct RotatingLog::Sink {
    spdlog::sinks::rotating_file_sink_st file;
};

RotatingLog::RotatingLog() = default;
RotatingLog::~RotatingLog() = default;

result_t RotatingLog::Open(const std::string& folder, const std::string& stem, std::uint64_t sizeLimit,
                           std::uint32_t fileCount) {
    Close();
    m_folder = folder;
    m_path = JoinPath(folder, stem + "log");
    m_sizeLimit = static_cast<std::size_t>(std::max(sizeLimit, kSmallestLimit));
    m_rotatedFiles = std::clamp<std::uint32_t>(fileCount, 1, kMostFiles) - 1;
    // The stem is a name, not a path.
    if (folder.empty() || stem.find('/') != std::string::npos || m_path.find('\0') != std::string::npos)
        return ulk::eInvalidArgument;
    if (const result_t result = EnsurePrivateFolder(folder); ULK_FAILED(result))
        return result;
    if (const result_t result = CheckOwnFile(m_path); ULK_FAILED(result))
        return result;
    PruneOldLogs(folder, stem, m_rotatedFiles + 1);
    m_opened = true;
    return ulk::sOk;
}

void RotatingLog::Close() noexcept {
    m_opened = false;
    m_sink.reset();
}

void RotatingLog::MakeSink() {
    spdlog::file_event_handlers handlers;
    // Asked again at each rotation, since a run may last for weeks.
    handlers.before_open = [folder = m_folder](const std::string& path) {
        Require(EnsurePrivateFolder(folder));
        Require(CheckOwnFile(path));
    };
    handlers.after_open = [](const std::string&, std::FILE* file) { ::fchmod(::fileno(file), 0600); };
    m_sink.reset(new Sink{{m_path, m_sizeLimit, m_rotatedFiles, false, handlers}});
    m_sink->file.set_formatter(std::make_unique<VerbatimFormatter>());
}

bool RotatingLog::EnsureSink() {
    if (m_sink)
        return true;
    if (!m_opened || std::chrono::steady_clock::now() < m_retryAt)
        return false;
    MakeSink();
    return true;
}

void RotatingLog::Abandon() noexcept {
    m_sink.reset();
    m_retryAt = std::chrono::steady_clock::now() + kRetryInterval;
}

void RotatingLog::Write(std::string_view line) noexcept {
    try {
        if (!EnsureSink())
            return;
        spdlog::details::log_msg message;
        message.payload = spdlog::string_view_t(line.data(), line.size());
        m_sink->file.log(message);
        m_sink->file.flush();
    } catch (...) {
        // After a failed rotation the sink has no file any more.
        Abandon();
    }
}

void RotatingLog::Flush() noexcept {
    try {
        if (m_sink)
            m_sink->file.flush();
    } catch (...) {
        Abandon();
    }
}

} // namespace platform::instrumental
