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
            Inks.dark = false;
            Inks.highContrast = false;
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

        function contrast(a, b) {
            const luminance = colour => {
                const linear = channel => channel <= 0.04045 ? channel / 12.92 : Math.pow((channel + 0.055) / 1.055, 2.4);
                return 0.2126 * linear(colour.r) + 0.7152 * linear(colour.g) + 0.0722 * linear(colour.b) + 0.05;
            };
            const [x, y] = [luminance(a), luminance(b)];
            return Math.max(x, y) / Math.min(x, y);
        }

        function test_linesStandOutInHighContrast_data() {
            return [{tag: "light", dark: false}, {tag: "dark", dark: true}];
        }

        function test_linesStandOutInHighContrast(row) {
            Inks.dark = row.dark;
            play("welcome");
            const track = () => contrast(Qt.tint(Inks.ground, one(view, "arc").trackColour), Inks.ground);
            const card = () => contrast(Qt.tint(Inks.ground, Inks.fills.faint("cyan", Theme.bannerStrokeOpacity)), Inks.ground);
            verify(track() < 3);
            Inks.highContrast = true;
            compare(Inks.dark, row.dark);
            verify(track() >= 3);
            verify(card() >= 3);
            for (const opacity of [Theme.dividerOpacity, Theme.borderOpacity, Theme.rowTrackOpacity, Theme.scrollBarOpacity]) {
                verify(contrast(Qt.tint(Inks.ground, Inks.texts.track(opacity)), Inks.ground) >= 3);
            }
            verify(contrast(Qt.tint(Inks.ground, Inks.texts.wash(Theme.highlightOpacity)), Inks.texts.of("primary")) >= 7);
        }

        function test_theFocusRingIsThickerInHighContrast() {
            play("healthy");
            const ring = one(view, "awakeControl").background;
            const usual = ring.border.width;
            Inks.highContrast = true;
            verify(ring.border.width >= 2 * usual);
            verify(contrast(ring.border.color, Inks.ground) >= 3);
        }

        name: "Settings"
        when: windowShown
    }
}
