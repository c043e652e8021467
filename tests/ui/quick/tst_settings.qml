import QtQuick
import QtTest
import Korvel

// What the user told the desktop about size, contrast, motion and direction, as the views follow it.
Item {
    id: root

    width: 700
    height: 1000

    PopoverFrame {
        id: outside
    }

    PopoverRoot {
        id: view

        content: theatre.bridge
        frame: outside
    }

    TestCase {
        function all(item, objectName, found = []) {
            if (item.objectName === objectName) {
                found.push(item);
            }
            for (let i = 0; i < item.children.length; ++i) {
                all(item.children[i], objectName, found);
            }
            return found;
        }

        function one(item, objectName) {
            const found = all(item, objectName);
            verify(found.length > 0, "there is no " + objectName);
            return found[0];
        }

        // Lets the pieces find their places, however busy the machine is.
        function settle() {
            grabImage(view);
            outside.layOut();
        }

        function play(scene) {
            theatre.play(scene);
            settle();
        }

        function init() {
            outside.maximumHeight = 5000;
            Theme.moves = true;
        }

        function cleanupTestCase() {
            init();
        }

        function test_aChangeIsSeenToHappen() {
            play("healthy");
            const arc = one(view, "arc");
            tryCompare(arc, "fraction", theatre.bridge.header.score / 100);
            theatre.setScore(20);
            verify(arc.fraction > 0.2);
            tryCompare(arc, "fraction", 0.2);
        }

        function test_whereNothingShallMoveTheScoreChangesAtOnce() {
            Theme.moves = false;
            play("healthy");
            theatre.setScore(20);
            compare(one(view, "arc").fraction, 0.2);
        }

        function test_whereNothingShallMoveTheGreetingGoesAtOnce() {
            play("welcome");
            const banner = one(view, "banner");
            tryCompare(banner, "opacity", 1);
            Theme.moves = false;
            theatre.bridge.dismissWhatsNew();
            theatre.render();
            compare(banner.opacity, 0);
            verify(!banner.visible);
        }

        function test_whereNothingShallMoveTheSpinnerStandsBesideItsWords() {
            Theme.moves = false;
            play("update_checking");
            const spinner = one(one(view, "update"), "spinner");
            verify(spinner.visible);
            verify(spinner.fraction > 0);
            compare(one(one(view, "update"), "words").text, "Checking for updates…");
            const before = spinner.rotation;
            wait(50);
            compare(spinner.rotation, before);
            Theme.moves = true;
            tryVerify(() => spinner.rotation !== before);
        }

        name: "Settings"
        when: windowShown
    }
}
