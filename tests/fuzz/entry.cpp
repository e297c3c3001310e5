// SPDX-License-Identifier: GPL-2.0-or-later
// The fuzzer's entry, and what input.h promises.
#include <tests/fuzz/input.h>

#include <sys/mman.h>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tfs::fuzz::Run(size == 0 ? std::string_view() : std::string_view(reinterpret_cast<const char*>(data), size));
    return 0;
}

namespace tfs::fuzz {

std::uint8_t TakeByte(std::string_view& input) noexcept {
    if (input.empty())
        return 0;
    const auto byte = static_cast<std::uint8_t>(input.front());
    input.remove_prefix(1);
    return byte;
}

std::vector<std::string> SplitAtNul(std::string_view input) {
    std::vector<std::string> parts;
    for (;;) {
        const std::size_t end = input.find('\0');
        parts.emplace_back(input.substr(0, end));
        if (end == std::string_view::npos)
            return parts;
        input.remove_prefix(end + 1);
    }
}

MemoryFile::MemoryFile(std::string_view content) : m_descriptor(::memfd_create("input", MFD_CLOEXEC)) {
    Require(m_descriptor >= 0);
    Require(::write(m_descriptor, content.data(), content.size()) == static_cast<ssize_t>(content.size()));
    Require(::lseek(m_descriptor, 0, SEEK_SET) == 0);
}

MemoryFile::~MemoryFile() { ::close(m_descriptor); }

} // namespace tfs::fuzz
