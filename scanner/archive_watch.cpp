// SPDX-License-Identifier: GPL-2.0-or-later
#include <scanner/archive_watch.h>

#include <algorithm>

namespace tfs::scanner {
namespace {

// Traits of container types.
constexpr unsigned Cuts = 1;   ///< members over the size limit are cut there without a word
constexpr unsigned Lists = 2;  ///< tells of each member, and each that holds anything is opened as a layer
constexpr unsigned Zip = 4;    ///< of the zip family
constexpr unsigned Stream = 8; ///< one packed stream

struct TypeTraits {
    std::string_view prefix;
    unsigned traits;
};
constexpr TypeTraits Types[] = {
    {"CL_TYPE_ZIP", Cuts | Lists | Zip},
    {"CL_TYPE_OOXML", Cuts | Lists | Zip},
    {"CL_TYPE_MSCAB", Cuts | Lists},
    {"CL_TYPE_MSCHM", Cuts},
    {"CL_TYPE_7Z", Lists},
    {"CL_TYPE_RAR", Lists},
    {"CL_TYPE_ARJ", Lists},
    {"CL_TYPE_XZ", Stream},
    {"CL_TYPE_BZ", Stream},
};

/// Parts up to this size are never opened: the engine takes them for empty.
constexpr std::uint64_t EmptyPart = 5;
/// What packing makes of nothing, at most.
constexpr std::uint64_t PackedNothing = 32;
/// An archive up to this size may hold no member.
constexpr std::uint64_t EmptyArchive = 32;
/// A packed stream up to this size may hold an empty part.
constexpr std::uint64_t EmptyStream = 100;
/// What a zip needs for a member that holds nothing, generously.
constexpr std::uint64_t MemberOverhead = 1024;

unsigned TraitsOf(std::string_view type) noexcept {
    for (const TypeTraits& each : Types)
        if (type.starts_with(each.prefix))
            return each.traits;
    return 0;
}

bool HoldsSomething(const ArchiveMember& member, unsigned traits) noexcept {
    if ((traits & Zip) == 0)
        return member.unpacked > EmptyPart;
    return member.packed != 0 && (member.unpacked > EmptyPart || member.packed > PackedNothing);
}

/// The four bytes that begin a zip's member stand in many files that hold none: programs that know the format, say.
/// What follows them there makes no sense.
bool IsPlausible(const ArchiveMember& member, std::uint64_t fileSize) noexcept {
    constexpr std::uint64_t HighestRatio = 100000; // of any packer
    return member.packed <= fileSize && member.unpacked / HighestRatio <= member.packed && !member.name.empty() &&
           std::none_of(member.name.begin(), member.name.end(),
                        [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
}

} // namespace

void ArchiveWatch::BeginLayer(std::uint32_t level, std::string_view type, std::string_view name, std::uint64_t size) {
    m_looseMember = false;
    m_layers.resize(level); // levels that were left out become layers of which nothing is known
    if (level > 0) {
        Layer& parent = m_layers.back();
        ++parent.opened;
        // A part of just the limit's size counts as cut, because an archive may lie about the size. Where the layer
        // above is unknown it may well be a zip in the midst of another file.
        if (size >= m_maxFileSize && (!parent.seen || (parent.traits & Cuts) != 0))
            m_troubles.cut = true;
    }
    m_layers.push_back({std::string(name), size, TraitsOf(type), true, false, 0, 0, {}});
}

void ArchiveWatch::Member(const ArchiveMember& member) {
    EndLooseMember();
    const unsigned traits = TraitsOf(member.container);
    Layer* top = m_layers.empty() ? nullptr : &m_layers.back();
    const bool ofTop = top != nullptr && (traits & Lists) != 0 && traits == top->traits &&
                       ((traits & Zip) == 0 || member.position != 0);
    if (!ofTop && (traits & Zip) != 0 && top != nullptr && !IsPlausible(member, top->size))
        return;
    if ((traits & Cuts) != 0 && member.unpacked > m_maxFileSize)
        m_troubles.cut = true;
    if (member.encrypted)
        m_troubles.encrypted = true;
    if (top == nullptr)
        return;
    top->listed = true;
    top->members = std::max(top->members, member.position);
    if (!HoldsSomething(member, traits))
        return;
    if (ofTop)
        top->expected.insert(member.position);
    else if ((traits & Zip) != 0 && member.position == 0)
        m_looseMember = true;
}

void ArchiveWatch::EndLooseMember() noexcept {
    if (m_looseMember)
        m_troubles.unread = true;
    m_looseMember = false;
}

void ArchiveWatch::EndLayer() {
    EndLooseMember();
    while (!m_layers.empty() && !m_layers.back().seen)
        m_layers.pop_back();
    if (m_layers.empty())
        return;
    Judge(m_layers.back());
    m_layers.pop_back();
}

void ArchiveWatch::Finish() {
    while (!m_layers.empty())
        EndLayer();
    EndLooseMember();
}

void ArchiveWatch::Judge(const Layer& layer) noexcept {
    if ((layer.traits & Stream) != 0 && layer.opened == 0 && layer.size > EmptyStream)
        m_troubles.unread = true;
    if ((layer.traits & Lists) == 0)
        return;
    // Cut short, or of a kind that the engine can't unpack: no member is found at all, or some aren't opened.
    if (!layer.listed && layer.opened == 0 && layer.size > EmptyArchive)
        m_troubles.unread = true;
    if (layer.opened < layer.expected.size())
        m_troubles.unread = true;
    // A zip that was written as a stream tells its members' sizes at its end only; cut short, they all seem empty.
    if ((layer.traits & Zip) != 0 && layer.opened == 0 && layer.expected.empty() &&
        layer.size > MemberOverhead * (std::uint64_t{layer.members} + 1))
        m_troubles.unread = true;
}

std::string ArchiveWatch::InnerName() const {
    std::string name;
    for (std::size_t i = 1; i < m_layers.size(); ++i) {
        if (m_layers[i].name.empty())
            continue;
        if (!name.empty())
            name += '/';
        name += m_layers[i].name;
    }
    return name;
}

} // namespace tfs::scanner
