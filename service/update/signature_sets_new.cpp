// SPDX-License-Identifier: GPL-2.0-or-later
// How a new set comes to be.
#include <service/update/set_failure.h>
#include <service/update/signature_sets.h>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace tfs::service::update {
namespace {

constexpr std::int64_t MostMemory = 65536;

} // namespace

void SignatureSets::MakeFirst(std::string& notes) {
    RemoveAll(NewPath());
    if (::mkdirat(m_setsFolder.Get(), NewFolder, 0700) != 0)
        throw SystemFailure(NewPath() + " can't be made");
    m_begun = true;
    if (TakeFiles(m_bases, false, notes) == 0 && TakeFiles(m_seeds, true, notes) == 0) {
        m_begun = false;
        return;
    }
    MakeNumbered();
}

/// Copies the signature files of a folder into the new set; returns how many. A folder that isn't there holds none.
std::size_t SignatureSets::TakeFiles(const std::string& from, bool trusted, std::string& notes) {
    const Descriptor source(::open(from.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!source && errno == ENOENT)
        return 0;
    if (!source)
        throw SystemFailure(from + " can't be opened");
    const Descriptor target = OpenFolder(m_setsFolder.Get(), NewFolder);
    std::size_t taken = 0;
    for (const std::string& name : NamesIn(source.Get(), from)) {
        if (!HasSignatureSuffix(name) || name.front() == '.')
            continue;
        struct stat status {};
        std::string why;
        const Descriptor file = OpenRegular(source.Get(), name, status, why);
        if (!IsSignatureFile(name))
            why = "has a name that can't be used";
        else if (file && !trusted)
            why = DistrustOfFile(status);
        if (!why.empty()) {
            notes += (notes.empty() ? "" : "; ") + name + " " + why;
            continue;
        }
        if (const int error = CopyInto(file.Get(), status, target.Get(), name); error != 0)
            throw SystemFailure(name + " can't be copied", error);
        ++taken;
    }
    return taken;
}

result_t SignatureSets::BeginNew(std::string& folder, std::string& problem) noexcept {
    Discard();
    return Guarded(problem, [&] {
        if (!m_setsFolder)
            throw SetFailure("the sets of signatures aren't open", ulk::eInvalidState);
        if (::mkdirat(m_setsFolder.Get(), NewFolder, 0700) != 0)
            throw SystemFailure(NewPath() + " can't be made");
        m_begun = true;
        const Descriptor target = OpenFolder(m_setsFolder.Get(), NewFolder);
        if (!target)
            throw SystemFailure(NewPath() + " can't be opened");
        CopyCurrent(target.Get());
        folder = NewPath();
    });
}

void SignatureSets::CopyCurrent(int target) {
    struct stat status {};
    std::string why;
    if (const Descriptor memory = OpenRegular(m_basesFolder.Get(), UpdaterMemory, status, why))
        if (status.st_size <= MostMemory)
            (void)CopyInto(memory.Get(), status, target, UpdaterMemory);
    if (!m_current)
        return;
    const std::string path = SetPath(*m_current);
    const Descriptor source = OpenFolder(m_setsFolder.Get(), std::to_string(*m_current).c_str());
    if (!source)
        throw SystemFailure(path + " can't be opened");
    for (const std::string& name : NamesIn(source.Get(), path)) {
        const Descriptor file = OpenRegular(source.Get(), name, status, why);
        if (!file)
            throw SetFailure(path + "/" + name + " " + why, ulk::eInvalidType);
        // A link is safe where the updater runs as somebody else: it can replace the file, and not write to it.
        const bool isOurs = ::geteuid() == 0 && status.st_uid == 0 && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
        if (isOurs && ::linkat(source.Get(), name.c_str(), target, name.c_str(), 0) == 0)
            continue;
        if (const int error = CopyInto(file.Get(), status, target, name); error != 0)
            throw SystemFailure(path + "/" + name + " can't be copied", error);
    }
}

result_t SignatureSets::Keep(std::string& folder, std::string& problem) noexcept {
    return Guarded(problem, [&] {
        if (!m_begun)
            throw SetFailure("no new set was begun", ulk::eInvalidState);
        SaveMemory();
        const Descriptor fresh = OpenFolder(m_setsFolder.Get(), NewFolder);
        // From here on nobody but us changes anything in it.
        if (!fresh || ::fchown(fresh.Get(), ::geteuid(), ::getegid()) != 0 || ::fchmod(fresh.Get(), 0700) != 0)
            throw SystemFailure(NewPath() + " can't be taken over");
        CleanFolder(fresh.Get(), NewPath());
        MakeNumbered();
        folder = SetPath(*m_kept);
    });
}

void SignatureSets::CleanFolder(int folder, const std::string& path) {
    std::size_t files = 0;
    for (const std::string& name : NamesIn(folder, path)) {
        if (IsSignatureFile(name)) {
            TakeOver(folder, name);
            ++files;
        } else if (!RemoveAll(path + "/" + name)) {
            throw SetFailure(path + "/" + name + " can't be removed", ulk::eAccessDenied);
        }
    }
    if (files == 0)
        throw SetFailure("the new set holds no signatures", ulk::eNotFound);
}

/// Makes a file that the updater left ours, and durable.
void SignatureSets::TakeOver(int folder, const std::string& name) {
    struct stat status {};
    std::string why;
    const Descriptor file = OpenRegular(folder, name, status, why);
    if (!file)
        throw SetFailure(name + " " + why, ulk::eInvalidType);
    if (status.st_uid != ::geteuid()) {
        // A second name would be a file that the updater doesn't own in truth.
        if (status.st_nlink != 1)
            throw SetFailure(name + " has other names", ulk::eInvalidType);
        if (::fchown(file.Get(), ::geteuid(), ::getegid()) != 0)
            throw SystemFailure(name + " can't be taken over");
    }
    if ((status.st_mode & 07777) != 0644 && ::fchmod(file.Get(), 0644) != 0)
        throw SystemFailure(name + " can't be taken over");
    if (::fsync(file.Get()) != 0)
        throw SystemFailure(name + " can't be written");
}

/// The new folder, complete, becomes a numbered set by one rename.
void SignatureSets::MakeNumbered() {
    const std::vector<Number> numbers = Numbers();
    const Number number = numbers.empty() ? 1 : numbers.back() + 1;
    const Descriptor fresh = OpenFolder(m_setsFolder.Get(), NewFolder);
    if (!fresh || ::fchmod(fresh.Get(), 0755) != 0)
        throw SystemFailure(NewPath() + " can't be opened");
    SyncFolder(fresh, NewPath());
    const std::string name = std::to_string(number);
    if (::renameat(m_setsFolder.Get(), NewFolder, m_setsFolder.Get(), name.c_str()) != 0)
        throw SystemFailure(SetPath(number) + " can't be made");
    m_begun = false;
    m_kept = number;
    SyncFolder(m_setsFolder, m_bases + SetsFolder);
}

/// Keeps what the updater remembers; without it the next update works all the same.
void SignatureSets::SaveMemory() {
    const Descriptor fresh = OpenFolder(m_setsFolder.Get(), NewFolder);
    struct stat status {};
    std::string why;
    const Descriptor memory = fresh ? OpenRegular(fresh.Get(), UpdaterMemory, status, why) : Descriptor();
    if (!memory || status.st_size > MostMemory)
        return;
    const std::string temporary = std::string(".") + UpdaterMemory;
    (void)::unlinkat(m_basesFolder.Get(), temporary.c_str(), 0);
    if (CopyInto(memory.Get(), status, m_basesFolder.Get(), temporary) == 0)
        (void)::renameat(m_basesFolder.Get(), temporary.c_str(), m_basesFolder.Get(), UpdaterMemory);
}

void SignatureSets::Discard() noexcept {
    try {
        if (m_begun)
            SaveMemory();
        m_begun = false;
        RemoveAll(NewPath());
        if (m_kept)
            RemoveSet(*m_kept);
    } catch (const std::exception&) { // what stays is removed when the sets are opened
    }
    m_kept.reset();
}

} // namespace tfs::service::update
