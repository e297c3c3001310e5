// SPDX-License-Identifier: GPL-2.0-or-later
// Follows the engine through the layers of a file and notices what it passes over in silence: members that it cuts at
// the size limit, that are encrypted, or that it can't unpack. Lives for one scan, on the worker's thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace tfs::scanner {

/// What an archive says of one of its members.
struct ArchiveMember {
    std::string_view container; ///< the engine's name of the archive's type
    std::string_view name;
    std::uint64_t packed = 0;   ///< bytes; 0 where the archive doesn't tell
    std::uint64_t unpacked = 0; ///< bytes
    bool encrypted = false;
    unsigned position = 0; ///< within the archive; told again for the same member; 0 for a zip's member without archive
};

/// Reasons why not all parts of a file were scanned.
struct ArchiveTroubles {
    bool cut = false;       ///< a member was scanned up to the size limit only
    bool encrypted = false; ///< a member is encrypted
    bool unread = false;    ///< an archive, or a member, could not be unpacked
};

class ArchiveWatch {
public:
    explicit ArchiveWatch(std::uint64_t maxFileSize) noexcept : m_maxFileSize(maxFileSize) {}

    /// The engine begins with the file (level 0) or with a part of it; `name` is the part's within its container.
    void BeginLayer(std::uint32_t level, std::string_view type, std::string_view name, std::uint64_t size);
    void Member(const ArchiveMember& member);
    void EndLayer();
    /// The scan is over: whatever is still open ends.
    void Finish();

    const ArchiveTroubles& Troubles() const noexcept { return m_troubles; }
    /// The parts on the way to the layer that is open now, with slashes between; empty for the file itself.
    std::string InnerName() const;

private:
    struct Layer {
        std::string name;
        std::uint64_t size = 0;
        unsigned traits = 0;  ///< of the type; see the source
        bool seen = false;    ///< false: the engine went through it without a word
        bool listed = false;  ///< a member was told of
        unsigned members = 0; ///< highest position that was told
        std::size_t opened = 0;
        std::unordered_set<unsigned> expected; ///< positions of members that have to be opened
    };

    void Judge(const Layer& layer) noexcept;
    void EndLooseMember() noexcept;

    const std::uint64_t m_maxFileSize;
    std::vector<Layer> m_layers;
    bool m_looseMember = false; ///< a zip's member was told of in the midst of a file and has to be opened next
    ArchiveTroubles m_troubles;
};

} // namespace tfs::scanner
