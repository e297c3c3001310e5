// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/scanner_channel.h>
#include <service/scan/cache_keeper.h>
#include <service/settings/file_io.h>

#include <array>
#include <cstring>
#include <ctime>
#include <exception>
#include <fcntl.h>
#include <fstream>
#include <sys/statfs.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace tfs::service::scan {
namespace {

constexpr std::uint64_t Magic = 0x314e4c434c534554ull;

/// The file: this, and the slots behind it, in the order of this machine's bytes.
struct Header {
    std::uint64_t magic = Magic;
    std::uint64_t basesVersion = 0;
    HashKey key{};
    std::uint64_t slots = 0;
    std::int64_t savedAt = 0; ///< seconds since the Unix epoch
    std::uint64_t rootDevice = 0;
    std::uint64_t rootFileSystem = 0;
    std::array<char, 40> boot{}; ///< the kernel's name of this run of the machine
    std::uint64_t check = 0;     ///< hash of the slots and of all above
};
static_assert(sizeof(Header) % sizeof(std::uint64_t) == 0);

std::uint64_t RootFileSystem() {
    struct statfs status {};
    std::uint64_t id = 0;
    if (::statfs("/", &status) == 0)
        std::memcpy(&id, &status.f_fsid, sizeof id);
    return id;
}

Header NewHeader(dev_t rootDevice) {
    Header header;
    header.savedAt = std::time(nullptr);
    header.rootDevice = rootDevice;
    header.rootFileSystem = RootFileSystem();
    std::ifstream boot("/proc/sys/kernel/random/boot_id");
    boot.read(header.boot.data(), static_cast<std::streamsize>(header.boot.size()) - 1);
    return header;
}

std::uint64_t CheckOf(Header header, const std::vector<std::uint64_t>& slots) {
    header.check = KeyedHash(header.key, slots);
    std::array<std::uint64_t, sizeof(Header) / sizeof(std::uint64_t)> words{};
    std::memcpy(words.data(), &header, sizeof header);
    return KeyedHash(header.key, words);
}

} // namespace

std::string LoadCleanCache(const std::string& path, dev_t rootDevice, CleanCache& cache) {
    const scanner::Descriptor file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (!file || ::fstat(file.Get(), &status) != 0)
        return std::strerror(errno);
    if (!S_ISREG(status.st_mode) || status.st_uid != ::geteuid() || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        return "it isn't the service's own file";
    std::string content;
    constexpr std::size_t Most = sizeof(Header) + CleanCache::Capacity * sizeof(std::uint64_t);
    if (!ULK_SUCCEEDED(settings::ReadAll(file.Get(), Most, content)))
        return "it can't be read";
    Header header;
    if (content.size() < sizeof header)
        return "it is damaged";
    std::memcpy(&header, content.data(), sizeof header);
    CleanCache::Kept kept{header.basesVersion, header.key, {}};
    const std::size_t bytes = content.size() - sizeof header;
    if (header.magic != Magic || bytes % sizeof(std::uint64_t) != 0 || header.slots != bytes / sizeof(std::uint64_t))
        return "it is damaged";
    kept.slots.resize(header.slots);
    std::memcpy(kept.slots.data(), content.data() + sizeof header, bytes);
    const std::uint64_t check = std::exchange(header.check, 0);
    if (check != CheckOf(header, kept.slots))
        return "it is damaged";
    const Header here = NewHeader(rootDevice);
    if (header.rootDevice != here.rootDevice || header.rootFileSystem != here.rootFileSystem)
        return "it is of another file system";
    if (::major(rootDevice) == 0 && header.boot != here.boot)
        return "the machine was started anew";
    if (header.savedAt > here.savedAt)
        return "the clock went back";
    return cache.Restore(std::move(kept)) ? std::string() : "it is of another size";
}

bool SaveCleanCache(const std::string& path, dev_t rootDevice, const CleanCache& cache) {
    const CleanCache::Kept kept = cache.Keep();
    Header header = NewHeader(rootDevice);
    header.basesVersion = kept.basesVersion;
    header.key = kept.key;
    header.slots = kept.slots.size();
    header.check = CheckOf(header, kept.slots);
    std::string content(reinterpret_cast<const char*>(&header), sizeof header);
    content.append(reinterpret_cast<const char*>(kept.slots.data()), kept.slots.size() * sizeof kept.slots[0]);
    return ULK_SUCCEEDED(settings::WriteFileAtomically(path, content));
}

std::string CacheKeeper::Start() {
    ulk::LockGuard threadLock(m_threadLock);
    if (m_path.empty() || m_thread.joinable())
        return {};
    std::string problem = LoadCleanCache(m_path, m_rootDevice, m_cache);
    m_written = m_cache.Changes();
    {
        ulk::LockGuard lock(m_lock);
        m_stopping = false;
    }
    m_thread = std::thread([this] { Run(); });
    return problem;
}

void CacheKeeper::Stop() noexcept {
    ulk::LockGuard threadLock(m_threadLock);
    if (!m_thread.joinable())
        return;
    {
        ulk::LockGuard lock(m_lock);
        m_stopping = true;
    }
    m_wake.notify_all();
    m_thread.join();
}

void CacheKeeper::Run() noexcept {
    for (bool last = false; !last;) {
        {
            ulk::LockGuard lock(m_lock);
            const auto due = std::chrono::steady_clock::now() + Interval;
            while (!m_stopping && m_wake.wait_until(lock, due) != std::cv_status::timeout) {
            }
            last = m_stopping;
        }
        try {
            const std::uint64_t changes = m_cache.Changes();
            if (changes != m_written && SaveCleanCache(m_path, m_rootDevice, m_cache))
                m_written = changes;
        } catch (const std::exception&) { // memory is short; the next time will do
        }
    }
}

} // namespace tfs::service::scan
