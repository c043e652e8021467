import QtQuick
import QtTest
import Korvel

Item {
    id: root

    width: 340
    height: 400

    Column {
        width: 308

        ScoreDial {
            id: dial

            value: theatre.header(87)
        }

        MetricRow {
            id: withSpark

            width: 308
            value: theatre.metric("CPU", 0, true)
        }

        MetricRow {
            id: withoutSpark

            width: 308
            value: theatre.metric("DISK", 150, false)
        }

        FactorLine {
            id: factor

            width: 308
            value: theatre.factorWithoutLoss()
        }

        StatusLine {
            id: calm

            width: 308
            value: theatre.allClear()
        }

        StatusLine {
            id: alert

            width: 308
            value: theatre.alert("<b>Disk</b> critical")
        }

        Divider {
            id: divider
        }

        ShieldMark {
            id: shield

            width: 22
            height: 22
        }
    }

    TestCase {
        function one(item, objectName) {
            for (let i = 0; i < item.children.length; ++i) {
                const child = item.children[i];
                if (child.objectName === objectName) {
                    return child;
                }
                const found = one(child, objectName);
                if (found) {
                    return found;
                }
            }
            return null;
        }

        function leftIn(item, ancestor) {
            return item.mapToItem(ancestor, 0, 0).x;
        }

        function test_dial() {
            compare(dial.width, 56);
            compare(dial.height, 56);
            compare(one(dial, "arc").lineWidth, 5);
            compare(one(dial, "arc").fraction, 0.87);
            verify(Qt.colorEqual(one(dial, "arc").trackColour,
                                 Qt.alpha(Inks.texts.of("primary"), 0.1)));
        }

        function test_rowWithASpark() {
            const caption = one(withSpark, "caption");
            const bar = one(withSpark, "bar");
            const spark = one(withSpark, "spark");
            const percent = one(withSpark, "percent");
            compare(caption.width, 52);
            compare(leftIn(bar, withSpark), 52 + 8);
            compare(bar.height, 4);
            compare(bar.fillWidth, 3);
            compare(spark.width, 44);
            compare(spark.height, 14);
            compare(percent.width, 32);
            compare(percent.horizontalAlignment, Text.AlignRight);
            compare(leftIn(percent, withSpark), 308 - 32);
            compare(leftIn(spark, withSpark), 308 - 32 - 8 - 44);
            compare(bar.width, 308 - 52 - 8 - 8 - 44 - 8 - 32);
            compare(withSpark.spacing, 4);
            compare(one(withSpark, "detail").leftPadding, 60);
        }

        function test_rowWithoutASpark() {
            const bar = one(withoutSpark, "bar");
            verify(!one(withoutSpark, "spark").visible);
            compare(bar.width, 308 - 52 - 8 - 8 - 32);
            compare(bar.fillWidth, bar.width);
            compare(one(withoutSpark, "percent").text, "150%");
        }

        function test_captionAndPercentageShareABaseline() {
            for (const row of [withSpark, withoutSpark]) {
                const caption = one(row, "caption");
                const percent = one(row, "percent");
                compare(caption.y + caption.baselineOffset, percent.y + percent.baselineOffset);
            }
        }

        function test_factorLine() {
            compare(one(factor, "name").width, 52);
            compare(one(factor, "bar").height, 4);
            compare(one(factor, "bar").fillWidth, 2);
            compare(one(factor, "points").width, 26);
            compare(leftIn(one(factor, "points"), factor), 308 - 26);
            compare(one(factor, "detail").leftPadding, 60);
            verify(Qt.colorEqual(one(factor, "bar").trackColour,
                                 Qt.alpha(Inks.texts.of("primary"), 0.07)));
        }

        function test_statusLine() {
            compare(one(calm, "symbol").size, 11);
            compare(one(alert, "symbol").size, 10);
            compare(one(calm, "words").x, one(alert, "words").x);
            compare(one(alert, "words").textFormat, Text.PlainText);
            compare(one(alert, "words").text, "<b>Disk</b> critical");
        }

        function test_dividerIsFullWidth() {
            compare(divider.width, 340);
            compare(divider.height, 1);
        }

        function test_coloursFollowTheDesktop() {
            const bar = one(withoutSpark, "bar");
            const percent = one(withoutSpark, "percent");
            Inks.dark = true;
            compare(percent.color.toString(), "#ff5c5c");
            compare(bar.colour.toString(), "#ff5c5c");
            const ground = Inks.ground.toString();
            Inks.dark = false;
            verify(Inks.ground.toString() !== ground);
            verify(percent.color.toString() !== "#ff5c5c");
            compare(bar.colour.toString(), "#ff5c5c");
        }

        name: "Pieces"
        when: windowShown
    }
}
