import QtQuick
import QtQuick.Window
import QtTest
import Korvel

// Every piece stands on whole pixels of the screen, at whatever scale this is run.
Item {
    id: root

    width: 400
    height: 1100

    PopoverPanel {
        id: view

        content: theatre.bridge
        rounded: true
    }

    TestCase {
        readonly property real ratio: Screen.devicePixelRatio

        // Whatever is seen: drawings, texts, and what holds them.
        function pieces(item, found = []) {
            for (let i = 0; i < item.children.length; ++i) {
                const child = item.children[i];
                if (child.visible && child.width > 0 && child.height > 0) {
                    found.push(child);
                    pieces(child, found);
                }
            }
            return found;
        }

        function between(pixels) {
            return Math.abs(pixels - Math.round(pixels)) > 1e-6;
        }

        function nameOf(item) {
            return `${item} ${item.objectName} ${item.text ?? item.name ?? ""}`;
        }

        function test_everyPieceIsOnWholePixels_data() {
            return ["healthy", "strained", "breakdown", "scan_done", "scan_running", "reclaim_waiting", "welcome",
                "update_available", "update_failed", "update_downloading", "empty"].map(scene => ({tag: scene, textScale: 1}))
                .concat([1.1, 1.33].map(scale => ({tag: "healthy", textScale: scale})));
        }

        function test_everyPieceIsOnWholePixels(row) {
            Theme.setTextScale(row.textScale);
            theatre.play(row.tag);
            grabImage(view);
            view.layOut();
            compare([view.width, view.height], [Math.round(view.width), Math.round(view.height)]); // as windows are
            const seen = pieces(view);
            verify(seen.length > 40, `only ${seen.length} pieces`);
            for (const piece of seen) {
                const place = piece.mapToItem(view, 0, 0);
                // The panel's own ground lies under its ends; some words stand on the line of others.
                const free = ["ground", "caption", "name", "remaining"].includes(piece.objectName);
                verify(free || !between(place.y * ratio), `${nameOf(piece)} begins at ${place.y * ratio}`);
                // What is drawn; a text's own width and its place in a line are the font's.
                if (piece instanceof Symbol || piece instanceof GaugeBar || piece instanceof Dial
                        || piece instanceof Digits || piece instanceof Plate || piece instanceof Spark) {
                    verify(!between(place.x * ratio), `${nameOf(piece)} is at ${place.x * ratio}`);
                }
                if (piece instanceof GaugeBar || piece instanceof Plate || piece instanceof Symbol
                        || piece instanceof Label) {
                    verify(piece.objectName === "dot" || !between(piece.height * ratio),
                           `${nameOf(piece)} is ${piece.height * ratio} high`);
                }
            }
        }

        function test_whatScrollsStopsOnWholePixels() {
            theatre.play("short_screen");
            view.maximumHeight = 420;
            grabImage(view);
            const dial = pieces(view).find(piece => piece instanceof Dial);
            const scroll = pieces(view).find(piece => piece instanceof Flickable);
            for (const y of [0, 0.3, 7.77, 100.1, 0]) {
                scroll.contentY = y;
                const top = dial.mapToItem(view, 0, 0).y * ratio;
                verify(!between(top), `the dial is at ${top}, scrolled by ${y}`);
            }
            view.maximumHeight = Infinity;
        }

        function cleanup() {
            Theme.setTextScale(1);
        }

        name: "Grid"
        when: windowShown
    }
}
