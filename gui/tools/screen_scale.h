// SPDX-License-Identifier: GPL-2.0-or-later
// How large everything is drawn on X11.
#pragma once

#include <QtCore/QSize>
#include <optional>
#include <string_view>

namespace tfs::tools {

/// The dots per inch that the desktop asks its programs for, out of the server's resources: lines of a name, a colon
/// and a value. Nothing where they name none, or none that a screen can have.
std::optional<double> WantedDpi(std::string_view resources);

/// The dots per inch to draw at, 96 being a scale of 1: in quarters of that scale, since between them lines and
/// pictures blur; never below 1; and no larger than lets `window`, in device-independent pixels, stand whole on
/// `screen`, in pixels. An empty screen limits nothing.
int SnappedDpi(double wanted, QSize screen, QSize window);

/// Has Qt draw in quarters what the desktop asks for, while the QGuiApplication is made: it is made within the life of
/// this. Leaves all to Qt where the desktop asks for nothing, where the display isn't X11's own, and where the user
/// scales by one of Qt's own variables. What it puts into the environment is gone with it, so that programs started
/// later don't inherit it. Before there are threads.
class ScreenScale {
public:
    explicit ScreenScale(QSize window);
    ~ScreenScale();
    ScreenScale(const ScreenScale&) = delete;
    ScreenScale& operator=(const ScreenScale&) = delete;

private:
    bool m_set = false;
};

} // namespace tfs::tools
