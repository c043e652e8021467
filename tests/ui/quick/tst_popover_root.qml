import QtQuick
import QtTest
import Korvel

Item {
    id: root

    width: 400
    height: 900

    PopoverFrame {
        id: outside
    }

    PopoverRoot {
        id: window

        content: theatre.bridge
        frame: outside
    }

    TestCase {
        function panel() {
            return Array.from(window.children).find(child => child instanceof PopoverPanel);
        }

        function find(item, objectName) {
            if (item.objectName === objectName) {
                return item;
            }
            for (let i = 0; i < item.children.length; ++i) {
                const found = find(item.children[i], objectName);
                if (found) {
                    return found;
                }
            }
            return null;
        }

        // Those drawings in a colour of the palette that have no rim of it, or are faint as a whole, rim and all.
        function rimless(item) {
            const palette = ["cyan", "pink", "good", "warn", "bad"];
            // A plate has its border.
            const own = palette.find(name => item.rim && !(item instanceof Plate) && Qt.colorEqual(Qt.alpha(item.colour, 1), Inks.fills.of(name)));
            const seen = !own || (item.opacity === 1 && Qt.colorEqual(item.rim, Inks.rims.of(own)));
            const without = seen ? [] : [`${item} ${item.objectName}`];
            return without.concat(...Array.from(item.children).map(rimless));
        }

        function drawings(item) {
            const own = item.rim && item.visible ? 1 : 0;
            return own + Array.from(item.children).reduce((sum, child) => sum + drawings(child), 0);
        }

        function init() {
            theatre.play("strained");
            outside.maximumHeight = 2000;
            outside.bordered = true;
            outside.rounded = false;
            outside.shadowed = false;
            outside.layOut();
        }

        function test_withoutAShadowThereIsThePanelAlone() {
            compare(window.width, 340);
            compare(window.height, panel().height);
            compare([panel().x, panel().y], [0, 0]);
            compare(panel().radius, 0);
            compare(panel().borderWidth, 1);
        }

        function test_theShadowLiesAroundThePanel() {
            outside.rounded = true;
            outside.shadowed = true;
            compare(panel().width, 340);
            compare(window.width, 20 + 340 + 20);
            compare(window.height, 12 + panel().height + 28);
            compare([panel().x, panel().y], [20, 12]);
            compare(panel().radius, 10);
        }

        function test_whatScrollsKeepsOutOfRoundCorners() {
            outside.rounded = true;
            compare(panel().inset, 0);
            outside.maximumHeight = 420;
            compare(panel().height, 420);
            compare(panel().inset, 3);
            // The content does not move for it.
            const sight = find(window, "sight");
            const content = sight.children[0];
            const place = content.mapToItem(panel(), 0, 0);
            compare([place.x, place.y, content.width, content.height], [0, 0, 340, 420]);
            verify(sight.clip);
            outside.rounded = false;
            compare(panel().inset, 0);
        }

        function test_whereTheDesktopDrawsTheFrameThereIsTheGroundAlone() {
            outside.bordered = false;
            compare(panel().borderWidth, 0);
            compare([window.width, window.height], [340, panel().height]);
        }

        function test_saysWhetherAMenuIsOpen() {
            verify(!outside.menuShown);
            mouseClick(find(window, "awakeControl"));
            tryCompare(outside, "menuShown", true);
            keyClick(Qt.Key_Escape);
            tryCompare(outside, "menuShown", false);
        }

        function test_everyDrawingInAColourHasItsRim_data() {
            const scenes = ["strained", "breakdown", "welcome", "awake_on", "update_downloading", "update_available"];
            return scenes.map(scene => ({tag: scene}));
        }

        function test_everyDrawingInAColourHasItsRim(scene) {
            theatre.play(scene.tag);
            outside.layOut();
            verify(drawings(window) > 10);
            for (const dark of [false, true]) {
                Inks.dark = dark;
                compare(rimless(window), []);
            }
            Inks.dark = false;
        }

        name: "PopoverRoot"
        when: windowShown
    }
}
