// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/app_info/replaced_files.h>
#include <service/app_info/update_watch.h>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace tfs::service::app_info {
namespace {

constexpr char EngineName[] = "libclamav";

/// As the system names a mapped file, with no link in it.
std::string Canonical(const std::string& path) {
    std::error_code error;
    const auto canonical = std::filesystem::weakly_canonical(path, error);
    return error ? path : canonical.string();
}

std::string FileName(const std::string& path) { return path.substr(path.rfind('/') + 1); }

UpdateWatch::Options Canonical(UpdateWatch::Options options) {
    for (std::string& program : options.programs)
        program = Canonical(program);
    options.libraryFolder = Canonical(options.libraryFolder);
    if (!options.libraryFolder.empty() && options.libraryFolder.back() != '/')
        options.libraryFolder += '/';
    return options;
}

} // namespace

UpdateWatch::UpdateWatch(Options options) : m_options(Canonical(std::move(options))), m_packages(m_options.packages) {}

/// One that is gone altogether was removed, and a restart wouldn't bring another.
bool UpdateWatch::IsReplacedProgram(const std::string& path) const {
    return std::find(m_options.programs.begin(), m_options.programs.end(), path) != m_options.programs.end() &&
           ::access(path.c_str(), F_OK) == 0;
}

/// The name of the engine's library ends in its version, so that a newer one has another name.
bool UpdateWatch::IsModule(const std::string& path) const {
    return FileName(path).starts_with(EngineName) ||
           (!m_options.libraryFolder.empty() && path.starts_with(m_options.libraryFolder));
}

ApplicationUpdate UpdateWatch::Look(pid_t scanner, const std::function<bool()>& cancelled) {
    const std::optional<PackageState>& package = m_packages.Look(cancelled);
    const std::string installed = package ? package->installed : std::string();
    if (package && package->isBroken)
        return {ApplicationUpdateState::UpdateFailed, installed, {}};
    std::vector<std::string> gone = GoneFilesOf(::getpid());
    if (scanner > 0) {
        const std::vector<std::string> more = GoneFilesOf(scanner);
        gone.insert(gone.end(), more.begin(), more.end());
    }
    const auto has = [&](auto member) {
        return std::find_if(gone.begin(), gone.end(), [&](const std::string& path) { return (this->*member)(path); });
    };
    if (has(&UpdateWatch::IsReplacedProgram) != gone.end())
        return {ApplicationUpdateState::UpdateInstalled, installed, {}};
    if (const auto module = has(&UpdateWatch::IsModule); module != gone.end())
        return {ApplicationUpdateState::ModuleUpdateInstalled, installed, FileName(*module)};
    if (!package)
        return {};
    if (!package->available.empty())
        return {ApplicationUpdateState::UpdateDownloaded, package->available, {}};
    return {ApplicationUpdateState::NoUpdatesAvailable, {}, {}};
}

} // namespace tfs::service::app_info
