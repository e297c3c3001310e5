// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtTest 1.15

import "qrc:/CommonProperties.js" as CommonProperties
import "qrc:/kit"
import "../Finder.js" as Finder

// Run apart from the other tests, for a desktop that asks for no motion.
Item {
    width: 100
    height: 100

    TLExpander { id: expander }
    TLPageSlide { id: slide }

    TestCase {
        name: "ReducedMotion"
        when: windowShown

        function test_noMovementTakesTime() {
            for (const name in CommonProperties)
                if (/Speed$/.test(name))
                    verify(CommonProperties[name] <= 1, name);
            compare(slide.duration, CommonProperties.pageTransitionSpeed);
            verify(slide.duration <= 1);
        }

        function test_movementStillEnds() {
            expander.expanded = true;
            tryCompare(Finder.find(expander, "icon"), "rotation", 180);
        }
    }
}
