// SPDX-License-Identifier: GPL-2.0-or-later
// One issue of the device, as a row of the protection page.
#pragma once

#include <tfs_common/overview/issues.h>

#include <QtCore/QString>

namespace tfs::gui {

struct IssueInfo {
    QString issueTitle;
    QString issueDescription;
    int actionsType = 0;    ///< value of an overview::IssueAction: what the row's control does; also the row's key
    QString taskName;       ///< that the control acts on; empty when none
    bool available = false; ///< the control is enabled

    friend bool operator==(const IssueInfo&, const IssueInfo&) = default;
};

} // namespace tfs::gui
