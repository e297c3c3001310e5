// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtTest 1.15

import "qrc:/CommonFunctions.js" as CommonFunctions

TestCase {
    name: "Functions"

    function test_neededLines_data() {
        return [{ tag: "empty", value: "", max: 5, lines: 1 }, { tag: "equal", value: "12345", max: 5, lines: 1 },
                { tag: "one more", value: "123456", max: 5, lines: 2 },
                { tag: "exact", value: "1234567890", max: 5, lines: 2 }];
    }

    function test_neededLines(data) {
        compare(CommonFunctions.getNeededLinesCount(data.value, data.max), data.lines);
    }

    function test_stringValue() {
        compare(CommonFunctions.getStringValue(undefined), "");
        compare(CommonFunctions.getStringValue("x"), "x");
    }

    function test_childrenAreVisitedTwice() {
        const tree = { name: "a", children: [{ name: "b", children: [{ name: "c" }] }, { name: "d", children: [] }] };
        const visited = [];
        CommonFunctions.iterateChildren(tree, item => visited.push(item.name));
        compare(visited.join(""), "abccbdd");
    }

    function test_onlyColourIsMarkup_data() {
        return [
            { tag: "colour", text: "<font color='#d84342'>3 threats</font>", html: "<font color='#d84342'>3 threats</font>" },
            { tag: "image", text: "a<img src='x'>", html: "a&lt;img src='x'>" },
            { tag: "other font", text: "<font size='9'>a", html: "&lt;font size='9'>a" },
            { tag: "ampersand", text: "a &lt; b", html: "a &amp;lt; b" }
        ];
    }

    function test_onlyColourIsMarkup(data) {
        compare(CommonFunctions.colouredText(data.text), data.html);
    }
}
