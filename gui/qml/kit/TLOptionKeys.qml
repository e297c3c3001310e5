// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Templates 2.15 as T

// What Return does to a check box or a radio button, and what an assistive program does to it: the same as Space.
Item {
    id: root

    property T.AbstractButton control: parent

    function press() {
        if (!control.enabled)
            return;
        // One of several that exclude each other isn't switched off by pressing it.
        if (!control.autoExclusive || !control.checked) {
            control.toggle();
            control.toggled();
        }
        control.clicked();
    }

    Keys.onPressed: {
        if (event.key !== Qt.Key_Return && event.key !== Qt.Key_Enter)
            return;
        event.accepted = true;
        if (!event.isAutoRepeat)
            press();
    }
}
