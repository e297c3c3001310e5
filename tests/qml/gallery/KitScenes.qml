// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Window 2.15

import "qrc:/CommonProperties.js" as CommonProperties
import "qrc:/kit"
import "../Finder.js" as Finder

// The pictures of the kit: the tables of controls, and what is a window or a list of its own.
QtObject {
    id: scenes

    property KitGallery states: KitGallery {}
    property KitTexts scripts: KitTexts {}

    property Window opened: Window {
        visible: true
        width: 320
        height: 200
        color: CommonProperties.colorWindowBackground
        TLComboBox {
            id: combo
            x: CommonProperties.contentMargin
            y: CommonProperties.contentMargin
            model: ["Day", "Week", "За последние тридцать дней", "All time"]
            currentIndex: 1
            Component.onCompleted: popup.open()
        }
    }

    property TLConfirmationDialog yesFirst: TLConfirmationDialog {
        titleLabelText: "Restore the object?"
        descriptionLabelText: "The object was found to be infected. It goes back to the folder that it came from."
        noButtonText: "Cancel"
        yesButtonText: "Restore"
    }
    property TLConfirmationDialog noFirst: TLConfirmationDialog {
        width: 410
        height: 244
        titleLabelText: "Отказаться от участия в Tolvander Security Network?"
        descriptionLabelText: "Участие в Tolvander Security Network обеспечивает:\n"
                              + "— более быструю реакцию на различные угрозы\n"
                              + "— использование облачных антивирусных баз\n— минимальную нагрузку на компьютер"
        moreInfoLinkText: "подробнее…"
        moreInfoLinkLink: "about:blank"
        noButtonText: "Отмена"
        yesButtonText: "Да"
        yesButtonPreferable: false
    }
    property TLPopup popup: TLPopup {
        popupTitle: "Custom scan completed"
        popupMessage: "Custom scan completed. <font color='#d84342'>3 threats found.</font>"
        popupLinkText: "open reports"
        x: 0
    }

    property SceneRunner runner: SceneRunner {
        // Long texts stand in narrow controls, to see how they are cut.
        inspects: false
        scenes: [["kit", states], ["kit-texts", scripts], ["kit-list", opened], ["kit-dialog", yesFirst],
                 ["kit-dialog-ru", noFirst], ["kit-popup", popup]].map(pair => ({
            "name": pair[0],
            "windows": () => [pair[1]],
            "play": () => pair[1].show(),
            // The tooltip comes after the rest.
            "ready": () => pair[1] !== states || Finder.find(states.contentItem, "toolTip") !== null,
            "end": () => pair[1].hide()
        }))
    }
}
