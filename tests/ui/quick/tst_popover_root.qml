import QtQuick
import QtTest
import Korvel

Item {
    id: root

    width: 400
    height: 900

    PopoverRoot {
        id: frame

        content: theatre.bridge
    }

    TestCase {
        function panel() {
            return Array.from(frame.children).find(child => child instanceof PopoverPanel);
        }

        function init() {
            theatre.play("strained");
            frame.maximumHeight = 2000;
            frame.rounded = false;
            frame.shadowed = false;
            frame.layOut();
        }

        function test_withoutAShadowThereIsThePanelAlone() {
            compare(frame.width, 340);
            compare(frame.height, panel().height);
            compare([panel().x, panel().y], [0, 0]);
            compare(panel().radius, 0);
        }

        function test_theShadowLiesAroundThePanel() {
            frame.rounded = true;
            frame.shadowed = true;
            compare(panel().width, 340);
            compare(frame.width, 20 + 340 + 20);
            compare(frame.height, 12 + panel().height + 28);
            compare([panel().x, panel().y], [20, 12]);
            compare(panel().radius, 10);
        }

        function test_whatScrollsKeepsOutOfRoundCorners() {
            frame.rounded = true;
            compare(panel().inset, 0);
            frame.maximumHeight = 420;
            compare(panel().height, 420);
            compare(panel().inset, 3);
            // The content does not move for it.
            const content = panel().children[0].children[0];
            const place = content.mapToItem(panel(), 0, 0);
            compare([place.x, place.y, content.width, content.height], [0, 0, 340, 420]);
            verify(panel().children[0].clip);
            frame.rounded = false;
            compare(panel().inset, 0);
        }

        name: "PopoverRoot"
        when: windowShown
    }
}
