// SPDX-License-Identifier: GPL-2.0-or-later
// The sum of what is wrong with the device.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace tfs::overview {

enum class Danger : int { OK = 0, Warning = 1, Critical = 2 };

/// Level and number of issues of each level. Plain data.
class DangerSum {
public:
    /// Level OK, and no issue of any level.
    void Reset() noexcept { *this = DangerSum(); }
    /// Raises the level where the argument is higher, never lowers it, and counts one issue of the argument's level.
    void Add(Danger level) noexcept;

    Danger Level() const noexcept { return m_level; }
    std::uint32_t Count(Danger level) const noexcept { return m_counts[static_cast<std::size_t>(level)]; }
    /// The verdict in words, with a second line that counts the issues of exactly the level in force, if any.
    std::string Sentence() const;

private:
    Danger m_level = Danger::OK;
    std::array<std::uint32_t, 3> m_counts{};
};

} // namespace tfs::overview
