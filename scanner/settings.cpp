// SPDX-License-Identifier: GPL-2.0-or-later
#include <scanner/settings.h>

#include <charconv>
#include <stdexcept>
#include <string_view>

namespace tfs::scanner {
namespace {

template <class Number>
Number ParseNumber(std::string_view name, std::string_view text, Number least, Number most) {
    Number value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || value < least || value > most)
        throw std::invalid_argument("bad value of " + std::string(name));
    return value;
}

} // namespace

Settings ParseArguments(int argc, const char* const* argv) {
    constexpr std::uint64_t Gigabyte = std::uint64_t{1} << 30;
    Settings settings;
    for (int i = 1; i < argc; ++i) {
        const std::string_view name = argv[i];
        if (name == "--self-test") {
            settings.selfTest = true;
            continue;
        }
        if (i + 1 >= argc)
            throw std::invalid_argument("no value for " + std::string(name));
        const std::string_view value = argv[++i];
        if (name == "--bases")
            settings.basesFolder = value;
        else if (name == "--temporary")
            settings.temporaryFolder = value;
        else if (name == "--mount-point")
            settings.mountPoint = value;
        else if (name == "--memory")
            settings.memoryLimit = ParseNumber<std::uint64_t>(name, value, Gigabyte / 16, 256 * Gigabyte);
        else if (name == "--max-file")
            settings.maxFileSize = ParseNumber<std::uint64_t>(name, value, 1, 2 * Gigabyte - 4096);
        else if (name == "--max-scan")
            settings.maxScanSize = ParseNumber<std::uint64_t>(name, value, 1, 64 * Gigabyte);
        else if (name == "--temporary-size")
            settings.temporarySize = ParseNumber<std::uint64_t>(name, value, 4096, 64 * Gigabyte);
        else if (name == "--time-limit")
            settings.timeLimitMs = ParseNumber<std::uint32_t>(name, value, 1, 3600000);
        else if (name == "--max-recursion")
            settings.maxRecursion = ParseNumber<std::uint32_t>(name, value, 1, 100);
        else if (name == "--max-files")
            settings.maxFiles = ParseNumber<std::uint32_t>(name, value, 1, 100000000);
        else
            throw std::invalid_argument("unknown argument " + std::string(name));
    }
    return settings;
}

} // namespace tfs::scanner
