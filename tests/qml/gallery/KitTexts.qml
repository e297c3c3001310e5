// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Window 2.15

import "qrc:/CommonProperties.js" as CommonProperties
import "qrc:/kit"

// The controls that carry a text, in texts that are long or of other scripts, at the sizes at which pages use them.
Window {
    id: window

    readonly property var languages: [
        { name: "English, half as long again", button: "Show detailed report", card: "Scan of the whole computer",
          sentence: "I confirm that I have read the statement on taking part in the network and agree to it.",
          long: "Custom scan of /home/anna/Documents and of everything below", value: "Last thirty days" },
        { name: "Русский", button: "Подробный отчёт", card: "Проверка на вредоносные программы",
          sentence: "Я подтверждаю, что полностью прочитал, понимаю и принимаю условия участия в сети.",
          long: "Выборочная проверка папки /home/anna/Документы и всех вложенных", value: "За последние тридцать дней" },
        { name: "日本語", button: "詳細レポートを表示", card: "コンピューター全体のスキャン",
          sentence: "私は、ネットワークへの参加に関する声明をすべて読み、理解し、その条件に同意することを確認します。",
          long: "「/home/anna/書類」フォルダーとその下のすべてのカスタムスキャン", value: "過去三十日間" },
        { name: "简体中文", button: "显示详细报告", card: "扫描整台计算机",
          sentence: "我确认已完整阅读并理解有关参与网络的声明,并接受其中的全部条款和条件,同意参与。",
          long: "对文件夹“/home/anna/文档”及其下所有内容的自定义扫描", value: "最近三十天" }
    ]

    visible: true
    title: "Texts"
    color: CommonProperties.colorWindowBackground
    width: columns.width + 2 * columns.x
    height: columns.height + 2 * columns.y

    Row {
        id: columns
        x: CommonProperties.contentMargin
        y: CommonProperties.gridMargin
        spacing: CommonProperties.contentMargin

        Repeater {
            model: window.languages

            Column {
                readonly property var texts: modelData
                width: CommonProperties.TLInfoTabWidth
                spacing: 12

                TLLabel {
                    textValue: texts.name
                    color: CommonProperties.colorLightGray
                    font.pixelSize: CommonProperties.pixelSizeSmall
                }
                Row {
                    spacing: CommonProperties.unit
                    TLButton { text: texts.button; invertColors: true }
                    TLButton { text: texts.button; image: "button-reports-normal"; width: CommonProperties.mainButtonWidth }
                }
                TLToggleButton { textInactive: texts.button; width: CommonProperties.TaskActionsButtonWidth }
                TLButtonAsLink { text: texts.long; width: parent.width; elide: Text.ElideRight }
                TLCheckBox { text: texts.long; width: parent.width; checked: true }
                TLRadioButton { text: texts.sentence; width: parent.width; checked: true; autoExclusive: false }
                TLRadioButton { text: texts.sentence; width: parent.width; boldText: true; autoExclusive: false }
                TLComboBox {
                    model: [texts.value, texts.button]
                    borderWidth: CommonProperties.hairline
                    borderColor: CommonProperties.colorMainBorder
                    width: 128
                    height: 24
                }
                TLInfoTab {
                    title: texts.card
                    infoText: texts.sentence
                    errorText: texts.value
                    imageSource: "tab-scan"
                }
                TLInfoTab {
                    title: texts.card
                    infoText: texts.sentence
                    enabled: false
                    imageSource: "tab-update"
                }
                TLPageHeader { width: parent.width; title: texts.long }
            }
        }
    }
}
