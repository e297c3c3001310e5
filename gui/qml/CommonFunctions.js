// SPDX-License-Identifier: GPL-2.0-or-later
// Functions and the one piece of state that all QML files of the program share.
.pragma library

var appWindow = null;

// The pages that can be opened. Whatever leads to another page stays disabled; a new page adds its name here.
var existingPages = ["MainWindow", "NoConnection", "ProtectionState", "ScanTasks", "UpdateTasks"];

function hasPage(name) {
    return existingPages.indexOf(name) >= 0;
}

function setAppWindow(win) {
    appWindow = win;
}

function getAppWindow() {
    return appWindow;
}

function getNeededLinesCount(value, maxLength) {
    return value.length > maxLength ? Math.ceil(value.length / maxLength) : 1;
}

function getStringValue(value) {
    return value === undefined ? "" : value;
}

// Whether windows are told where they stand and can say where they want to. A Wayland compositor keeps that to itself.
function knowsItsPlace() {
    return Qt.platform.pluginName.indexOf("wayland") !== 0;
}

// The value within the limits; the lower one where they cross.
function clamp(value, lowest, highest) {
    return Math.max(lowest, Math.min(value, highest));
}

// Address of an image of the program, or an empty string for an empty name.
function imageSource(name) {
    return name ? "qrc:/images/" + name + ".svg" : "";
}

// Calls func on obj, then visits every child; each child is called once by its own visit and once more by its parent's.
function iterateChildren(obj, func) {
    func(obj);
    const children = obj.children;
    if (!children)
        return;
    for (let i = 0; i < children.length; ++i) {
        const child = children[i];
        iterateChildren(child, func);
        func(child);
    }
}

// Whether the ring that marks the keyboard's place is to be seen on this item or in it. Null is no item.
function showsFocus(item) {
    let shown = false;
    if (item)
        iterateChildren(item, function (child) {
            shown = shown || (child.objectName === "focusRing" && child.visible);
        });
    return shown;
}

function updateRecursive(obj) {
    let last = null;
    iterateChildren(obj, function (item) {
        // What has no children comes twice in a row, and is to be painted once.
        if (item !== last)
            item.update();
        last = item;
    });
}

// A message as styled text in which nothing but the colour of a part is markup: names of other origin stay as they are.
function colouredText(value) {
    return value.replace(/&/g, "&amp;").replace(/</g, "&lt;")
        .replace(/&lt;font color='(#[0-9a-fA-F]{6})'>/g, "<font color='$1'>").replace(/&lt;\/font>/g, "</font>");
}

// What a styled text says, for where it is shown or read without its style.
function withoutMarkup(value) {
    return value.replace(/<[^>]*>/g, "").replace(/&lt;/g, "<").replace(/&gt;/g, ">").replace(/&quot;/g, "\"")
        .replace(/&amp;/g, "&");
}
