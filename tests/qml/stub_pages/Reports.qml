// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15

// In place of a page that is led to: keeps what it is opened with.
Item {
    property int startupComponentId: -1
}
