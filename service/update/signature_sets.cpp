// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/update/set_failure.h>
#include <service/update/signature_sets.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace tfs::service::update {
namespace {

constexpr char CurrentLink[] = "current";
constexpr char PreviousLink[] = "previous";
constexpr char FreshLink[] = ".link";
constexpr char GoingPrefix[] = ".going-";

std::optional<std::uint64_t> ParseNumber(std::string_view text) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number == 0 || text.front() == '0')
        return std::nullopt;
    return number;
}

} // namespace

SignatureSets::SignatureSets(std::string basesFolder, std::string seedFolder)
    : m_bases(std::move(basesFolder)), m_seeds(std::move(seedFolder)) {}

std::string SignatureSets::SetPath(Number number) const { return m_bases + SetsFolder + "/" + std::to_string(number); }

std::string SignatureSets::NewPath() const { return m_bases + SetsFolder + "/" + NewFolder; }

result_t SignatureSets::Open(std::string& problem) noexcept {
    m_current.reset();
    m_previous.reset();
    m_kept.reset();
    m_begun = false;
    return Guarded(problem, [&] { OpenAll(problem); });
}

void SignatureSets::OpenAll(std::string& problem) {
    m_basesFolder = OpenFolder(AT_FDCWD, (m_bases + ".").c_str());
    RequireSafe(m_basesFolder, m_bases);
    if (::mkdirat(m_basesFolder.Get(), SetsFolder, 0755) != 0 && errno != EEXIST)
        throw SystemFailure(m_bases + SetsFolder + " can't be made");
    m_setsFolder = OpenFolder(m_basesFolder.Get(), SetsFolder);
    RequireSafe(m_setsFolder, m_bases + SetsFolder);
    if (::fchmod(m_setsFolder.Get(), 0755) != 0)
        throw SystemFailure(m_bases + SetsFolder + " can't be set up");
    ChooseCurrent();
    std::string notes;
    if (!m_current)
        MakeFirst(notes);
    if (m_kept) {
        Point(CurrentLink, *m_kept);
        m_current = std::exchange(m_kept, std::nullopt);
    }
    RemoveUnnamed();
    SyncFolder(m_setsFolder, m_bases + SetsFolder);
    SyncFolder(m_basesFolder, m_bases);
    if (!notes.empty())
        problem = CleanLine("not taken as signatures: " + notes);
}

void SignatureSets::RequireSafe(const Descriptor& folder, const std::string& path) const {
    struct stat status {};
    if (!folder || ::fstat(folder.Get(), &status) != 0)
        throw SystemFailure(path + " can't be opened");
    if (const std::string distrust = DistrustOfFolder(status); !distrust.empty())
        throw SetFailure(path + " " + distrust, ulk::eAccessDenied);
}

void SignatureSets::ChooseCurrent() {
    m_current = Target(CurrentLink);
    m_previous = Target(PreviousLink);
    if (!m_current && m_previous) {
        Point(CurrentLink, *m_previous);
        m_current = m_previous;
    }
    if (m_previous && m_previous == m_current) {
        // Ended between the two steps of Adopt or RollBack. Only Adopt leaves an older set.
        m_previous.reset();
        for (const Number number : Numbers())
            if (number < *m_current && IsWhole(number))
                m_previous = number;
        if (m_previous)
            Point(PreviousLink, *m_previous);
    }
    if (!m_previous)
        Unpoint(PreviousLink);
}

std::string SignatureSets::CurrentFolder() const {
    return m_current ? SetPath(*m_current) : m_bases.substr(0, m_bases.find_last_not_of('/') + 1);
}

bool SignatureSets::IsRollbackAvailable() const noexcept { return m_previous.has_value(); }

std::string SignatureSets::PreviousFolder() const { return m_previous ? SetPath(*m_previous) : std::string(); }

result_t SignatureSets::Adopt(std::string& problem) noexcept {
    return Guarded(problem, [&] {
        if (!m_kept)
            throw SetFailure("no new set was kept", ulk::eInvalidState);
        // Until the second step both links name the old set; see ChooseCurrent.
        if (m_current)
            Point(PreviousLink, *m_current);
        try {
            Point(CurrentLink, *m_kept);
        } catch (const SetFailure&) {
            ChooseCurrent();
            throw;
        }
        m_previous = m_current;
        m_current = std::exchange(m_kept, std::nullopt);
        RemoveUnnamed();
    });
}

result_t SignatureSets::RollBack(std::string& problem) noexcept {
    return Guarded(problem, [&] {
        if (!m_previous)
            throw SetFailure("there is no set of signatures before this one", ulk::eNotFound);
        Discard();
        Point(CurrentLink, *m_previous);
        m_current = std::exchange(m_previous, std::nullopt);
        Unpoint(PreviousLink);
        RemoveUnnamed();
    });
}

void SignatureSets::Point(const char* link, Number number) {
    const std::string target = std::string(SetsFolder) + "/" + std::to_string(number);
    if (::unlinkat(m_basesFolder.Get(), FreshLink, 0) != 0 && errno != ENOENT)
        throw SystemFailure(m_bases + FreshLink + " can't be removed");
    if (::symlinkat(target.c_str(), m_basesFolder.Get(), FreshLink) != 0 ||
        ::renameat(m_basesFolder.Get(), FreshLink, m_basesFolder.Get(), link) != 0)
        throw SystemFailure(m_bases + link + " can't be made");
    // What isn't durable yet is in force all the same: a failure told here would be taken for the old state.
    (void)::fsync(m_basesFolder.Get());
}

void SignatureSets::Unpoint(const char* link) {
    if (::unlinkat(m_basesFolder.Get(), link, 0) == 0)
        (void)::fsync(m_basesFolder.Get());
    else if (errno != ENOENT)
        throw SystemFailure(m_bases + link + " can't be removed");
}

/// The set that a link names; empty where it names no whole one.
std::optional<SignatureSets::Number> SignatureSets::Target(const char* link) const {
    char text[64];
    const ssize_t size = ::readlinkat(m_basesFolder.Get(), link, text, sizeof text);
    std::string_view target(text, size > 0 ? static_cast<std::size_t>(size) : 0);
    const std::string prefix = std::string(SetsFolder) + "/";
    if (!target.starts_with(prefix))
        return std::nullopt;
    target.remove_prefix(prefix.size());
    const auto number = target.empty() ? std::nullopt : ParseNumber(target);
    return number && IsWhole(*number) ? number : std::nullopt;
}

/// Sets appear by rename and go by rename, so one that is there is whole unless somebody tampered with it.
bool SignatureSets::IsWhole(Number number) const {
    const Descriptor folder = OpenFolder(m_setsFolder.Get(), std::to_string(number).c_str());
    struct stat status {};
    if (!folder || ::fstat(folder.Get(), &status) != 0 || !DistrustOfFolder(status).empty())
        return false;
    std::vector<std::string> names;
    return ListFolder(folder.Get(), MostEntriesOfSet, names) == 0 &&
           std::any_of(names.begin(), names.end(), IsSignatureFile);
}

std::vector<SignatureSets::Number> SignatureSets::Numbers() const {
    std::vector<Number> numbers;
    for (const std::string& name : NamesIn(m_setsFolder.Get(), m_bases + SetsFolder))
        if (const auto number = ParseNumber(name))
            numbers.push_back(*number);
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

/// What can't be removed now is removed when the sets are opened the next time.
void SignatureSets::RemoveUnnamed() noexcept {
    try {
        for (const std::string& name : NamesIn(m_setsFolder.Get(), m_bases + SetsFolder)) {
            const auto number = ParseNumber(name);
            if (!number)
                RemoveAll(m_bases + SetsFolder + "/" + name);
            else if (number != m_current && number != m_previous && number != m_kept)
                RemoveSet(*number);
        }
    } catch (const std::exception&) {
    }
}

/// Gone under its name at once, so that no part of it is ever taken for a set.
void SignatureSets::RemoveSet(Number number) {
    const std::string name = std::to_string(number);
    const std::string going = GoingPrefix + name;
    RemoveAll(m_bases + SetsFolder + "/" + going);
    if (::renameat(m_setsFolder.Get(), name.c_str(), m_setsFolder.Get(), going.c_str()) == 0) {
        (void)::fsync(m_setsFolder.Get());
        RemoveAll(m_bases + SetsFolder + "/" + going);
    }
}

} // namespace tfs::service::update
