// SPDX-License-Identifier: GPL-2.0-or-later
// What the fuzz targets share. A target is one function, Run; entry.cpp makes a fuzzer of it.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace tfs::fuzz {

/// Takes any bytes. Ends with an exception only where the code under test breaks its word.
void Run(std::string_view input);

/// Ends the process where a promise isn't kept, so that the fuzzer reports the input.
inline void Require(bool kept) {
    if (!kept)
        std::abort();
}

/// Takes the first byte off; 0 where there is none.
std::uint8_t TakeByte(std::string_view& input) noexcept;

/// Parts between NUL characters, as arguments stand in memory; one part at least.
std::vector<std::string> SplitAtNul(std::string_view input);

/// An input as a file, for readers that take a path. Lives in memory.
class MemoryFile {
public:
    explicit MemoryFile(std::string_view content);
    ~MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    int Descriptor() const noexcept { return m_descriptor; }
    std::string Path() const { return "/proc/self/fd/" + std::to_string(m_descriptor); }

private:
    int m_descriptor;
};

} // namespace tfs::fuzz
