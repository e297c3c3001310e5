// SPDX-License-Identifier: GPL-2.0-or-later
// The names in a folder in the order of their bytes, in memory that doesn't follow the folder: a batch of the least
// names is kept, and the folder is read again for the next batch. So a folder of a million files costs some thirty
// readings of its names, a few percent of what the scan of its files takes, and a walk can go on behind any name.
// Used on one thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tfs::service::scan {

class SortedNames {
public:
    static constexpr std::size_t BatchNames = 32768;

    explicit SortedNames(std::size_t batch = BatchNames) noexcept : m_batch(batch) {}

    /// Begins with the first name that isn't less than this one.
    void BeginAt(std::string_view name) { m_last = name, m_lastIncluded = true; }
    /// The next name, or null where there is none in memory; see IsAtEnd.
    const char* Peek() const noexcept;
    /// Goes on to the next name; Peek wasn't null.
    void Pop();
    /// No name is in memory and the folder holds no more.
    bool IsAtEnd() const noexcept { return m_at == m_offsets.size() && !m_more; }
    /// Reads the next batch from the folder, `buffer` being for system calls. Returns 0 or an errno value; what was
    /// read before the error counts, and nothing more is to come.
    int Read(int folder, std::vector<char>& buffer);
    /// Gives the memory back; the names are read again when they are needed.
    void Drop() noexcept;
    /// Nothing more is to come.
    void Clear() noexcept;
    std::size_t Memory() const noexcept { return m_text.capacity() + m_offsets.capacity() * sizeof m_offsets[0]; }

private:
    void Add(std::string_view name);
    void KeepLeast();
    const char* Text(std::uint32_t offset) const noexcept { return m_text.data() + offset; }

    std::size_t m_batch;
    std::string m_text;                   ///< names with a zero byte behind each
    std::vector<std::uint32_t> m_offsets; ///< of names in m_text; sorted after Read
    std::size_t m_at = 0;
    std::string m_last;          ///< all names up to this one are done
    bool m_lastIncluded = false; ///< m_last itself isn't done
    bool m_more = true;
    std::string m_bound; ///< names that are not less are for a later batch; empty: none is
};

} // namespace tfs::service::scan
