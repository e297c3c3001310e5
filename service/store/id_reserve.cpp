// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/settings/file_io.h>
#include <service/store/id_reserve.h>

#include <charconv>
#include <new>

namespace tfs::service::store {
namespace {

constexpr char Suffix[] = ".ids";

} // namespace

Event::IdType ReadReservedIds(const std::string& databasePath) noexcept {
    try {
        std::string text;
        if (!ULK_SUCCEEDED(settings::ReadWholeFile(databasePath + Suffix, 64, text)))
            return 0;
        Event::IdType id = 0;
        const char* const end = text.data() + text.size();
        const auto parsed = std::from_chars(text.data(), end, id);
        const bool whole = parsed.ec == std::errc() && parsed.ptr + 1 == end && *parsed.ptr == '\n';
        return whole && id > 0 && id < PlausibleId ? id : 0;
    } catch (const std::bad_alloc&) {
        return 0;
    }
}

result_t WriteReservedIds(const std::string& databasePath, Event::IdType id) noexcept {
    try {
        return settings::WriteFileAtomically(databasePath + Suffix, std::to_string(id) + "\n");
    } catch (const std::bad_alloc&) {
        return ulk::eOutOfMemory;
    }
}

} // namespace tfs::service::store
