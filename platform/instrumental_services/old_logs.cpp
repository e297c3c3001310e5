// SPDX-License-Identifier: GPL-2.0-or-later
#include <platform/instrumental_services/old_logs.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <filesystem>
#include <optional>
#include <string_view>
#include <sys/types.h>
#include <system_error>
#include <utility>
#include <vector>

namespace platform::instrumental {
namespace {

namespace fs = std::filesystem;

/// Takes a number and a dot off the beginning of the text.
std::optional<pid_t> TakeNumber(std::string_view& text) {
    pid_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || number < 0 || end == text.data() + text.size() || *end != '.')
        return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()) + 1);
    return number;
}

/// The program's name and the dot behind it; empty where the stem isn't made of a name and a pid.
std::string_view ProgramPart(std::string_view stem) {
    if (!stem.ends_with('.'))
        return {};
    const std::size_t dot = stem.substr(0, stem.size() - 1).rfind('.');
    if (dot == std::string_view::npos)
        return {};
    std::string_view number = stem.substr(dot + 1);
    return TakeNumber(number) && number.empty() ? stem.substr(0, dot + 1) : std::string_view();
}

/// The pid in the name of a trace file of the program: "<program>.<pid>.log", or with a number before the end.
std::optional<pid_t> PidOf(std::string_view name, std::string_view program) {
    if (!name.starts_with(program))
        return std::nullopt;
    name.remove_prefix(program.size());
    const auto pid = TakeNumber(name);
    if (!pid || *pid == 0)
        return std::nullopt;
    if (name != "log" && !(TakeNumber(name) && name == "log"))
        return std::nullopt;
    return pid;
}

bool IsAlive(pid_t pid) { return ::kill(pid, 0) == 0 || errno != ESRCH; }

void Prune(const std::string& folder, const std::string& stem, std::size_t keep) {
    const std::string_view program = ProgramPart(stem);
    if (program.empty())
        return;
    std::vector<std::pair<fs::file_time_type, fs::path>> files;
    std::error_code error;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        const std::string name = it->path().filename().string();
        const auto pid = name.starts_with(stem) ? std::nullopt : PidOf(name, program);
        std::error_code ignored;
        if (pid && it->symlink_status(ignored).type() == fs::file_type::regular && !IsAlive(*pid))
            files.emplace_back(it->last_write_time(ignored), it->path());
    }
    if (files.size() <= keep)
        return;
    std::sort(files.begin(), files.end());
    files.resize(files.size() - keep);
    for (const auto& [time, path] : files)
        fs::remove(path, error);
}

} // namespace

void PruneOldLogs(const std::string& folder, const std::string& stem, std::size_t keep) noexcept {
    try {
        Prune(folder, stem, keep);
    } catch (const std::exception&) {
    }
}

} // namespace platform::instrumental
