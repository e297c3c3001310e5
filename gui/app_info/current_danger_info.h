// SPDX-License-Identifier: GPL-2.0-or-later
// The sum of what is wrong with the device.
#pragma once

#include <QtCore/QString>
#include <cstdint>
#include <map>

namespace tfs::gui {

/// Levels as numbers, so that QML compares them with AppInfoModel's enumeration of the same values.
enum class Danger : int { OK = 0, Warning = 1, Critical = 2 };

/// Level and number of issues of each level. Plain data, filled anew by each refresh on the GUI thread.
class CurrentDangerInfo {
public:
    CurrentDangerInfo() { Reset(); }
    /// Level OK, and no issue of any level.
    void Reset();
    /// Raises the level where the argument is higher, never lowers it, and counts one issue of the argument's level.
    void Add(Danger level);

    Danger Level() const noexcept { return m_level; }
    std::uint32_t Count(Danger level) const { return m_issueCounts.at(level); }
    /// The verdict in words, with a second line that counts the issues of exactly the level in force, if any.
    QString Sentence() const;

private:
    Danger m_level = Danger::OK;
    std::map<Danger, std::uint32_t> m_issueCounts;
};

} // namespace tfs::gui
