// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/result.h>

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace ulk {
namespace {

struct ResultRow {
    std::uint32_t code;
    std::string_view text;
};

// In ascending order: the look-up is a binary search.
constexpr ResultRow kTexts[] = {
    {0x00000000u, "No error"},
    {0x00000001u, "False"},
    {0x80000001u, "Interface not supported"},
    {0x80000040u, "Unexpected"},
    {0x80000041u, "Out of memory"},
    {0x80000042u, "Not supported"},
    {0x80000043u, "Not implemented"},
    {0x80000044u, "Buffer too small"},
    {0x80000045u, "Access denied"},
    {0x80000046u, "Invalid argument"},
    {0x8000004Au, "Not matched"},
    {0x8000004Bu, "Unspecified error"},
    {0x8000004Cu, "Not found"},
    {0x8000004Du, "Found"},
    {0x8000004Fu, "Locked"},
    {0x80000050u, "Not locked"},
    {0x80000051u, "Operation cancelled"},
    {0x80000057u, "Method not found"},
    {0x80000058u, "Stack is empty"},
    {0x80000059u, "Media error"},
    {0x8000005Au, "Invalid signature"},
    {0x8000005Bu, "Invalid version"},
    {0x8000005Cu, "Invalid size"},
    {0x8000005Du, "Invalid type"},
    {0x8000005Eu, "Invalid index"},
    {0x80000062u, "Out of space"},
    {0x80000063u, "Not ready"},
    {0x80000064u, "Less than"},
    {0x80000065u, "More than"},
    {0x80000066u, "Prohibited"},
    {0x80000067u, "Already done"},
    {0x80000068u, "Need reboot"},
    {0x80000069u, "Bases corrupted"},
    {0x8000006Au, "Invalid state"},
    {0x8000006Bu, "Not initialized"},
    {0x8000006Cu, "Insufficient resources"},
    {0x80000071u, "Invalid result"},
    {0x80000072u, "Unknown exception"},
    {0x80000076u, "Meta information not found"},
    {0x80000100u, "Class not found"},
    {0x80000101u, "Settings are required"},
    {0x80000102u, "Unexpected settings"},
    {0x80000103u, "Wrong settings type"},
    {0x80000180u, "Property not found"},
    {0x80000221u, "Operation timeout"},
    {0x80010100u, "Unspecified platform error"},
    {0x80010101u, "Invalid handle"},
    {0x80010102u, "File not found"},
    {0x80010103u, "Path not found"},
    {0x80010104u, "Sharing violation"},
    {0x80010105u, "Already exists"},
    {0x80010106u, "Wait abandoned"},
    {0x80010107u, "Symbol not found"},
    {0x80010108u, "Sxs is incorrect"},
    {0x80010109u, "Invalid path name"},
    {0x80010110u, "Cannot open an anonymous level security token"},
    {0x80010111u, "Password is invalid"},
    {0x80010112u, "Module not found"},
    {0x80010113u, "System image bad signature"},
    {0x80010114u, "Cloud file request aborted"},
    {0x80010115u, "Memory mapping failed"},
};

constexpr bool IsAscending() {
    for (std::size_t i = 1; i < std::size(kTexts); ++i)
        if (kTexts[i - 1].code >= kTexts[i].code)
            return false;
    return true;
}
static_assert(IsAscending());

constexpr std::uint32_t kPlatformFacility = 1;
constexpr std::uint32_t kErrnoFacilityBits = 0x80060000u;
constexpr int kGreatestErrno = 65535;

constexpr std::uint32_t Facility(std::uint32_t code) noexcept { return (code >> 16) & 0x7FFFu; }

} // namespace

std::string_view ResultText(result_t result) noexcept {
    const auto code = static_cast<std::uint32_t>(result);
    const auto* row = std::lower_bound(std::begin(kTexts), std::end(kTexts), code,
                                       [](const ResultRow& a, std::uint32_t b) { return a.code < b; });
    if (row != std::end(kTexts) && row->code == code)
        return row->text;
    return Facility(code) == kPlatformFacility ? "Unknown platform result code" : "Unknown result code";
}

result_t ResultFromErrno(int error) noexcept {
    switch (error) {
    case 0:
        return sOk;
    case EPERM:
    case EACCES:
        return eAccessDenied;
    case ENOENT:
        return eFileNotFound;
    case EIO:
        return MakeResult(0x80000059u);
    case EBADF:
        return MakeResult(0x80010101u);
    case ENOMEM:
        return eOutOfMemory;
    case EEXIST:
        return eAlreadyExists;
    case ENOTDIR:
        return ePathNotFound;
    case EINVAL:
        return eInvalidArgument;
    case ENOSPC:
        return MakeResult(0x80000062u);
    case ENAMETOOLONG:
        return eInvalidSize;
    case ELOOP:
        return eInvalidState;
    case EOVERFLOW:
        return eBufferTooSmall;
    default:
        break;
    }
    if (error < 0 || error > kGreatestErrno)
        return ePlatform;
    return MakeResult(static_cast<std::uint32_t>(error) | kErrnoFacilityBits);
}

} // namespace ulk
