import QtQuick
import QtTest
import Korvel

// Every piece of the popover as it is meant to be drawn: fonts, inks, symbols, strokes, how faint, how long.
Item {
    id: root

    width: 400
    height: 1200

    PopoverPanel {
        id: view

        animated: false
        content: theatre.bridge
        maximumHeight: 2000
    }

    Tip {
        id: tip
    }

    TestCase {
        id: test

        readonly property int regular: 400
        readonly property int medium: 500
        readonly property int semibold: 600
        readonly property int bold: 700

        // What is said of a piece:
        // font, mono: size and weight, of the interface font or that of equal widths
        // text, fill: its ink, of those for texts or those for fills; a fill has the rim that goes with it
        // over: its ink while the pointer rests on the button around it
        // track: how faint the primary colour is beside or behind it
        // symbol: name, size and whether it is bold
        // faint, faintText: its ink and how faint that is; clear: without any
        // All else are properties. A path may say which one of several, from 0.
        readonly property var pieces: ({
            "healthy": [
                ["header arc", {fill: "good", track: 0.1, lineWidth: 5, diameter: 56, fraction: 0.97}],
                ["header number", {font: [20, bold], text: "good"}],
                ["header verdict", {font: [17, semibold], text: "good"}],
                ["header machineLine", {font: [9.5, regular], text: "secondary"}],
                ["toggle chevron", {symbol: ["chevron.right", 7, true], text: "secondary", over: "primary"}],
                ["toggle word", {font: [9.5, regular], text: "secondary", over: "primary"}],
                ["status symbol", {symbol: ["checkmark.circle.fill", 11, false], fill: "good"}],
                ["status words", {font: [11, regular], text: "secondary"}],
                ["rows caption", {mono: [9.5, semibold], text: "secondary", width: 52}],
                ["rows bar", {fill: "good", track: 0.08, height: 4, shortest: 3}],
                ["rows spark", {width: 44, height: 14, visible: true}],
                ["rows trail", {fill: "cyan"}],
                ["rows percent", {mono: [10, bold], text: "good", width: 32}],
                ["rows detail", {mono: [9.5, regular], text: "tertiary", indent: 60}],
                ["rows caption:1", {mono: [9.5, semibold], text: "secondary"}],
                ["rows bar:1", {fill: "good", track: 0.08}],
                ["rows trail:1", {fill: "pink"}],
                ["rows percent:1", {mono: [10, bold], text: "good"}],
                ["rows bar:2", {fill: "good"}],
                ["rows spark:2", {visible: false}],
                ["rows percent:2", {text: "good"}],
                ["rows bar:3", {fill: "good"}],
                ["rows spark:3", {visible: false}],
                ["rows bar:4", {fill: "good"}],
                ["rows spark:4", {visible: false}],
                ["findSwapHolders chevron", {symbol: ["chevron.right", 8, true], text: "secondary", over: "primary",
                                             visible: true}],
                ["findSwapHolders word", {font: [10, regular], text: "secondary", over: "primary"}],
                ["heaviest caption", {font: [8.5, semibold], text: "tertiary"}],
                ["heaviest mark", {width: 12}],
                ["heaviest bullet", {faint: ["cyan", 0.5], visible: true}],
                ["heaviest name", {font: [11, regular], text: "primary"}],
                ["heaviest size", {font: [10, medium], text: "secondary"}],
                ["heaviest quit cross", {symbol: ["xmark.circle.fill", 10, false], fill: "tertiary", over: "bad"}],
                ["keepAwake cup", {symbol: ["cup.and.saucer.fill", 11, false], fill: "secondary"}],
                ["keepAwake label", {font: [11, regular], text: "primary"}],
                ["keepAwake remaining", {visible: false}],
                ["awakeControl sign", {symbol: ["chevron.down", 7, true], text: "primary", visible: true}],
                ["awakeControl word", {font: [10, regular], text: "primary"}],
                ["awakeControl ring", {faintText: ["primary", 0.08], visible: true}],
                ["footer warden", {font: [9.5, regular], text: "tertiary"}],
                ["reclaim sign", {symbol: ["trash", 11, false], text: "secondary", over: "primary", visible: true}],
                ["reclaim word", {font: [11, regular], text: "secondary", over: "primary"}],
                ["footer dismiss", {visible: false}],
                ["quitProgram sign", {symbol: ["power", 11, false], text: "secondary", over: "primary", visible: true}],
                ["quitProgram word", {font: [11, regular], text: "secondary", over: "primary"}],
                ["divider line", {faintText: ["primary", 0.1], height: 1, width: 340}]
            ],
            "fair": [
                ["header arc", {fill: "warn"}],
                ["header number", {text: "warn"}],
                ["header verdict", {text: "warn"}],
                ["status symbol", {symbol: ["info.circle.fill", 11, false], fill: "cyan"}],
                ["status words", {font: [11, regular], text: "secondary"}],
                ["rows bar", {fill: "good"}],
                ["rows percent", {text: "good"}],
                ["rows bar:1", {fill: "warn"}],
                ["rows trail:1", {fill: "pink"}],
                ["rows percent:1", {text: "warn"}],
                ["rows bar:3", {fill: "warn"}],
                ["rows percent:3", {text: "warn"}]
            ],
            "strained": [
                ["header arc", {fill: "bad"}],
                ["header number", {text: "bad"}],
                ["header verdict", {text: "bad"}],
                ["status symbol", {symbol: ["exclamationmark.triangle.fill", 10, false], fill: "warn"}],
                ["status words", {font: [11, regular], text: "primary"}],
                ["status symbol:1", {symbol: ["exclamationmark.triangle.fill", 10, false], fill: "warn"}],
                ["status words:1", {font: [11, regular], text: "primary"}],
                ["rows bar", {fill: "bad"}],
                ["rows trail", {fill: "cyan"}],
                ["rows percent", {text: "bad"}],
                ["rows bar:1", {fill: "bad"}],
                ["rows trail:1", {fill: "pink"}],
                ["rows percent:1", {text: "bad"}],
                ["rows bar:2", {fill: "bad"}],
                ["rows percent:2", {text: "bad"}],
                ["rows bar:3", {fill: "bad"}],
                ["rows percent:3", {text: "bad"}],
                ["rows bar:4", {fill: "bad"}],
                ["rows percent:4", {text: "bad"}]
            ],
            "breakdown_strained": [
                ["toggle chevron", {symbol: ["chevron.down", 7, true], text: "secondary", over: "primary"}],
                ["toggle word", {font: [9.5, regular], text: "secondary", over: "primary"}],
                ["breakdown name", {mono: [10, regular], text: "primary", width: 52}],
                ["breakdown bar", {fill: "bad", track: 0.07, height: 4, shortest: 2}],
                ["breakdown points", {width: 26}],
                ["breakdown lost", {font: [9.5, medium], text: "bad"}],
                ["breakdown detail", {mono: [9, regular], text: "tertiary", indent: 60}],
                ["breakdown footnote", {font: [8.5, regular], text: "tertiary", indent: 60}]
            ],
            "breakdown": [
                ["breakdown bar", {fill: "bad"}],
                ["breakdown lost", {font: [9.5, medium], text: "bad"}],
                ["breakdown bar:2", {fill: "warn"}],
                ["breakdown lost:2", {font: [9.5, medium], text: "secondary"}],
                ["breakdown bar:5", {fill: "good"}],
                ["breakdown lost:5", {font: [9.5, medium], text: "secondary"}]
            ],
            "scan_running": [
                ["findSwapHolders chevron", {clear: true}],
                ["findSwapHolders word", {font: [10, regular], text: "secondary", over: "primary"}]
            ],
            "scan_done": [
                ["rows mark", {width: 0}],
                ["rows bullet", {visible: false}],
                ["rows name", {font: [10.5, regular], text: "primary"}],
                ["rows size", {font: [9.5, medium], text: "secondary"}],
                ["rows quit cross", {symbol: ["xmark.circle.fill", 10, false], fill: "tertiary", over: "bad"}],
                ["rows note", {font: [9, regular], text: "tertiary"}]
            ],
            "awake_on": [
                ["keepAwake cup", {symbol: ["cup.and.saucer.fill", 11, false], fill: "cyan"}],
                ["keepAwake label", {font: [11, regular], text: "primary"}],
                ["keepAwake remaining", {font: [9, regular], text: "secondary", visible: true}],
                ["awakeControl sign", {visible: false}],
                ["awakeControl word", {font: [10, regular], text: "primary"}],
                ["awakeControl ring", {faintText: ["primary", 0.08], visible: true}]
            ],
            "reclaim_waiting": [
                ["reclaim sign", {visible: false}],
                ["reclaim word", {font: [11, semibold], text: "primary"}],
                ["reclaim ring", {faint: ["cyan", 0.22], visible: true}],
                ["footer dismiss", {visible: true}],
                ["footer dismiss cross", {symbol: ["xmark", 9, false], fill: "tertiary", over: "primary"}]
            ],
            "reclaim_running": [
                ["reclaim sign", {visible: false}],
                ["reclaim word", {font: [11, semibold], text: "secondary"}]
            ],
            "reclaim_done": [
                ["result", {mono: [9.5, regular], text: "cyan"}]
            ],
            "update_checking": [
                ["update symbol", {visible: false}],
                ["update spinner", {fill: "secondary", track: 0.1, lineWidth: 1.5, width: 12, height: 12,
                                    fraction: 0.3, visible: true}],
                ["update words", {font: [11, regular], text: "primary"}]
            ],
            "update_available": [
                ["update symbol", {symbol: ["arrow.down.circle.fill", 12, false], fill: "cyan", visible: true}],
                ["update spinner", {visible: false}],
                ["update words", {font: [11, semibold], text: "primary"}],
                ["updateControl word", {font: [11, regular], text: "primary"}],
                ["updateControl ring", {faint: ["cyan", 0.22], visible: true}],
                ["updateControl sign", {visible: false}]
            ],
            "update_downloading": [
                ["update symbol", {visible: false}],
                ["update spinner", {visible: false}],
                ["update words", {font: [11, regular], text: "primary"}],
                ["update progress", {fill: "cyan", track: 0.08, height: 4, shortest: 0, visible: true}]
            ],
            "update_installing": [
                ["update spinner", {visible: true}],
                ["update words", {font: [11, regular], text: "primary"}]
            ],
            "update_ready": [
                ["update symbol", {symbol: ["checkmark.circle.fill", 12, false], fill: "good", visible: true}],
                ["update words", {font: [11, regular], text: "primary"}],
                ["updateControl word", {font: [11, regular], text: "primary"}],
                ["updateControl ring", {faint: ["cyan", 0.22], visible: true}]
            ],
            "update_failed": [
                ["update symbol", {symbol: ["exclamationmark.triangle.fill", 11, false], fill: "warn", visible: true}],
                ["update words", {font: [10, regular], text: "primary"}]
            ],
            "welcome": [
                ["banner card", {faint: ["cyan", 0.09], radius: 9, borderWidth: 1}],
                ["banner mark", {fill: "cyan", width: 22, height: 22}],
                ["banner heading", {font: [12.5, semibold], text: "primary"}],
                ["banner subline", {font: [10.5, regular], text: "secondary"}],
                ["dismissBanner cross", {symbol: ["xmark", 9, true], text: "secondary", over: "primary"}],
                ["banner dot", {faint: ["cyan", 0.7], width: 3.5, height: 3.5}],
                ["banner note line", {font: [11, regular], text: "secondary"}]
            ]
        })

        property string played

        function all(item, objectName, found = []) {
            if (item.objectName === objectName) {
                found.push(item);
            }
            for (let i = 0; i < item.children.length; ++i) {
                all(item.children[i], objectName, found);
            }
            return found;
        }

        function piece(path) {
            let item = view;
            for (const step of path.split(" ")) {
                const [name, which] = step.split(":");
                const found = all(item, name);
                verify(found.length > Number(which ?? 0), `there is no ${step} of ${path}`);
                item = found[which ?? 0];
            }
            return item;
        }

        function play(scene) {
            theatre.play(scene);
            played = scene;
            grabImage(view);
            view.layOut();
        }

        function buttonAround(item) {
            while (item.hovered === undefined) {
                item = item.parent;
            }
            return item;
        }

        function checkFont(font, size, weight, expected) {
            fuzzyCompare(font.pointSize, expected.pointSize, 0.01, `size, not ${size}`);
            compare(font.weight, weight);
            compare(font.family, expected.family);
        }

        function checkColour(actual, expected, what) {
            compare(actual.toString(), expected.toString(), what); // in levels of 255, as texts keep them
        }

        // Fonts, and all that is one property of the piece.
        function checkShape(item, expected) {
            const colours = ["text", "fill", "over", "track", "faint", "faintText", "clear"];
            for (const what of Object.keys(expected).filter(what => !colours.includes(what))) {
                const value = expected[what];
                if (what === "font") {
                    checkFont(item.font, value[0], value[1], Inks.font(value[0], value[1]));
                } else if (what === "mono") {
                    checkFont(item.font, value[0], value[1], Inks.monospaced(value[0], value[1]));
                } else if (what === "symbol") {
                    compare([item.name, item.size, item.bold], value);
                } else if (typeof value === "number") {
                    fuzzyCompare(item[what], value, 1e-6, what);
                } else {
                    compare(item[what], value, what);
                }
            }
        }

        // In the desktop's appearance of now.
        function checkInks(item, expected) {
            const ink = item.color ?? item.colour;
            if (expected.text !== undefined) {
                checkColour(ink, Inks.texts.of(expected.text), expected.text);
            }
            if (expected.fill !== undefined) {
                checkColour(ink, Inks.fills.of(expected.fill), expected.fill);
                checkColour(item.rim, Inks.rims.of(expected.fill), "rim");
            }
            if (expected.faint !== undefined) {
                checkColour(ink, Qt.alpha(Inks.fills.of(expected.faint[0]), expected.faint[1]), "faint");
            }
            if (expected.faintText !== undefined) {
                checkColour(ink, Qt.alpha(Inks.texts.of(expected.faintText[0]), expected.faintText[1]), "faint");
            }
            if (expected.clear) {
                compare(ink.a, 0);
            }
            if (expected.track !== undefined) {
                checkColour(item.trackColour, Qt.alpha(Inks.texts.of("primary"), expected.track), "track");
            }
        }

        name: "Table"
        when: windowShown

        function init() {
            view.animated = false;
            Inks.dark = false;
            Inks.highContrast = false;
        }

        function cleanup() {
            init();
        }

        function test_thereAreTwoDesigns() {
            verify(Inks.font(10, regular).family !== Inks.monospaced(10, regular).family);
        }

        function test_everyPieceIsDrawnAsItIsMeantToBe_data() {
            const rows = [];
            for (const scene of Object.keys(pieces)) {
                for (const [path, expected] of pieces[scene]) {
                    rows.push({tag: `${scene}: ${path}`, scene: scene, path: path, expected: expected});
                }
            }
            return rows;
        }

        function test_everyPieceIsDrawnAsItIsMeantToBe(row) {
            if (played !== row.scene) {
                play(row.scene);
            }
            const item = piece(row.path);
            checkShape(item, row.expected);
            for (const dark of [true, false]) {
                Inks.dark = dark;
                checkInks(item, row.expected);
            }
            if (row.expected.over !== undefined) {
                const button = buttonAround(item);
                const inks = row.expected.fill !== undefined ? "fills" : "texts";
                mouseMove(button);
                tryCompare(button, "hovered", true);
                for (const dark of [true, false]) {
                    Inks.dark = dark;
                    checkColour(item.color ?? item.colour, Inks[inks].of(row.expected.over), "under the pointer");
                    if (inks === "fills") {
                        checkColour(item.rim, Inks.rims.of(row.expected.over), "the rim under the pointer");
                    }
                }
                mouseMove(root, root.width - 1, root.height - 1);
                tryCompare(button, "hovered", false);
            }
        }

        // The order.

        readonly property list<string> sections: ["banner", "header", "breakdown", "divider", "status", "rows",
                                                  "heaviest", "keepAwake", "update", "footer", "result"]

        // What stands in the column, from top to bottom.
        function order() {
            const column = piece("header").parent;
            const found = [];
            for (let i = 0; i < column.children.length; ++i) {
                const child = column.children[i];
                if (child.visible && child.height > 0) {
                    const name = sections.find(name => all(child, name).length > 0) ?? "unknown";
                    found.push({name: name, top: child.mapToItem(view, 0, 0).y});
                }
            }
            found.sort((one, other) => one.top - other.top);
            return found.map(section => section.name === "divider" ? "|" : section.name).join(" ");
        }

        function test_sectionsStandInOrderBetweenLines() {
            play("healthy");
            compare(order(), "header | status | rows | heaviest | keepAwake | footer");
            theatre.showEverything();
            played = "";
            grabImage(view);
            view.layOut();
            compare(order(),
                    "banner header breakdown | status | rows | heaviest | keepAwake | update | footer | result");
        }

        // What takes time.

        function test_whatChangesTakesItsTime_data() {
            const easeOut = [0, 0, 0.58, 1, 1, 1];
            return [
                {tag: "score", scene: "healthy", path: "header arc", duration: 350, curve: easeOut},
                {tag: "greeting", scene: "welcome", path: "banner", duration: 200, curve: easeOut},
                {tag: "spinner", scene: "update_checking", path: "update spinner", duration: 1000}
            ];
        }

        function test_whatChangesTakesItsTime(row) {
            play("strained");
            view.animated = true; // an animation is made when it is first run
            play(row.scene);
            const animations = theatre.animationsOf(piece(row.path));
            compare(animations.length, 1);
            compare(animations[0].duration, row.duration);
            if (row.curve) {
                compare(animations[0].easing.type, Easing.BezierSpline);
                compare(Array.from(animations[0].easing.bezierCurve), row.curve);
            } else {
                compare(animations[0].easing.type, Easing.Linear);
                compare([animations[0].from, animations[0].to, animations[0].loops < 0], [0, 1, true]);
            }
        }

        // What is seen only for a while.

        function test_theCardHasARim() {
            play("welcome");
            const card = piece("banner card");
            for (const dark of [true, false]) {
                Inks.dark = dark;
                checkColour(card.borderColour, Qt.alpha(Inks.fills.of("cyan"), 0.28), "border");
            }
        }

        function test_tipsAreInkedAndPadded() {
            const words = tip.contentItem;
            checkFont(words.font, 10.5, regular, Inks.font(10.5, regular));
            for (const dark of [true, false]) {
                Inks.dark = dark;
                checkColour(words.color, Inks.texts.of("primary"), "words");
            }
            compare([tip.horizontalPadding, tip.verticalPadding, tip.delay], [8, 5, 600]);
            compare([words.elide, words.wrapMode, words.maximumLineCount], [Text.ElideRight, Text.Wrap, 8]);
            verify(!tip.visible);
        }

        function test_whatTheMenuOffersIsInked() {
            play("healthy");
            const control = piece("awakeControl");
            let menu = null;
            for (let i = 0; i < control.data.length; ++i) {
                menu = control.data[i].choices !== undefined ? control.data[i] : menu;
            }
            compare(menu.count, 4);
            for (let i = 0; i < menu.count; ++i) {
                const entry = menu.itemAt(i);
                const words = entry.contentItem;
                checkFont(words.font, 11, regular, Inks.font(11, regular));
                compare([words.indent, entry.background.radius], [8, 3]);
                for (const dark of [true, false]) {
                    Inks.dark = dark;
                    checkColour(words.color, Inks.texts.of("primary"), words.text);
                    entry.highlighted = true;
                    checkColour(entry.background.colour, Qt.alpha(Inks.texts.of("primary"), 0.12), "the chosen one");
                    entry.highlighted = false;
                    checkColour(entry.background.colour, Qt.color("transparent"), "another");
                }
            }
        }

        function test_aButtonWithTheKeyboardHasARing() {
            play("healthy");
            for (const path of ["toggle", "findSwapHolders", "heaviest quit", "reclaim", "quitProgram"]) {
                const button = piece(path);
                const ring = all(button, "ring")[0];
                verify(!ring.visible);
                button.forceActiveFocus(Qt.TabFocusReason);
                verify(ring.visible);
                compare([ring.borderWidth, ring.radius], [2, 5]); // on whole pixels
                for (const dark of [true, false]) {
                    Inks.dark = dark;
                    checkColour(ring.borderColour, Inks.texts.of("cyan"), path);
                }
                Inks.highContrast = true;
                compare(ring.borderWidth, 3);
                Inks.highContrast = false;
            }
        }

        function test_longWordsAreBrokenOrCut_data() {
            return [
                {tag: "healthy: rows detail", lines: 2, wrap: Text.Wrap},
                {tag: "healthy: status words", lines: 8, wrap: Text.Wrap},
                {tag: "healthy: header verdict", lines: 1, wrap: Text.NoWrap},
                {tag: "healthy: heaviest name", lines: 1, wrap: Text.NoWrap},
                {tag: "breakdown: breakdown detail", lines: 2, wrap: Text.Wrap},
                {tag: "scan_done: rows note", lines: 2, wrap: Text.Wrap},
                {tag: "update_failed: update words", lines: 4, wrap: Text.Wrap},
                {tag: "welcome: banner note line", lines: 6, wrap: Text.Wrap}
            ];
        }

        function test_longWordsAreBrokenOrCut(row) {
            const [scene, path] = row.tag.split(": ");
            play(scene);
            const words = piece(path);
            compare([words.maximumLineCount, words.wrapMode, words.elide], [row.lines, row.wrap, Text.ElideRight]);
        }
    }
}
