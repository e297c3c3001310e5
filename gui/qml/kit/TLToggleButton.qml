// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15

// A button for something that is on or off. A press asks for the other state by toggled(); `active` is left to who
// answers, so that it goes on showing what is true while the answer is waited for or denied. What is off is filled.
TLButton {
    id: root

    property string textActive: "Active"
    property string textInactive: "Inactive"
    property bool active: false

    signal toggled(bool state)

    function toggle() {
        if (enabled)
            toggled(!active);
    }

    text: active ? textActive : textInactive
    invertColors: !active
    onClicked: toggle()

    Accessible.checkable: true
    Accessible.checked: active
    Accessible.onToggleAction: toggle()
}
