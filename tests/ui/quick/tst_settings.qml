import QtQuick
import QtTest
import Korvel

// What the user told the desktop about size, contrast, motion and direction, as the views follow it.
Item {
    id: root

    width: 1100
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
            Theme.setTextScale(1);
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

        function test_whereNothingShallMoveTheKeyboardStaysWhereItIs() {
            Theme.moves = false;
            play("healthy");
            const button = one(view, "awakeControl");
            button.forceActiveFocus(Qt.TabFocusReason);
            outside.layOut();
            verify(button.activeFocus);
            const scroll = one(view, "scroll");
            scroll.forceActiveFocus(Qt.TabFocusReason);
            const heard = scroll.Accessible.name;
            theatre.setScore(20);
            compare(scroll.Accessible.name, heard);
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
            const turning = () => theatre.animationsOf(spinner).filter(animation => animation.running).length;
            compare(turning(), 0);
            Theme.moves = true;
            compare(turning(), 1);
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

        function test_whatCallsForActionHasAnEdgeInHighContrast() {
            play("update_available");
            const plate = one(view, "updateControl").background;
            compare(plate.borderWidth, 0);
            Inks.highContrast = true;
            compare(plate.borderWidth, 1);
            verify(Qt.colorEqual(plate.borderColour, Inks.texts.of("primary")));
        }

        function test_theShadowIsSeenWhereTheDesktopSaysSo() {
            const shadow = Array.from(view.children).find(child => child instanceof Shadow);
            for (const shadowed of [true, false]) {
                outside.shadowed = shadowed;
                compare(shadow.visible, shadowed);
            }
        }

        function test_theChosenLineOfTheMenuHasABorderInHighContrast() {
            Theme.moves = false;
            play("healthy");
            Inks.highContrast = true;
            const control = one(view, "awakeControl");
            control.forceActiveFocus(Qt.TabFocusReason);
            keyClick(Qt.Key_Space);
            tryCompare(outside, "menuShown", true);
            const menu = Array.from(control.data).find(child => child.choices !== undefined);
            verify(menu.itemAt(0).highlighted);
            const border = index => menu.itemAt(index).background.borderWidth;
            verify(border(0) > 0);
            compare(border(1), 0);
            verify(Qt.colorEqual(menu.itemAt(0).background.borderColour, Inks.texts.of("primary")));
            Inks.highContrast = false;
            compare(border(0), 0);
            keyClick(Qt.Key_Escape);
            tryCompare(outside, "menuShown", false);
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

        function test_theWidthGrowsWithTheText_data() {
            return [{tag: "1", width: 340}, {tag: "1.25", width: 425}, {tag: "1.5", width: 510}, {tag: "2", width: 680}];
        }

        function test_theWidthGrowsWithTheText(row) {
            play("healthy");
            const lines = () => [one(view, "awakeControl").background.borderWidth, Theme.borderWidth, Theme.popoverRadius];
            const thin = lines();
            const size = Theme.rowDetail.pointSize;
            Theme.setTextScale(Number(row.tag));
            settle();
            compare(view.width, row.width);
            fuzzyCompare(Theme.rowDetail.pointSize, size * Number(row.tag), 0.01);
            compare(lines(), thin);
        }

        // Every text that is seen, in the width that it has.
        function texts() {
            return pieces(view).map(piece => piece.item).filter(item => item.text !== undefined && item.truncated !== undefined && item.text !== "");
        }

        function test_noTextIsCutThatIsNotCutAtTheUsualSize_data() {
            const rows = [];
            for (const scene of ["healthy", "strained", "breakdown_strained", "scan_done", "scan_running", "awake_on",
                                 "welcome", "reclaim_waiting", "reclaim_done", "update_available", "update_downloading"]) {
                for (const scale of [1.1, 1.25, 1.5, 2, 3]) {
                    rows.push({tag: scene + " " + scale, scene: scene, scale: scale});
                }
            }
            return rows;
        }

        function test_noTextIsCutThatIsNotCutAtTheUsualSize(row) {
            Theme.moves = false;
            play(row.scene);
            const cut = () => texts().filter(text => text.truncated || text.contentWidth > text.width + 0.5).map(nameOf);
            const usual = cut();
            Theme.setTextScale(row.scale);
            settle();
            compare(cut(), usual);
            // And none lies over another, nor beside the popover.
            const seen = texts().map(text => ({text: text, place: text.mapToItem(view, 0, 0)}));
            for (const one of seen) {
                verify(one.place.x >= 0 && one.place.x + one.text.width <= view.width + 0.01, nameOf(one.text));
                for (const other of seen) {
                    const over = one !== other &&
                        one.place.x < other.place.x + other.text.width - 0.5 && other.place.x < one.place.x + one.text.width - 0.5 &&
                        one.place.y < other.place.y + other.text.height - 0.5 && other.place.y < one.place.y + one.text.height - 0.5;
                    verify(!over, nameOf(one.text) + " over " + nameOf(other.text));
                }
            }
        }

        function test_numbersOfFixedWidthHaveRoom_data() {
            return [{tag: "1"}, {tag: "1.25"}, {tag: "1.5"}, {tag: "2"}, {tag: "3"}];
        }

        function test_numbersOfFixedWidthHaveRoom(row) {
            Theme.setTextScale(Number(row.tag));
            play("breakdown_strained");
            const percents = all(view, "percent");
            compare(percents.length, 5);
            for (const percent of percents) {
                verify(percent.contentWidth <= percent.width, percent.text);
                verify(!percent.truncated);
            }
            for (const points of all(view, "points")) {
                verify(points.children[0].width <= points.width);
            }
        }

        function test_theHeightEndsWhereTheScreenDoes() {
            outside.maximumHeight = 700;
            play("breakdown_strained");
            Theme.setTextScale(2);
            settle();
            compare(view.height, 700);
            verify(one(view, "scroll").interactive);
        }

        name: "Settings"
        when: windowShown
    }
}
