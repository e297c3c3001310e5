// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/update/set_failure.h>
#include <service/update/set_fetcher.h>

#include <array>
#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <utility>

namespace tfs::service::update {
namespace {

constexpr char StageFolder[] = ".stage";
constexpr char DownloadFolder[] = ".download";
constexpr std::uint64_t MiB = std::uint64_t{1} << 20;
/// The official files, whole and unpacked beside each other, take about half of it.
constexpr std::uint64_t MirrorSpace = 1024 * MiB;
constexpr std::uint64_t FileSpace = 64 * MiB;
/// A file is staged, downloaded and tested.
constexpr std::uint64_t CopiesOfFile = 3;

/// Of the free bytes that an ordinary program may take; 0 where that can't be told.
std::uint64_t FreeBytes(const std::string& folder) {
    struct statvfs status {};
    return ::statvfs(folder.c_str(), &status) == 0 ? std::uint64_t{status.f_bavail} * status.f_frsize : 0;
}

std::string InMiB(std::uint64_t bytes) { return std::to_string((bytes + MiB - 1) / MiB) + " MiB"; }

Descriptor MakeInner(int folder, const char* name) {
    if (::mkdirat(folder, name, 0700) != 0)
        throw SystemFailure(std::string("the folder ") + name + " can't be made");
    Descriptor inner = OpenFolder(folder, name);
    if (!inner)
        throw SystemFailure(std::string("the folder ") + name + " can't be opened");
    return inner;
}

void GiveTo(const Descriptor& folder, const UpdaterAccount& account) {
    if (::geteuid() == 0 && ::fchown(folder.Get(), account.uid, account.gid) != 0)
        throw SystemFailure("the folder of the new set can't be given to the updater");
}

/// What the updater remembers between its runs lies in the set as a copy of ours.
void GiveMemoryTo(const Descriptor& set, const UpdaterAccount& account) {
    struct stat status {};
    std::string ignored;
    if (::geteuid() != 0)
        return;
    if (const Descriptor memory = OpenRegular(set.Get(), UpdaterMemory, status, ignored))
        if (::fchown(memory.Get(), account.uid, account.gid) != 0)
            throw SystemFailure(std::string(UpdaterMemory) + " can't be given to the updater");
}

/// The engine loads all of an official file's forms that it finds: the older one must go.
void RemoveOtherForms(int folder, const std::string& name) {
    constexpr std::array<std::string_view, 3> Forms{".cvd", ".cld", ".cud"};
    const std::size_t dot = name.rfind('.');
    const std::string_view suffix = std::string_view(name).substr(dot);
    for (const std::string_view form : Forms)
        if (suffix == form)
            for (const std::string_view other : Forms)
                if (other != form)
                    (void)::unlinkat(folder, (name.substr(0, dot) + std::string(other)).c_str(), 0);
}

void MoveInto(int set, const Descriptor& from, const std::string& name) {
    if (::renameat(from.Get(), name.c_str(), set, name.c_str()) != 0)
        throw SystemFailure(name + " can't be taken into the set");
    RemoveOtherForms(set, name);
}

Descriptor OpenSet(const std::string& folder) {
    Descriptor set = OpenFolder(AT_FDCWD, folder.c_str());
    if (!set)
        throw SystemFailure("the folder of the new set can't be opened");
    return set;
}

} // namespace

UpdateConfig::UpdateConfig() : freeSpace(FreeBytes) {}

SetFetcher::SetFetcher(const UpdateConfig& config) : m_config(config), m_process(config.programs) {}

void SetFetcher::Stop() noexcept {
    m_stopped = true;
    m_process.Stop();
}

FetchResult SetFetcher::Fetch(const UpdateSource& source, const std::string& folder, std::uint32_t timeout,
                              const FetchObserver& observer) {
    try {
        FreshclamJob job;
        job.source = source;
        job.timeout = timeout;
        auto account = FindUpdaterAccount();
        if (!account)
            throw SetFailure("there is no account that the updater could run as", ulk::eNotFound);
        job.account = std::move(*account);
        switch (source.kind) {
        case UpdateSource::Kind::Folder:
            return FetchFolder(std::move(job), folder, observer);
        case UpdateSource::Kind::File:
            return FetchFile(std::move(job), folder, observer);
        default:
            return FetchMirror(std::move(job), folder, observer);
        }
    } catch (const SetFailure& failure) {
        return {failure.Result() == ulk::eCancelled ? FetchEnd::Stopped : FetchEnd::Failed, failure.what()};
    } catch (const std::invalid_argument& e) {
        return {FetchEnd::Failed, e.what()};
    }
}

void SetFetcher::RequireSpace(const std::string& folder, std::uint64_t bytes) const {
    const std::uint64_t free = m_config.freeSpace(folder);
    if (free < bytes)
        throw SetFailure("there is not enough free space: " + InMiB(bytes) + " are needed, " +
                             std::to_string(free / MiB) + " MiB are free",
                         ulk::eInsufficientResources);
}

FetchResult SetFetcher::FetchFolder(FreshclamJob job, const std::string& folder, const FetchObserver& observer) {
    const SourceFolder source(job.source.location, m_config.limits);
    const Descriptor set = OpenSet(folder);
    const std::function<bool()> cancelled = [this] { return m_stopped.load(); };
    job.files = source.NewFor(set.Get(), cancelled);
    if (job.files.empty())
        return {FetchEnd::NothingToUpdate, {}};
    RequireSpace(folder, CopiesOfFile * static_cast<std::uint64_t>(source.BytesOf(job.files)));
    const Descriptor stage = MakeInner(set.Get(), StageFolder);
    source.CopyTo(stage.Get(), job.files, cancelled);
    // The set's own folder is closed to everybody, so nobody but the updater comes here.
    if (::fchmod(stage.Get(), 0755) != 0)
        throw SystemFailure("the folder of the new set can't be set up");
    const Descriptor download = MakeInner(set.Get(), DownloadFolder);
    GiveTo(download, job.account);
    job.sourceFolder = stage.Get();
    job.databaseFolder = download.Get();
    FetchResult result = m_process.Run(job, observer);
    if (result.end == FetchEnd::NothingToUpdate)
        return {FetchEnd::Failed, "the updater didn't take the files"};
    if (result.end != FetchEnd::Updated)
        return result;
    // They have passed the updater's test, and tell their true age, which its own copies don't.
    for (const std::string& file : job.files)
        MoveInto(set.Get(), stage, file);
    return result;
}

FetchResult SetFetcher::FetchFile(FreshclamJob job, const std::string& folder, const FetchObserver& observer) {
    RequireSpace(folder, FileSpace);
    const Descriptor set = OpenSet(folder);
    // In an empty folder: the updater would throw out the official files that it isn't to fetch.
    const Descriptor download = MakeInner(set.Get(), DownloadFolder);
    GiveTo(download, job.account);
    const std::string name = job.source.location.substr(job.source.location.rfind('/') + 1);
    job.files = {name};
    job.databaseFolder = download.Get();
    FetchResult result = m_process.Run(job, observer);
    if (result.end == FetchEnd::Updated)
        MoveInto(set.Get(), download, name);
    return result;
}

FetchResult SetFetcher::FetchMirror(FreshclamJob job, const std::string& folder, const FetchObserver& observer) {
    RequireSpace(folder, MirrorSpace);
    const Descriptor set = OpenSet(folder);
    GiveMemoryTo(set, job.account);
    GiveTo(set, job.account);
    job.databaseFolder = set.Get();
    return m_process.Run(job, observer);
}

} // namespace tfs::service::update
