// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/trace.h>
#include <gui/app_info/current_danger_info.h>
#include <gui/common/application.h>

#include <algorithm>

namespace tfs::gui {

void CurrentDangerInfo::Add(Danger level) {
    ULK_TRACE(application::GetTracer(), ulk::level::Detail)
        << "DangerLevel Add(" << static_cast<int>(level) << "), current = " << static_cast<int>(Level())
        << ", result = " << static_cast<int>(std::max(Level(), level));
    m_sum.Add(level);
}

} // namespace tfs::gui
