import QtQuick
import QtTest
import Korvel

// The greeting at the top of the popover, and the line on the state of an update.
Item {
    id: root

    width: 400
    height: 1000

    PopoverPanel {
        id: view

        content: theatre.bridge
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

        function placeOf(item) {
            return item.mapToItem(view, 0, 0);
        }

        function play(scene) {
            view.maximumHeight = 2000;
            theatre.play(scene);
            settle();
        }

        // Lets the pieces find their places, however busy the machine is.
        function settle() {
            grabImage(view);
            view.layOut();
        }

        function bannerOf(scene) {
            play(scene);
            const banner = one(view, "banner");
            tryCompare(banner, "opacity", banner.shown ? 1 : 0);
            settle();
            return banner;
        }

        function updateOf(scene) {
            play(scene);
            return one(view, "update");
        }

        name: "Update"
        when: windowShown

        function test_theCardHasItsOwnDistanceFromTheEdges() {
            const card = one(bannerOf("welcome"), "card");
            compare(placeOf(card), Qt.point(14, 12));
            compare(card.width, 340 - 2 * 14);
            compare(card.radius, 9);
            compare(card.borderWidth, 1);
            const header = one(view, "header");
            compare(placeOf(header).y, 12 + card.height + 12);
        }

        function test_theCardIsTintedCyan() {
            const card = one(bannerOf("welcome"), "card");
            const cyan = Inks.fills.of("cyan");
            fuzzyCompare(card.colour.a, 0.09, 0.005);
            fuzzyCompare(card.borderColour.a, 0.28, 0.005);
            for (const channel of ["r", "g", "b"]) {
                fuzzyCompare(card.colour[channel], cyan[channel], 0.01);
                fuzzyCompare(card.borderColour[channel], cyan[channel], 0.01);
            }
        }

        function test_theHeadStandsInARow() {
            const card = one(bannerOf("welcome"), "card");
            const mark = one(card, "mark");
            compare(mark.width, 22);
            compare(mark.height, 22);
            compare(mark.mapToItem(card, 0, 0).x, 11);
            const heading = one(card, "heading");
            const subline = one(card, "subline");
            compare(heading.mapToItem(card, 0, 0).x, 11 + 22 + 9);
            compare(heading.font, Inks.font(12.5, Font.DemiBold));
            compare(subline.font, Inks.font(10.5, Font.Normal));
            compare(subline.y, heading.height + 1);
            const middle = item => item.mapToItem(card, 0, item.height / 2).y;
            const dismiss = one(card, "dismissBanner");
            fuzzyCompare(middle(dismiss), middle(mark), 1);
            compare(dismiss.mapToItem(card, dismiss.width - dismiss.rightInset, 0).x, card.width - 11);
            compare(dismiss.padding, 4);
            compare(dismiss.tip, "Dismiss");
        }

        function test_notesStandUnderOneAnother() {
            const card = one(bannerOf("welcome"), "card");
            const notes = all(card, "note");
            compare(notes.length, 3);
            const head = one(card, "head");
            compare(one(card, "notes").y, head.y + head.height + 9);
            for (let i = 0; i < notes.length; ++i) {
                compare(notes[i].mapToItem(card, 0, 0).x, 11 + 1);
                const dot = one(notes[i], "dot");
                compare(dot.width, 3.5);
                compare(dot.height, 3.5);
                compare(dot.y, 5);
                fuzzyCompare(dot.colour.a, 0.7, 0.005);
                const line = one(notes[i], "line");
                compare(line.x, 3.5 + 6);
                compare(line.font, Inks.font(11, Font.Normal));
                if (i > 0) {
                    compare(notes[i].y, notes[i - 1].y + notes[i - 1].height + 4);
                }
            }
            compare(card.height, 11 + head.height + 9 + one(card, "notes").height + 11);
        }

        function test_equalNotesAndMarkupAreShownAsTheyAre() {
            const lines = all(bannerOf("updated"), "line");
            compare(lines.map(line => line.text.slice(0, 15)), ["Twice the same", "Twice the same", "<b>A note</b> t"]);
            verify(lines[2].lineCount > 1);
            verify(!lines[2].truncated);
            compare(lines[2].textFormat, Text.PlainText);
            compare(one(view, "subline").text, "Was 0.9 · what changed");
        }

        function test_withoutNotesThereIsTheHeadAlone() {
            const card = one(bannerOf("updated_without_notes"), "card");
            compare(card.height, 11 + one(card, "head").height + 11);
            compare(one(card, "subline").text, "What changed");
        }

        function test_notesThatComeLateAppearInPlace() {
            const card = one(bannerOf("updated_without_notes"), "card");
            const before = card.height;
            theatre.bringNotes(["Late"]);
            settle();
            compare(all(card, "line").map(line => line.text), ["Late"]);
            verify(card.height > before);
            compare(placeOf(one(view, "header")).y, 12 + card.height + 12);
        }

        function test_withNothingToGreetWithThereIsNoCard() {
            verify(!bannerOf("healthy").visible);
            compare(placeOf(one(view, "header")).y, 0);
        }

        function test_dismissedItFadesAwayAndGivesItsRoomAway() {
            const banner = bannerOf("welcome");
            const heading = one(banner, "heading").text;
            const whole = 12 + one(banner, "card").height + 12;
            const header = one(view, "header");
            const seen = [];
            const look = () => {
                view.layOut();
                seen.push({opacity: banner.opacity, height: banner.height, header: placeOf(header).y});
            };
            banner.opacityChanged.connect(look);
            mouseClick(one(banner, "dismissBanner"), 2, 2); // in the padding of the cross
            theatre.render();
            verify(!theatre.greets());
            verify(!banner.enabled);
            tryCompare(banner, "opacity", 0);
            banner.opacityChanged.disconnect(look);
            verify(seen.length > 1, "it was gone at once");
            for (const row of seen) {
                fuzzyCompare(row.height, row.opacity * whole, 1);
                fuzzyCompare(row.header, row.opacity > 0 ? row.height : 0, 1);
            }
            verify(banner.clip);
            compare(one(banner, "heading").text, heading);
            verify(!banner.visible);
            settle();
            compare(placeOf(header).y, 0);
        }

        function test_idleThereIsNoLine() {
            play("healthy");
            compare(all(view, "update").length, 0);
        }

        function test_theLineOfAnUpdateHasItsPadding() {
            const line = updateOf("update_available");
            const section = line.parent;
            compare(line.x, 16);
            compare(line.y, 10);
            compare(section.height, line.height + 20);
        }

        function test_anUpdateIsOfferedWithAButton() {
            const line = updateOf("update_available");
            compare(one(line, "symbol").name, "arrow.down.circle.fill");
            compare(one(line, "symbol").size, 12);
            compare(one(line, "words").text, "Version 1.1.0 is available");
            compare(one(line, "words").font, Inks.font(11, Font.DemiBold));
            verify(!one(line, "spinner").visible);
            verify(!one(line, "progress").visible);
            const control = one(line, "updateControl");
            compare(control.text, "Update");
            mouseClick(control);
            compare(theatre.downloads(), 1);
        }

        function test_whileSomethingIsUnderWayAWheelTurns_data() {
            return [
                {tag: "update_checking", words: "Checking for updates…"},
                {tag: "update_installing", words: "Verifying and installing…"}
            ];
        }

        function test_whileSomethingIsUnderWayAWheelTurns(row) {
            const line = updateOf(row.tag);
            const spinner = one(line, "spinner");
            verify(spinner.visible);
            const before = spinner.start;
            tryVerify(() => spinner.start !== before);
            compare(one(line, "words").text, row.words);
            verify(!one(line, "symbol").visible);
            verify(!one(line, "updateControl").visible);
            play("healthy");
            compare(all(view, "spinner").length, 0); // and nothing that turns unseen
        }

        function test_aDownloadHasABar() {
            const line = updateOf("update_downloading");
            const bar = one(line, "progress");
            verify(bar.visible);
            compare(bar.fraction, 0.25);
            compare(bar.height, 4);
            compare(bar.x + bar.width, line.width);
            compare(bar.x, one(line, "words").x + one(line, "words").width + Theme.rowLineSpacing);
            verify(!one(line, "spinner").visible);
            verify(!one(line, "updateControl").visible);
            verify(bar.x > one(line, "words").width);
        }

        function test_anInstalledUpdateWaitsForARelaunch() {
            const line = updateOf("update_ready");
            compare(one(line, "symbol").name, "checkmark.circle.fill");
            compare(one(line, "words").text, "Update installed");
            mouseClick(one(line, "updateControl"));
            compare(theatre.relaunches(), 1);
        }

        function test_aFailureIsSaidInFull() {
            const line = updateOf("update_failed");
            const words = one(line, "words");
            compare(words.text, "Can't write to Applications. The new version is in the file manager; drag it over.");
            compare(words.font, Inks.font(10, Font.Normal));
            verify(!words.truncated);
            compare(one(line, "symbol").name, "exclamationmark.triangle.fill");
            compare(one(line, "symbol").size, 11);
            verify(!one(line, "updateControl").visible);
        }
    }
}
