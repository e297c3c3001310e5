// SPDX-License-Identifier: GPL-2.0-or-later
// The sum of what is wrong with the device, as the main page takes it.
#pragma once

#include <tfs_common/overview/danger.h>

#include <QtCore/QString>
#include <cstdint>

namespace tfs::gui {

/// Levels as numbers, so that QML compares them with AppInfoModel's enumeration of the same values.
using Danger = overview::Danger;

/// Level and number of issues of each level, traced as they come. Filled anew by each refresh on the GUI thread.
class CurrentDangerInfo {
public:
    /// Level OK, and no issue of any level.
    void Reset() noexcept { m_sum.Reset(); }
    /// Raises the level where the argument is higher, never lowers it, and counts one issue of the argument's level.
    void Add(Danger level);

    Danger Level() const noexcept { return m_sum.Level(); }
    std::uint32_t Count(Danger level) const noexcept { return m_sum.Count(level); }
    /// The verdict in words, with a second line that counts the issues of exactly the level in force, if any.
    QString Sentence() const { return QString::fromStdString(m_sum.Sentence()); }

private:
    overview::DangerSum m_sum;
};

} // namespace tfs::gui
