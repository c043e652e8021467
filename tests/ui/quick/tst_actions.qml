import QtQuick
import QtTest
import Korvel

// What takes a click, what shows that something goes on, and the edges that content scrolls under.
Item {
    id: root

    width: 400
    height: 1100

    PopoverPanel {
        id: view

        content: theatre.bridge
    }

    TestCase {
        function all(item, test, found = []) {
            for (let i = 0; i < item.children.length; ++i) {
                const child = item.children[i];
                if (child.visible) {
                    if (test(child)) {
                        found.push(child);
                    }
                    all(child, test, found);
                }
            }
            return found;
        }

        function one(objectName) {
            const found = all(view, item => item.objectName === objectName);
            verify(found.length > 0, "there is no " + objectName);
            return found[0];
        }

        function boxOf(item) {
            return item.mapToItem(view, Qt.rect(0, 0, item.width, item.height));
        }

        function play(scene) {
            view.maximumHeight = 3000;
            theatre.play(scene);
            settle();
        }

        function settle() {
            grabImage(view);
            view.layOut();
        }

        function cleanup() {
            view.maximumHeight = 3000;
            view.rounded = false;
        }

        function test_everyTargetIsAtLeast24High_data() {
            return ["welcome", "scan_done", "scan_running", "reclaim_waiting", "reclaim_nothing", "update_available",
                "update_ready", "awake_on", "breakdown"].map(scene => ({tag: scene}));
        }

        function test_everyTargetIsAtLeast24High(row) {
            play(row.tag);
            if (row.tag === "welcome") { // which comes in slowly
                tryVerify(() => all(view, item => item.objectName === "dismissBanner").length === 1);
                compare(one("dismissBanner").width, one("dismissBanner").height);
            }
            const targets = all(view, item => item instanceof PlainButton);
            verify(targets.length >= 4, `only ${targets.length}`);
            for (const target of targets) {
                verify(target.height >= 24, `${target.objectName} is ${target.height} high`);
            }
            // Those of one line are apart; those of a list are rows under one another.
            for (const target of targets) {
                for (const other of targets.slice(targets.indexOf(target) + 1)) {
                    const a = boxOf(target), b = boxOf(other);
                    const across = Math.max(a.left, b.left) - Math.min(a.right, b.right);
                    const down = Math.max(a.top, b.top) - Math.min(a.bottom, b.bottom);
                    const rows = target.objectName === "quit" && other.objectName === "quit";
                    verify(Math.max(across, down) >= (rows ? 0 : 8),
                           `${target.objectName} and ${other.objectName}: ${across} across, ${down} down`);
                }
            }
        }

        function test_aClickBesideTheWordsCounts() {
            play("reclaim_waiting");
            const button = one("reclaim");
            mouseClick(button, 3, 2);
            verify(theatre.reclaiming());
        }

        function test_whatCallsForActionStandsInACapsule_data() {
            const call = TextButton.Look.Call, quiet = TextButton.Look.Quiet, plain = TextButton.Look.Plain;
            return [
                {tag: "Update", scene: "update_available", button: "updateControl", look: call},
                {tag: "Relaunch", scene: "update_ready", button: "updateControl", look: call},
                {tag: "Clear 12.4 GB", scene: "reclaim_waiting", button: "reclaim", look: call},
                {tag: "Off", scene: "awake_on", button: "awakeControl", look: quiet},
                {tag: "On", scene: "healthy", button: "awakeControl", look: quiet},
                {tag: "Reclaim", scene: "healthy", button: "reclaim", look: plain},
                {tag: "Quit Halden", scene: "healthy", button: "quitProgram", look: plain}
            ];
        }

        function test_whatCallsForActionStandsInACapsule(row) {
            play(row.scene);
            mouseMove(view, 5, 5);
            const button = one(row.button);
            compare(button.text, row.tag);
            compare(button.look, row.look);
            const plate = button.background;
            for (const dark of [false, true]) {
                Inks.dark = dark;
                const word = button.contentItem.children[2].color;
                if (row.look === TextButton.Look.Plain) {
                    verify(!plate.visible);
                    compare(word, Inks.texts.of("secondary"));
                    continue;
                }
                verify(plate.visible);
                compare(plate.height, 20);
                compare(plate.radius, 10);
                compare(word, Inks.texts.of("primary"));
                const ground = row.look === TextButton.Look.Call ? Inks.fills.of("cyan") : Inks.texts.of("primary");
                verify(Qt.colorEqual(Qt.alpha(plate.colour, 1), ground));
                fuzzyCompare(plate.colour.a, row.look === TextButton.Look.Call ? 0.22 : 0.08, 0.01);
                mouseMove(button);
                tryCompare(button, "hovered", true);
                fuzzyCompare(plate.colour.a, row.look === TextButton.Look.Call ? 0.32 : 0.14, 0.01);
                mousePress(button);
                fuzzyCompare(plate.colour.a, row.look === TextButton.Look.Call ? 0.42 : 0.2, 0.01);
                mouseMove(view, 5, 5); // off it: the release presses nothing
                mouseRelease(view, 5, 5);
                tryCompare(button, "hovered", false);
            }
            Inks.dark = false;
        }

        function spinnersIn(item) {
            return all(item, child => child instanceof Spinner);
        }

        function test_whatIsUnderWayTurnsWhereTheSymbolWas_data() {
            return [
                {tag: "checking…", rest: "fair", busy: "scan_running", button: "findSwapHolders"},
                {tag: "Scanning…", rest: "fair", busy: "reclaim_scanning", button: "reclaim"},
                {tag: "Clearing…", rest: "fair", busy: "reclaim_running", button: "reclaim"}
            ];
        }

        function test_whatIsUnderWayTurnsWhereTheSymbolWas(row) {
            const wordOf = button => all(button, item => item instanceof Label)[0];
            play(row.rest);
            const before = boxOf(wordOf(one(row.button)));
            compare(spinnersIn(one(row.button)).length, 0);
            play(row.busy);
            const button = one(row.button);
            compare(button.text, row.tag);
            compare(spinnersIn(button).length, 1);
            compare(boxOf(wordOf(button)).left, before.left);
            compare(boxOf(wordOf(button)).top, before.top);
            const spinner = boxOf(spinnersIn(button)[0]);
            verify(spinner.right <= before.left);
            verify(spinner.left >= boxOf(button).left - 2);
        }

        function test_theSymbolStandsAtTheFirstLineOfASentence() {
            play("update_failed");
            const words = all(one("update"), item => item.objectName === "words")[0];
            const symbol = all(one("update"), item => item.objectName === "symbol")[0];
            verify(words.lineCount > 1);
            verify(symbol.y + symbol.height <= words.y + words.height / words.lineCount + 2);
        }

        function test_theNumberStandsInTheMiddleOfTheDial() {
            play("healthy");
            const dial = one("number").parent;
            compare(dial.width, 56);
            compare(one("arc").diameter, 56);
            for (const score of [7, 12, 71, 97, 100]) {
                view.animated = false;
                theatre.setScore(score);
                view.animated = true;
                const number = one("number");
                fuzzyCompare(number.x + number.implicitWidth / 2, 28, 0.51, `${score}`);
                // Room to the ring, whose inner edge is 51 across.
                verify((51 - number.implicitWidth) / 2 >= 4.5, `${score} is ${number.implicitWidth} wide`);
            }
        }

        function test_anotherNumberGlidesToItsPlace() {
            play("healthy");
            view.animated = false;
            theatre.setScore(100);
            view.animated = true;
            const number = one("number");
            const from = number.x;
            theatre.setScore(9);
            fuzzyCompare(number.x, from, 0.5);
            tryVerify(() => Math.abs(number.x + number.implicitWidth / 2 - 28) <= 0.51);
            verify(number.x > from + 1);
        }

        function test_contentFadesAtTheEdgesThatItGoesOnBeyond() {
            view.rounded = true;
            play("short_screen");
            compare(all(view, item => item.objectName.startsWith("fade")).length, 0);
            view.maximumHeight = 420;
            const scroll = one("scroll");
            const shown = () => all(view, item => item.objectName.startsWith("fade")).map(item => item.objectName);
            compare(shown(), ["fadeBottom"]);
            scroll.contentY = 60;
            compare(shown(), ["fadeTop", "fadeBottom"]);
            scroll.contentY = scroll.contentHeight - scroll.height;
            compare(shown(), ["fadeTop"]);
        }

        function test_aLineFadesBeforeItReachesTheRoundCorners() {
            view.rounded = true;
            play("short_screen");
            view.maximumHeight = 420;
            const scroll = one("scroll");
            const line = all(view, item => item instanceof Divider)[0];
            const y = line.y;
            compare(line.width, 340);
            for (const row of [[100, 1], [30, 1], [12, 9 / 16], [3, 0], [0, 0]]) {
                scroll.contentY = y - row[0];
                fuzzyCompare(line.opacity, row[1], 0.05, `${row[0]} from the top`);
                scroll.contentY = y - (scroll.height - row[0]);
                fuzzyCompare(line.opacity, row[1], 0.05, `${row[0]} from the bottom`);
            }
        }

        function test_nothingShinesThroughTheThumbWhichIsDarkerUnderThePointer() {
            play("short_screen");
            view.maximumHeight = 420;
            const thumb = one("thumb");
            const veiled = opacity => Qt.colorEqual(thumb.colour, Qt.tint(Inks.ground, Inks.texts.track(opacity)));
            mouseMove(view, 5, 5);
            compare(thumb.colour.a, 1);
            verify(veiled(0.22));
            mouseMove(thumb, thumb.width / 2, thumb.height / 2);
            tryVerify(() => veiled(0.45));
            compare(thumb.colour.a, 1);
        }

        Component {
            id: narrow

            TextButton {
                font: Theme.action
                text: "Clear nothing worth clearing"
                width: 60
            }
        }

        function test_aWordThatIsTooLongIsMadeSmallerOnlyAsFarAsItCanBeRead() {
            const button = createTemporaryObject(narrow, root);
            const word = all(button, item => item.objectName === "word")[0];
            grabImage(root);
            verify(word.truncated);
            fuzzyCompare(word.fontInfo.pointSize, Math.floor(0.8 * Theme.action.pointSize), 0.01);
        }

        name: "Actions"
        when: windowShown
    }
}
