import QtQuick
import QtTest
import Korvel

Item {
    id: root

    width: 400
    height: 900

    PopoverPanel {
        id: view

        content: theatre.bridge
    }

    TestCase {
        id: test

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

        function topOf(item) {
            return item.mapToItem(view, 0, 0).y;
        }

        function leftOf(item) {
            return item.mapToItem(view, 0, 0).x;
        }

        function play(scene) {
            view.maximumHeight = 2000;
            theatre.play(scene);
            one(view, "scroll").contentY = 0;
            settle();
        }

        // Lets the pieces find their places, however busy the machine is.
        function settle() {
            grabImage(view);
            view.layOut();
        }

        function menuOf(control) {
            for (let i = 0; i < control.data.length; ++i) {
                if (control.data[i].choices !== undefined) {
                    return control.data[i];
                }
            }
            fail("there is no menu");
        }

        function holders() {
            return one(view, "rows");
        }

        function test_isAsWideAsItIsMeantToBe() {
            for (const scene of ["healthy", "hostile_names", "empty"]) {
                play(scene);
                compare(view.width, 340);
                compare(one(view, "scroll").contentWidth, 340);
            }
        }

        function test_isAsTallAsItsContentBeforeItIsDrawn() {
            play("strained");
            const height = view.height;
            play("healthy");
            theatre.play("strained");
            view.layOut();
            compare(view.height, height);
        }

        function test_sectionsStandInTheirOrderAndPadding() {
            play("breakdown");
            const breakdown = one(view, "breakdown");
            const status = one(view, "status");
            const rows = one(view, "rows");
            const heaviest = one(view, "heaviest");
            verify(topOf(breakdown) < topOf(status));
            // A divider of one pixel stands between the sections.
            compare(topOf(status), topOf(breakdown) + breakdown.height + 1);
            compare(topOf(rows), topOf(status) + status.height + 1);
            compare(topOf(heaviest), topOf(rows) + rows.height + 1);
            const keepAwake = one(view, "keepAwake").parent;
            const footer = one(view, "footer").parent;
            compare(topOf(keepAwake), topOf(heaviest) + heaviest.height + 1);
            compare(topOf(footer), topOf(keepAwake) + keepAwake.height + 1);
            compare(view.height, topOf(footer) + footer.height);
            for (const section of [breakdown, status, rows, heaviest, keepAwake, footer]) {
                compare(section.leftPadding, 16);
                compare(section.rightPadding, 16);
            }
            compare(breakdown.bottomPadding, 12);
            compare(status.topPadding, 12);
            compare(status.bottomPadding, 12);
            compare(rows.topPadding, 11);
            compare(rows.bottomPadding, 11);
            compare(heaviest.topPadding, 11);
            compare(heaviest.bottomPadding, 11);
        }

        function test_headerPadding() {
            play("healthy");
            const dial = one(view, "number").parent;
            compare(leftOf(dial), 16);
            compare(topOf(dial), 14);
            const status = one(view, "status");
            compare(one(view, "toggle").parent.height - one(view, "toggle").lineHeight, 1);
            compare(topOf(status), 14 + 56 + 12 + 1);
        }

        function test_theBreakdownOpensAndClosesByItsButton() {
            play("healthy");
            compare(all(view, "breakdown").length, 0);
            const closed = view.height;
            mouseClick(one(view, "toggle"));
            theatre.render();
            settle();
            verify(one(view, "breakdown").visible);
            verify(view.height > closed);
            compare(one(view, "toggle").text, "hide breakdown");
            mouseClick(one(view, "toggle"));
            theatre.render();
            settle();
            compare(all(view, "breakdown").length, 0);
            compare(view.height, closed);
        }

        function test_theFootnoteIsIndentedLikeTheDetails() {
            play("breakdown");
            const footnote = one(view, "footnote");
            compare(leftOf(footnote), 16);
            compare(footnote.leftPadding, 60);
            compare(footnote.topPadding, 1);
            compare(footnote.text, "points lost, out of 100");
        }

        function test_onlyTheSwapRowHasTheBlockOfHolders() {
            play("healthy");
            const buttons = all(view, "findSwapHolders");
            compare(buttons.length, 1);
            compare(leftOf(buttons[0]), 32);
            mouseClick(buttons[0]);
            verify(theatre.scanning());
            theatre.render();
            compare(buttons[0].text, "checking\u2026");
            verify(buttons[0].visible);
        }

        function test_listedHoldersTakeThePlaceOfTheButton() {
            play("scan_done");
            verify(!one(view, "findSwapHolders").visible);
            compare(all(holders(), "size").length, 4);
            compare(all(holders(), "quit").filter(button => button.visible).length, 3);
            verify(one(holders(), "note").visible);
            mouseClick(all(holders(), "quit")[1]);
            compare(theatre.terminated(), [6120]);
        }

        function test_aQuitButtonEndsItsOwnProcess() {
            play("healthy");
            const list = one(view, "heaviest");
            mouseClick(all(list, "quit")[2]);
            compare(theatre.terminated(), [5033]);
            compare(all(list, "quit").map(button => button.visible),
                    [true, true, true, true, false]);
        }

        function test_aTipIsShownWhileThePointerRestsOnAButton() {
            for (const scene of ["healthy", "hostile_names", "scan_done"]) {
                play(scene);
                const buttons = all(view, "quit").filter(button => button.visible);
                for (const button of [buttons[0], buttons[buttons.length - 1]]) {
                    mouseMove(button, 10, 10);
                    tryVerify(() => all(root.Window.contentItem, "tip").length === 1);
                    const tip = all(root.Window.contentItem, "tip")[0];
                    compare(tip.text, button.tip);
                    compare(tip.textFormat, Text.PlainText);
                    verify(tip.width <= 308);
                    mouseMove(view, 5, 5);
                    tryVerify(() => all(root.Window.contentItem, "tip").length === 0);
                }
            }
        }

        function test_aTipThatIsShownFollowsWhatItSays() {
            play("healthy");
            const button = all(view, "quit")[0];
            mouseMove(button, 10, 10);
            tryVerify(() => all(root.Window.contentItem, "tip").length === 1);
            button.tip = "Quit another";
            compare(all(root.Window.contentItem, "tip")[0].text, "Quit another");
            mouseMove(view, 5, 5);
            play("hostile_names"); // has none of these processes
        }

        function test_theKeyboardStaysOnItsProcessThroughANewOrder() {
            play("healthy");
            const list = one(view, "heaviest");
            const button = all(list, "quit")[0];
            button.forceActiveFocus(Qt.TabFocusReason);
            verify(button.visualFocus);
            theatre.reverseHeaviest();
            settle();
            verify(button.activeFocus);
            compare(button.text, "Quit browser");
            keyClick(Qt.Key_Space);
            keyClick(Qt.Key_Return);
            compare(theatre.terminated(), [4120, 4120]);
        }

        function test_tabGoesFromTopToBottom() {
            play("scan_done");
            view.forceActiveFocus();
            one(view, "toggle").forceActiveFocus(Qt.TabFocusReason);
            let last = topOf(one(view, "toggle"));
            for (let i = 0; i < 3 + 4; ++i) {
                keyClick(Qt.Key_Tab);
                const item = view.Window.activeFocusItem;
                compare(item.objectName, "quit");
                verify(topOf(item) > last, "stop " + i);
                last = topOf(item);
            }
            for (const name of ["awakeControl", "reclaim", "quitProgram"]) {
                keyClick(Qt.Key_Tab);
                compare(view.Window.activeFocusItem.objectName, name);
            }
        }

        function test_growsToItsLimitAndScrollsBeyond() {
            play("short_screen");
            const whole = view.height;
            verify(whole > 420);
            view.maximumHeight = 420;
            compare(view.height, 420);
            const scroll = one(view, "scroll");
            verify(scroll.interactive);
            mouseWheel(view, 100, 200, 0, -5000);
            tryCompare(scroll, "contentY", whole - 420);
            keyClick(Qt.Key_Home);
            compare(scroll.contentY, 0);
            keyClick(Qt.Key_Down);
            compare(scroll.contentY, 40);
            keyClick(Qt.Key_Down);
            keyClick(Qt.Key_Up);
            compare(scroll.contentY, 40);
        }

        function test_whatGetsTheKeyboardIsScrolledIntoSight() {
            play("short_screen");
            view.maximumHeight = 420;
            const button = all(one(view, "heaviest"), "quit")[2];
            button.forceActiveFocus(Qt.TabFocusReason);
            verify(topOf(button) >= 0);
            verify(topOf(button) + button.height <= 420);
            one(view, "toggle").forceActiveFocus(Qt.BacktabFocusReason);
            verify(topOf(one(view, "toggle")) >= 0);
        }

        function test_theScrollPositionOutlivesARefresh() {
            play("short_screen");
            view.maximumHeight = 420;
            const scroll = one(view, "scroll");
            scroll.contentY = 100;
            theatre.reverseHeaviest();
            settle();
            compare(scroll.contentY, 100);
        }

        function test_aChangedScoreMovesTheArcGently() {
            play("healthy");
            const arc = one(view, "arc");
            theatre.setScore(100);
            tryCompare(arc, "fraction", 1);
            theatre.setScore(0);
            verify(arc.fraction > 0.9);
            tryCompare(arc, "fraction", 0);
            compare(one(view, "number").text, "0");
        }

        function test_aScoreThatCameWhileClosedIsShownAtOnce() {
            play("healthy");
            theatre.setScore(100);
            view.animated = false;
            theatre.setScore(10);
            view.animated = true;
            compare(one(view, "arc").fraction, 0.1);
        }

        function test_aListOfNothingIsNotThereNorIsItsLine() {
            play("empty");
            const heaviest = one(view, "heaviest");
            compare(all(heaviest, "quit").length, 0);
            verify(!heaviest.visible);
            const rows = one(view, "rows");
            compare(topOf(one(view, "keepAwake").parent), topOf(rows) + rows.height + 1);
            compare(one(view, "number").text, "0");
            play("healthy");
            verify(heaviest.visible);
        }

        function test_namesAreShownAsTyped() {
            play("hostile_names");
            const names = all(one(view, "heaviest"), "name");
            compare(names[3].text, "<b>x</b> &amp; <img src=x>");
            for (const name of names) {
                compare(name.textFormat, Text.PlainText);
                verify(leftOf(name) + name.width <= 340 - 16);
                compare(name.lineCount <= 1, true);
            }
            verify(names[0].truncated);
        }

        function test_everyButtonHasANameAndARole() {
            play("scan_done");
            const buttons = all(view, "quit").concat(all(view, "toggle"));
            for (const button of buttons) {
                compare(button.Accessible.role, Accessible.Button);
            }
            compare(all(one(view, "heaviest"), "quit")[0].Accessible.name, "Quit browser");
            compare(one(view, "toggle").Accessible.name, "what's affecting this");
            const row = one(view, "percent").parent.parent;
            compare(row.Accessible.name, "CPU 46%, load 6.20 across 8 cores");
            compare(one(view, "number").parent.Accessible.name, "Health score 65");
        }

        // What a screen reader is told of: each thing that it sees, in order, a group before what is in it.
        function told(item, found = []) {
            if (item.visible) {
                if (item.Accessible.role !== Accessible.NoRole && !item.Accessible.ignored) {
                    found.push(item);
                }
                for (let i = 0; i < item.children.length; ++i) {
                    told(item.children[i], found);
                }
            }
            return found;
        }


        // The popover opens.
        function open() {
            view.animated = false;
            view.layOut();
            view.animated = true;
        }

        function test_eachSectionIsOneSentenceForAScreenReader() {
            play("breakdown");
            compare(one(view, "header").Accessible.name, "Health score 65, Fair, 8 cores, 16 GB, up 3 days 4 hours");
            verify(one(view, "breakdown").Accessible.name.startsWith("Points lost, out of 100: Memory 14, "));
            verify(one(view, "rows").Accessible.name.startsWith("CPU 46%, load 6.20 across 8 cores; Memory 82%, "));
            verify(one(view, "heaviest").Accessible.name.startsWith("Heaviest processes: browser, 3.42 GB; desktop-shell, "));
            compare(one(view, "keepAwake").parent.Accessible.name, "Keep awake, off");
            compare(one(view, "footer").parent.Accessible.name, "Warden off: Watchdog is not running");
            for (const section of ["header", "breakdown", "rows", "heaviest"]) {
                compare(one(view, section).Accessible.role, Accessible.Grouping);
                compare(one(view, section).Accessible.ignored, false);
            }
        }

        function test_aSentenceHoldsTheLinesOfItsSection_data() {
            return [{tag: "healthy"}, {tag: "strained"}, {tag: "awake_on"}, {tag: "update_available"}];
        }

        function test_aSentenceHoldsTheLinesOfItsSection(row) {
            play(row.tag);
            for (const section of [one(view, "header"), one(view, "rows"), one(view, "heaviest"), one(view, "keepAwake").parent]) {
                const lines = told(section).filter(item => item.Accessible.role === Accessible.StaticText);
                verify(lines.length > 0);
                for (const line of lines) {
                    verify(section.Accessible.name.indexOf(line.Accessible.name) >= 0, line.Accessible.name);
                }
            }
        }

        function test_nothingIsWithoutANameForAScreenReader_data() {
            return ["healthy", "breakdown", "strained", "scan_running", "scan_done", "hostile_names", "empty", "awake_on",
                    "reclaim_waiting", "reclaim_done", "welcome", "update_available"].map(scene => ({tag: scene}));
        }

        function test_nothingIsWithoutANameForAScreenReader(row) {
            play(row.tag);
            const seen = told(view);
            verify(seen.length > 10);
            for (const item of seen) {
                verify(item.Accessible.name !== "", item.objectName + " has no name");
            }
        }

        function test_aNameThatIsCutIsSaidWhole() {
            play("hostile_names");
            const lines = all(one(view, "heaviest"), "name");
            verify(lines[0].truncated);
            compare(lines[0].Accessible.name, "W".repeat(255) + ", 12.50 GB");
            const button = all(one(view, "heaviest"), "quit")[0];
            compare(button.Accessible.name, "Quit " + "W".repeat(255));
            compare(button.Accessible.description, "Sends SIGTERM so it closes cleanly");
            compare(button.parent.Accessible.name, lines[0].Accessible.name);
            compare(button.parent.Accessible.role, Accessible.Grouping);
            compare(lines[7].Accessible.name, "unnamed process, 0.20 GB");
        }

        function test_openingTheKeyboardIsOnTheScoreAndItsVerdict() {
            play("healthy");
            open();
            const scroll = one(view, "scroll");
            verify(scroll.activeFocus);
            compare(scroll.Accessible.name, "Korvel, health score 97, Excellent");
            keyClick(Qt.Key_Tab);
            compare(view.Window.activeFocusItem.objectName, "toggle");
            open();
            verify(scroll.activeFocus);
        }

        function test_whatHasTheKeyboardDoesNotChangeItsName() {
            play("healthy");
            open();
            const scroll = one(view, "scroll");
            play("fair");
            compare(scroll.Accessible.name, "Korvel, health score 97, Excellent");
            keyClick(Qt.Key_Tab);
            compare(scroll.Accessible.name, "Korvel, health score 65, Fair");
            play("healthy");
            compare(scroll.Accessible.name, "Korvel, health score 97, Excellent");
        }

        function test_theButtonOfTheBreakdownSaysWhatItOpened() {
            play("fair");
            const toggle = one(view, "toggle");
            toggle.forceActiveFocus(Qt.TabFocusReason);
            compare(toggle.Accessible.description, "");
            keyClick(Qt.Key_Space);
            theatre.render();
            const told = toggle.Accessible.description;
            verify(told.startsWith("Points lost, out of 100: Memory 14, "));
            theatre.worsen();
            compare(toggle.Accessible.description, told);
            one(view, "quitProgram").forceActiveFocus(Qt.TabFocusReason);
            verify(toggle.Accessible.description !== told);
            toggle.forceActiveFocus(Qt.TabFocusReason);
            keyClick(Qt.Key_Space);
            theatre.render();
            compare(toggle.Accessible.description, "");
        }

        function test_actionSectionsHaveTheirPaddings() {
            play("reclaim_done");
            const keepAwake = one(view, "keepAwake");
            compare(keepAwake.parent.topPadding, 9);
            compare(keepAwake.parent.bottomPadding, 9);
            compare(leftOf(keepAwake), 16);
            const footer = one(view, "footer");
            compare(footer.parent.topPadding, 10);
            compare(footer.parent.bottomPadding, 10);
            const result = one(view, "result");
            compare(result.text, "reclaimed 2.3 GB · 52 GB free");
            compare(result.parent.bottomPadding, 10);
            compare(topOf(result) + result.height + 10, view.height);
            verify(topOf(keepAwake) > topOf(one(view, "heaviest")));
            verify(topOf(footer) > topOf(keepAwake));
        }

        function test_withoutAResultThePopoverEndsWithTheFooter() {
            play("healthy");
            const footer = one(view, "footer");
            compare(all(view, "result").length, 0);
            compare(topOf(footer) + footer.height + 10, view.height);
        }

        function test_theMenuOffersFourPeriodsAndTakesTheChosenOne() {
            play("healthy");
            const control = one(view, "awakeControl");
            compare(control.text, "On");
            compare(one(view, "remaining").visible, false);
            mouseClick(control);
            const menu = menuOf(control);
            tryCompare(menu, "opened", true);
            compare(menu.choices.length, 4);
            compare(menu.choices[1], "1 hour");
            verify(topOf(control) + menu.y + menu.height <= topOf(control) || topOf(control) + menu.y + menu.height <= root.height);
            settle();
            mouseClick(menu.itemAt(1));
            tryCompare(menu, "visible", false);
            compare(theatre.awakeFor(), 3600);
            theatre.render();
            compare(control.text, "Off");
            compare(one(view, "remaining").visible, true);
            mouseClick(control);
            compare(theatre.awake(), false);
        }

        function test_theMenuIsWorkedWithKeys() {
            play("healthy");
            const control = one(view, "awakeControl");
            control.forceActiveFocus(Qt.TabFocusReason);
            keyClick(Qt.Key_Space);
            const menu = menuOf(control);
            tryCompare(menu, "opened", true);
            keyClick(Qt.Key_Escape);
            tryCompare(menu, "visible", false);
            compare(theatre.awake(), false);
            compare(control.visualFocus, true);
            keyClick(Qt.Key_Space);
            tryCompare(menu, "opened", true);
            for (let i = 0; i < 3; ++i) {
                keyClick(Qt.Key_Down);
            }
            keyClick(Qt.Key_Return);
            tryCompare(menu, "visible", false);
            compare(theatre.awake(), true);
            compare(theatre.awakeFor(), 0);
        }

        function test_aWaitingPreviewIsClearedOrPutAway() {
            play("reclaim_waiting");
            const button = one(view, "reclaim");
            compare(button.text, "Clear 12.4 GB");
            verify(one(view, "dismiss").visible);
            mouseClick(one(view, "dismiss"));
            theatre.render();
            compare(button.text, "Reclaim");
            compare(one(view, "dismiss").visible, false);
            play("reclaim_waiting");
            button.forceActiveFocus(Qt.TabFocusReason);
            keyClick(Qt.Key_Space);
            compare(theatre.reclaiming(), true);
            theatre.render();
            compare(button.text, "Clearing…");
            verify(button.busy);
            verify(button.visualFocus); // which a button that was switched off would lose
            keyClick(Qt.Key_Space);
            theatre.render();
            compare(button.text, "Clearing…");
        }

        function test_theFooterHoldsItsLongestTexts() {
            play("reclaim_nothing");
            const button = one(view, "reclaim");
            compare(button.text, "Clear nothing worth clearing");
            verify(leftOf(one(view, "warden")) + one(view, "warden").width < leftOf(button));
            verify(leftOf(one(view, "dismiss")) + one(view, "dismiss").width <= leftOf(one(view, "quitProgram")));
        }

        function test_theLastButtonEndsTheProgram() {
            play("healthy");
            compare(one(view, "quitProgram").text, "Quit Halden");
            compare(theatre.terminatedProgram(), false);
            mouseClick(one(view, "quitProgram"));
            compare(theatre.terminatedProgram(), true);
        }

        name: "Sections"
        when: windowShown
    }
}
