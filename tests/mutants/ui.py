"""The mutants of src/ui: fonts, sizes, colours, symbols, texts, strokes, anchors, the order of the sections."""

import re
import sys

from engine import CPP, QML, Place, program_test, replace_each, Test

NAME = "ui"
LEFT_OUT = r"docs/pictures/|tests/ui/pictures/references/"
# As the views are read in a build for tests; the sanitizers would only cost time.
SETTINGS = ["-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O1", "-DCMAKE_CXX_COMPILER=clang++",
            "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld", "-DCMAKE_UNITY_BUILD=ON", "-DKORVEL_TESTS=all",
            "-DKORVEL_BENCH=OFF", "-DKORVEL_FUZZ=OFF"]
TARGETS = ["content_test", "quick_test", "view_test", "korvel_pictures"]

SCALE = "1"  # that pictures are compared in

CONTENT, VIEWS = "src/ui/content/", "src/ui/quick/"
INKS = ["primary", "secondary", "tertiary", "cyan", "pink", "good", "warn", "bad"]
WEIGHTS = ["regular", "medium", "semibold", "bold"]


def next_of(names):
    """What comes after a name in its list."""
    return lambda name: [names[(names.index(name) + 1) % len(names)]] if name in names else []


def quoted(other):
    return lambda literal: [f'"{name}"' for name in other(literal[1:-1])]


def other_number(number):
    """Nothing of what is a share, two more of a size, and more than twice as long."""
    value = float(number)
    if value >= 100:
        return [str(int(value * 2.6))]
    return ["0"] if value < 1 else [f"{value + 2:g}"]


def other_fonts(text):
    """A size larger, of the next weight, of the other design."""
    size, weight, *design = [word.strip() for word in text[len("FontStyle{"):-1].split(",")]
    rest = "".join(f", {word}" for word in design)
    return [f"FontStyle{{{float(size) + 0.5:g}, {weight}{rest}}}",
            f"FontStyle{{{size}, {next_of(WEIGHTS)(weight)[0]}{rest}}}",
            f"FontStyle{{{size}, {weight}{'' if design else ', monospaced'}}}"]


FONT = "(::korvel::mutant() == {number} ? {changed} : {original})"
FONTS = [replace_each(r"(?<== )FontStyle\{[^}]+\}(?=;)", other_fonts, FONT)]
SIZES = [replace_each(r"(?:double|int) \w+ =\s+(?P<it>[\d.]+);", other_number, CPP)]
PALETTE = [replace_each(r"\{(?P<it>[\d.]+), [\d.]+, [\d.]+\}", lambda it: [f"{abs(float(it) - 0.15):.2f}"], CPP),
           replace_each(r"fromLevels\((?P<it>0x[\da-f]+),", lambda it: [hex(int(it, 16) ^ 0x20)], CPP)]
STROKES = [replace_each(r"Qt::(Round|Flat)Cap\b", lambda it: ["Qt::FlatCap" if "Round" in it else "Qt::RoundCap"], CPP),
           replace_each(r"Qt::RoundJoin\b", lambda it: ["Qt::MiterJoin"], CPP)]
INK = replace_each(r"(?<!case )Ink::(\w+)", lambda it: [f"Ink::{name}" for name in next_of(INKS)(it[5:])], CPP)
TEXTS = replace_each(r'(?<!#include )"(?:[^"\\\n]|\\.)+"', lambda it: [it[:-1] + '?"'], CPP)
# Where a piece stands, which pieces are seen, how a text is cut.
PLACES = [
    replace_each(r"^ +(?:anchors\.)?(?:left|right|top|bottom|verticalCenter|horizontalCenter|baseline|centerIn|fill):"
                 r" (?P<it>[\w.]+)$", lambda it: ["undefined"], QML),
    replace_each(r"^ +visible: (?P<it>[^{\n]+)$", lambda it: ["true"], QML),
    replace_each(r"^ +elide: (?P<it>Text\.Elide\w+)$", lambda it: ["Text.ElideNone"], QML),
    replace_each(r"^ +wrapMode: (?P<it>[^{\n]+)$", lambda it: ["Text.NoWrap"], QML),
    replace_each(r"^ +maximumLineCount: (?P<it>\d+)", lambda it: ["1"], QML),
    replace_each(r"^ +(?:spacing|\w*[pP]adding): (?P<it>[^{\n]+)$", lambda it: ["0"], QML),
]


def in_place_of_constants(text):
    """Constants that are chosen when the program starts."""
    return re.sub(r"FontStyle (k\w+)\{", r"FontStyle \1 = FontStyle{", text).replace(
        "static constexpr ", "inline static const ")


def made_from_constants(text):
    """What is computed from them, then too."""
    return re.sub(r"\bconstexpr (?=.*\b(Popover(Lengths|MarkSizes|Constants|Fonts)|Fonts::k|Spark::k))", "const ", text)


def section_blocks(text):
    """Where the column of sections begins, and the types of its pieces, in order; of what is only there at times, and
    made by a Repeater, the type that it makes."""
    column = re.search(r"^( +)Column \{\n +id: column\n.*?^\1\}", text, re.MULTILINE | re.DOTALL)
    indent, pieces = column[1] + "    ", []
    for match in re.finditer(rf"^({indent}(?:    )?)([A-Z]\w+) \{{", column[0], re.MULTILINE):
        if match[1] == indent:
            pieces.append(match[2])
        elif pieces[-1] == "Repeater":
            pieces[-1] = match[2]
    return column.start(), [name for name in pieces if name not in ("Divider", "Line")]


def swap_sections(plan, file, text):
    """Swaps each section with the next. The column stacks its children in their order, so they are handed to it once
    more in another."""
    start, pieces = section_blocks(text)
    orders = []
    for first, second in zip(pieces, pieces[1:]):
        number = plan.add(file, "Column", f"{first} after {second}")
        orders.append(f'{number}: ["{first}", "{second}"]')
    code = f"""
            Component.onCompleted: {{
                const swapped = ({{{', '.join(orders)}}})[Theme.mutant];
                if (swapped) {{
                    const all = [];
                    for (let i = 0; i < children.length; ++i) {{
                        all.push(children[i]);
                    }}
                    const at = swapped.map(type => all.findIndex(one => String(one).startsWith(type + "_")));
                    if (at[0] >= 0 && at[1] >= 0) {{
                        const first = all[at[0]];
                        all[at[0]] = all[at[1]];
                        all[at[1]] = first;
                        for (const one of all) {{
                            one.parent = null;
                            one.parent = column;
                        }}
                    }}
                }}
            }}"""
    brace = text.index("id: column", start) + len("id: column")
    return text[:brace] + code + text[brace:]


def plan(source, found):
    """The files of src/ui that have mutants, with these in."""
    read = {str(path.relative_to(source)): path.read_text(encoding="utf-8")
            for path in sorted(source.glob("src/ui/*/*"))}
    for path in (*source.glob("tests/ui/*/*.cpp"), *source.glob("tests/ui/*/*.h"), *source.glob("src/ui/*/*.cpp")):
        read[str(path.relative_to(source))] = made_from_constants(path.read_text(encoding="utf-8"))
    symbols = re.findall(r'QLatin1String\("([\w.]+)"\)', read[VIEWS + "symbols.cpp"])
    fonts = [name[0].lower() + name[1:] for name in re.findall(r"FontStyle k(\w+)", read[CONTENT + "popover_fonts.h"])]
    symbol = replace_each(r'"[\w.]+"', quoted(next_of(symbols)), CPP)
    views = [replace_each(r'"\w+"', quoted(next_of(INKS)), QML),
             replace_each(r'"[\w.]+"', quoted(next_of(symbols)), QML),
             theme_fonts(fonts),
             replace_each(r"Inks\.(texts|fills)(?=\.of)",
                          lambda it: ["Inks.fills" if "texts" in it else "Inks.texts"], QML), *PLACES]
    changed = {file: text for file, text in read.items() if file.startswith("tests/")}
    for file, text in read.items():
        if file == CONTENT + "popover_fonts.h":
            changed[file] = found.break_file(file, text, FONTS, in_place_of_constants(text))
        elif file == CONTENT + "popover_sizes.h":
            changed[file] = found.break_file(file, text, SIZES, in_place_of_constants(text))
        elif file == CONTENT + "spark.h":
            changed[file] = found.break_file(file, text, SIZES, in_place_of_constants(text))
        elif file in (CONTENT + "palette.cpp", CONTENT + "ink_colours.cpp"):
            changed[file] = found.break_file(file, text, PALETTE)
        elif file == CONTENT + "action_sections.cpp":
            changed[file] = found.break_file(file, text, [symbol, INK, TEXTS])
        elif file.startswith(CONTENT) and file.endswith(".cpp"):
            changed[file] = found.break_file(file, text, [symbol, INK])
        elif file.startswith(VIEWS) and file.endswith(".cpp"):
            changed[file] = found.break_file(file, text, STROKES)
        elif file.endswith(".qml") and "import Korvel" in text:
            changed[file] = found.break_file(file, text, views)
            if file.endswith("/ScrolledSections.qml"):
                changed[file] = swap_sections(found, file, changed[file])
        elif file == VIEWS + "theme.h":
            changed[file] = text.replace("    Q_PROPERTY(", "    Q_PROPERTY(int mutant READ mutant CONSTANT FINAL)\n"
                                         "    Q_PROPERTY(", 1).replace(
                "  public:\n", "  public:\n    int mutant() const { return korvel::mutant(); }\n", 1)
    return changed


def theme_fonts(fonts):
    """Another font of the theme at each place."""
    def rule(text):
        for match in re.finditer(r"Theme\.(\w+)\b", text):
            for other in next_of(fonts)(match[1]):
                yield Place(match.start(), match.end(), [f"Theme.{other}"], QML)

    return rule


def pictures_test(source, drawer):
    """The comparison of pictures, that ends at the first difference."""
    sys.path.insert(0, str(source / "tests/ui/pictures"))
    import pictures

    tree = pictures.Tree(source)
    reason = pictures.why_not_compared()
    if reason:
        raise SystemExit(f"no pictures are compared here: {reason}")

    def passes(mutant, folder):
        for name in tree.scenes():
            try:
                drawn = pictures.draw(tree, drawer, name, SCALE, folder, mutant)
            except SystemExit:
                return False
            for colour, path in drawn.items():
                reference = tree.reference(pictures.Picture(name, SCALE, colour))
                differs = pictures.difference(pictures.read(reference), pictures.read(path))
                path.unlink()
                if differs:
                    return False
        return True

    return Test("pictures", passes)


def tests(source, folder):
    programs = folder / "bin"
    return [
        program_test("content_test", [programs / "content_test", "--gtest_fail_fast"], made_of=CONTENT),
        pictures_test(source, programs / "korvel-pictures"),
        program_test("quick_test", [programs / "quick_test", "--gtest_fail_fast"]),
        program_test("view_test", [programs / "view_test", "-import", "qrc:/qt/qml"],
                     environment={"QT_QPA_PLATFORM": "offscreen", "QT_QUICK_BACKEND": "software"}.items()),
    ]
