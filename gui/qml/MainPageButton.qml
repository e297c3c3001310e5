// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15

import "CommonProperties.js" as CommonProperties
import "kit"

// A button of the main page, with its picture in the tone of its state.
TLButton {
    property string imageName: ""

    width: CommonProperties.mainButtonWidth
    image: imageName + "-normal"
    imageHover: imageName + "-hover"
    imagePressed: imageName + "-pressed"
    imageDisabled: imageName + "-disabled"
}
