// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/boot_source.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>

namespace tfs::service::scan {
namespace {

using scanner::Descriptor;

/// What comes before the first file system of a disk: the boot record, the table of partitions of either kind, and the
/// rest of the first track, where loaders put what the record has no room for.
constexpr std::size_t DiskBytes = 64 * 512;
/// The longest boot record of a file system.
constexpr std::size_t PartitionBytes = 16 * 512;

/// Reads up to `size` bytes from the beginning into a file in memory. No descriptor and errno on failure.
Descriptor CopyBeginning(int device, std::size_t size) {
    std::array<char, DiskBytes> record;
    std::size_t done = 0;
    while (done < size) {
        const ssize_t got = ::pread(device, record.data() + done, size - done, static_cast<off_t>(done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0 && done == 0)
            return {};
        if (got <= 0)
            break;
        done += static_cast<std::size_t>(got);
    }
    Descriptor copy(::memfd_create("boot record", MFD_CLOEXEC));
    if (!copy || ::pwrite(copy.Get(), record.data(), done, 0) != static_cast<ssize_t>(done))
        return {};
    return copy;
}

} // namespace

bool BootSource::TakeDevice(const std::string& name, IWalkVisitor& visitor) const {
    std::uint64_t sectors = 0;
    std::ifstream(m_blockDevices + "/" + name + "/size") >> sectors;
    if (sectors == 0) // no medium
        return false;
    std::string file = name;
    std::replace(file.begin(), file.end(), '!', '/'); // what the kernel writes for it
    const std::string path = m_deviceFiles + "/" + file;
    const auto unreadable = [&](int error) {
        visitor.OnUnreadable(path, error, std::generic_category().message(error));
        return true;
    };
    const Descriptor device(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status {};
    if (!device || ::fstat(device.Get(), &status) != 0)
        return errno == ENOMEDIUM ? false : unreadable(errno);
    if (!S_ISBLK(status.st_mode) && !S_ISREG(status.st_mode)) {
        visitor.OnUnreadable(path, 0, "not a block device");
        return true;
    }
    const bool isPartition = ::access((m_blockDevices + "/" + name + "/partition").c_str(), F_OK) == 0;
    Descriptor record = CopyBeginning(device.Get(), isPartition ? PartitionBytes : DiskBytes);
    if (!record)
        return errno == ENOMEDIUM ? false : unreadable(errno);
    visitor.OnOpened(path, std::move(record), FileSystemKind::Unstamped);
    return true;
}

void BootSource::Walk(IWalkVisitor& visitor, const std::string&) const {
    std::vector<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator at(m_blockDevices, error), end; !error && at != end; at.increment(error))
        names.push_back(at->path().filename().string());
    std::sort(names.begin(), names.end());
    bool any = false;
    for (const std::string& name : names)
        if (visitor.GoOn())
            any = TakeDevice(name, visitor) || any;
    if (!any && visitor.GoOn())
        visitor.OnUnreadable(m_deviceFiles, error.value(), "there is no disk or partition to read");
}

} // namespace tfs::service::scan
