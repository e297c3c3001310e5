// SPDX-License-Identifier: GPL-2.0-or-later
// The start parameters that the older framework reads from the process it runs in.
#include <contract/marnow.h>
#include <foundation/module.h>
#include <foundation/result.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

template <std::size_t N>
bool Store(char (&field)[N], std::string_view text) {
    if (text.size() >= N)
        return false;
    std::memcpy(field, text.data(), text.size());
    field[text.size()] = '\0';
    return true;
}

} // namespace

ULK_MODULE_EXPORT result_t marnowGetStartParameters(marnow::StartParameters* parameters) {
    if (parameters == nullptr || parameters->size != sizeof(marnow::StartParameters))
        return ulk::eInvalidArgument;
    const char* folder = std::getenv(marnow::kPluginsPathVariable);
    if (folder == nullptr || *folder == '\0')
        return ulk::eNotFound;
    if (!Store(parameters->programName, program_invocation_short_name) || !Store(parameters->libraryFolder, folder))
        return ulk::eInvalidSize;
    return ulk::sOk;
}
