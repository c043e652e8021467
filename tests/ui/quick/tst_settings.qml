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
            Theme.mirrored = false;
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
            const usual = ring.borderWidth;
            Inks.highContrast = true;
            verify(ring.borderWidth >= 1.5 * usual);
            verify(contrast(ring.borderColour, Inks.ground) >= 3);
        }

        // Every piece that is seen, with what it takes of the width; not the two sides of the panel's border.
        function pieces(item, found = []) {
            for (let i = 0; i < item.children.length; ++i) {
                const child = item.children[i];
                if (child.visible && child.width > 0 && child.objectName !== "side") {
                    found.push({item: child, left: child.mapToItem(view, 0, 0).x, width: child.width});
                    pieces(child, found);
                }
            }
            return found;
        }

        function nameOf(item) {
            return (item.objectName || item.toString()) + (item.text ? " \"" + item.text + "\"" : "");
        }

        function test_everyPieceIsMirrored_data() {
            return [
                {tag: "healthy"}, {tag: "strained"}, {tag: "breakdown_strained"}, {tag: "scan_running"},
                {tag: "scan_done"}, {tag: "awake_on"}, {tag: "welcome"}, {tag: "reclaim_waiting"},
                {tag: "reclaim_done"}, {tag: "update_available"}, {tag: "update_downloading"},
                {tag: "update_checking"}, {tag: "update_failed"}, {tag: "short_screen", height: 420}
            ];
        }

        function test_everyPieceIsMirrored(row) {
            outside.maximumHeight = row.height ?? 5000;
            Theme.moves = false;
            play(row.tag);
            const usual = pieces(view);
            verify(usual.length > 100);
            Theme.mirrored = true;
            settle();
            const mirrored = pieces(view);
            compare(mirrored.length, usual.length);
            for (let i = 0; i < usual.length; ++i) {
                const name = nameOf(usual[i].item);
                compare(mirrored[i].item, usual[i].item, name);
                fuzzyCompare(mirrored[i].width, usual[i].width, 0.01, name);
                // The middle of what is left may be between two pixels.
                fuzzyCompare(mirrored[i].left, view.width - usual[i].left - usual[i].width, 1, name);
            }
        }

        function test_linesBeginAtTheRightWhereTheyAreMirrored() {
            play("breakdown");
            const name = one(view, "verdict");
            const percent = one(view, "percent");
            const detail = one(one(view, "rows"), "detail");
            compare([name.effectiveHorizontalAlignment, percent.effectiveHorizontalAlignment], [Text.AlignLeft, Text.AlignRight]);
            compare([detail.leftPadding, detail.rightPadding], [60, 0]);
            Theme.mirrored = true;
            compare([name.effectiveHorizontalAlignment, percent.effectiveHorizontalAlignment], [Text.AlignRight, Text.AlignLeft]);
            compare([detail.leftPadding, detail.rightPadding], [0, 60]);
        }

        function test_barsAndChevronsAreDrawnTheOtherWay() {
            play("breakdown");
            const mirrored = () => [one(view, "toggle").contentItem.children[0], one(view, "findSwapHolders").contentItem.children[0]]
                .concat(all(view, "bar"), all(view, "progress")).map(drawing => drawing.mirrored);
            compare(mirrored().filter(Boolean), []);
            Theme.mirrored = true;
            verify(mirrored().length > 10);
            // Open, the chevron points down.
            compare(mirrored().indexOf(false), 0);
            compare(mirrored().lastIndexOf(false), 0);
            play("healthy");
            compare(mirrored().indexOf(false), -1);
        }

        function test_theMenuOpensAtTheSideOfItsButton() {
            Theme.moves = false;
            for (const mirrored of [false, true]) {
                Theme.mirrored = mirrored;
                play("healthy");
                const control = one(view, "awakeControl");
                mouseClick(control);
                tryCompare(outside, "menuShown", true);
                const menu = Array.from(control.data).find(child => child.choices !== undefined);
                compare(menu.x, mirrored ? 0 : control.width - menu.width);
                const label = menu.itemAt(0).contentItem;
                compare(label.effectiveHorizontalAlignment, mirrored ? Text.AlignRight : Text.AlignLeft);
                keyClick(Qt.Key_Escape);
                tryCompare(outside, "menuShown", false);
            }
        }

        name: "Settings"
        when: windowShown
    }
}
