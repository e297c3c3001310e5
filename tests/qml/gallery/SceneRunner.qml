// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15

// Plays scenes one after the other, waits until each has come to rest, and has its pictures taken. A scene has a
// `name`; what makes it, `play()`; and where it needs them what tells that it is there, `ready()`, what undoes it,
// `end()`, the windows to take a picture of, `windows()`, and the names of texts that may be cut in it, `cut`.
Timer {
    id: runner

    property var scenes: []
    // Whether every text must be read whole.
    property bool inspects: true
    property var atRest: () => true
    property var windows: () => []

    property int at: -1
    property int ticks: 0

    // A frame or two beyond the last change that can be seen from here.
    readonly property int settledTicks: 4
    readonly property int lastTick: 500

    function begin() {
        ticks = 0;
        if (++at === scenes.length) {
            stop();
            Qt.quit();
            return;
        }
        scenes[at].play();
    }

    function picture(scene) {
        const shown = scene.windows ? scene.windows() : windows();
        shown.forEach((window, i) => camera.shoot(window, scene.name + (i > 0 ? "-" + (i + 1) : "")));
        if (inspects)
            camera.inspect(scene.name, scene.cut || []);
        if (scene.end)
            scene.end();
    }

    interval: 20
    running: true
    repeat: true
    onTriggered: {
        if (at < 0) {
            begin();
            return;
        }
        const scene = scenes[at];
        const isThere = atRest() && (!scene.ready || scene.ready());
        if (!isThere && ++ticks < lastTick)
            return;
        if (!isThere)
            camera.complain(scene.name + ": never comes to rest");
        else if (ticks++ < settledTicks)
            return;
        picture(scene);
        begin();
    }
}
