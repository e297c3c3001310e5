// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/sorted_names.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <unistd.h>

namespace tfs::service::scan {

const char* SortedNames::Peek() const noexcept { return m_at == m_offsets.size() ? nullptr : Text(m_offsets[m_at]); }

void SortedNames::Pop() {
    m_last = Text(m_offsets[m_at++]);
    m_lastIncluded = false;
}

void SortedNames::Drop() noexcept {
    m_more = m_more || m_at != m_offsets.size();
    m_text = {};
    m_offsets = {};
    m_at = 0;
}

void SortedNames::Clear() noexcept {
    Drop();
    m_more = false;
}

void SortedNames::Add(std::string_view name) {
    const int order = std::string_view(m_last).compare(name);
    if (order > 0 || (order == 0 && !m_lastIncluded))
        return;
    if (!m_bound.empty() && name >= m_bound)
        return;
    m_offsets.push_back(static_cast<std::uint32_t>(m_text.size()));
    m_text.append(name).push_back('\0');
    if (m_offsets.size() >= 2 * m_batch)
        KeepLeast();
}

void SortedNames::KeepLeast() {
    const auto less = [this](std::uint32_t a, std::uint32_t b) { return std::strcmp(Text(a), Text(b)) < 0; };
    const auto middle = m_offsets.begin() + static_cast<std::ptrdiff_t>(m_batch);
    std::nth_element(m_offsets.begin(), middle, m_offsets.end(), less);
    m_bound = Text(*middle);
    m_offsets.resize(m_batch);
    std::string kept;
    kept.reserve(m_text.capacity());
    for (std::uint32_t& offset : m_offsets) {
        const std::string_view name = Text(offset);
        offset = static_cast<std::uint32_t>(kept.size());
        kept.append(name).push_back('\0');
    }
    m_text = std::move(kept);
}

int SortedNames::Read(int folder, std::vector<char>& buffer) {
    m_text.clear();
    m_offsets.clear();
    m_at = 0;
    m_bound.clear();
    m_more = false;
    int error = ::lseek(folder, 0, SEEK_SET) < 0 ? errno : 0;
    while (error == 0) {
        const ssize_t size = ::getdents64(folder, buffer.data(), buffer.size());
        if (size < 0 && errno == EINTR)
            continue;
        if (size < 0)
            error = errno;
        if (size <= 0)
            break;
        for (ssize_t at = 0; at < size;) {
            const auto* entry = reinterpret_cast<const dirent64*>(buffer.data() + at);
            at += entry->d_reclen;
            const std::string_view name = entry->d_name;
            if (name != "." && name != "..")
                Add(name);
        }
    }
    std::sort(m_offsets.begin(), m_offsets.end(),
              [this](std::uint32_t a, std::uint32_t b) { return std::strcmp(Text(a), Text(b)) < 0; });
    m_more = !m_bound.empty();
    return error;
}

} // namespace tfs::service::scan
