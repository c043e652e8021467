"""Finds the places of a C++ file that can be broken, with libclang, and writes the file with all of them in.

A mutant is one of: another comparison or operator, a condition that is turned round or left out, another constant, a
statement that is left out, two neighbours in the other order, a value returned that is made of nothing, a function that
returns at once. What a compiler needs to know (case labels, sizes, static_assert, formats) cannot be chosen when the
program runs: formats are broken with the call that has them, constants are made variables, and the rest is left as it
is.
"""

import bisect
import re

import clang.cindex
from clang.cindex import CursorKind as Kind

CHOSEN = "::korvel::mutant({})"
OTHER = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "+": "-", "-": "+", "*": "/", "/": "*",
         "%": "/", "&&": "||", "||": "&&", "&": "|", "|": "&", "<<": ">>", ">>": "<<", "+=": "-=", "-=": "+=",
         "*=": "/=", "/=": "*=", "|=": "&=", "&=": "|=", "^": "|", "^=": "|="}
NOTHING = {"{}", "std::nullopt", "nullptr", "false", "0", "0.0", '""', "std::string()", "std::string{}"}
FUNCTIONS = {Kind.FUNCTION_DECL, Kind.CXX_METHOD, Kind.CONSTRUCTOR, Kind.DESTRUCTOR, Kind.FUNCTION_TEMPLATE,
             Kind.CONVERSION_FUNCTION, Kind.LAMBDA_EXPR}
BLOCKS = {Kind.IF_STMT, Kind.FOR_STMT, Kind.CXX_FOR_RANGE_STMT, Kind.WHILE_STMT, Kind.SWITCH_STMT, Kind.COMPOUND_STMT,
          Kind.CXX_TRY_STMT}
JUMPS = {Kind.RETURN_STMT, Kind.BREAK_STMT, Kind.CONTINUE_STMT}
UNCHANGED = {Kind.ENUM_DECL, Kind.STATIC_ASSERT, Kind.FRIEND_DECL, Kind.TYPE_ALIAS_DECL, Kind.TYPEDEF_DECL,
             Kind.CXX_UNARY_EXPR}


class Way:
    """One way to break a place: what it is called, the text that stands there then, and where in the file it is named
    after; None: where the place begins."""

    def __init__(self, label, text, at=None):
        self.label, self.text, self.at, self.compiles = label, text, at, True


class Edit:
    """A place, and how the choice between its text and the ways to break it is written. `rank` orders edits of the same
    text, the outer one first. `owner`: the declaration that has to become a variable for it."""

    EXPRESSION, CONDITION, STATEMENT, DROPPED, BLOCK, DECLARED, PREPARED = range(7)

    def __init__(self, start, end, form, ways, rank=0, owner=None):
        self.start, self.end, self.form, self.ways, self.rank, self.owner = start, end, form, ways, rank, owner
        self.inner = []
        # Of one that makes a variable: who needs it, where the declaration is, and its name.
        self.owned, self.declared, self.name = [], None, ""

    def alive(self):
        return [way for way in self.ways if way.compiles]


class Source:
    """A file and its edits."""

    def __init__(self, name, text, unit):
        self.name, self.text = name, text
        self.lines = [0] + [match.end() for match in re.finditer("\n", text)]
        self.edits = []
        self.pieces, self.ends = [], []
        encoded = text.encode()
        # libclang counts bytes.
        self.at = list(range(len(text) + 1)) if len(encoded) == len(text) else _positions(text)
        _Walk(self, unit.cursor).walk()
        self.roots = _nested(self.edits)

    def line(self, offset):
        row = bisect.bisect_right(self.lines, offset) - 1
        return self.text[self.lines[row]:].split("\n", 1)[0]

    def written(self, plan=None):
        """The text with the mutants that compile; these are added to the plan."""
        self.pieces = []
        count = [0]

        def number(edit, way):
            count[0] += 1
            at = edit.start if way.at is None else way.at
            return plan.add(self.name, self.line(at), way.label) if plan else count[0]

        self._write(self.roots, 0, len(self.text), None, number)
        self.ends, total = [], 0
        for text, *_ in self.pieces:
            total += len(text)
            self.ends.append(total)
        return "".join(text for text, *_ in self.pieces)

    def _write(self, edits, start, end, owner, number):
        at = start
        for edit in edits:
            self.pieces.append((self.text[at:edit.start], owner, None, at))
            self._choice(edit, number)
            at = edit.end
        self.pieces.append((self.text[at:end], owner, None, at))

    def _choice(self, edit, number):
        def put(text, way=None):
            self.pieces.append((text, edit, way, None))

        def inside():
            self._write(edit.inner, edit.start, edit.end, edit, number)

        ways = edit.alive()
        if edit.form == Edit.PREPARED:
            put(edit.ways[0].text if any(other.alive() for other in edit.owned) else
                self.text[edit.start:edit.end])
            return
        if not ways:
            inside()
            return
        if edit.form in (Edit.EXPRESSION, Edit.CONDITION):
            for way in ways:
                put(f"({CHOSEN.format(number(edit, way))} ? ({way.text}) : ", way)
            put("static_cast<bool>(" if edit.form == Edit.CONDITION else "(")
            inside()
            put(")" * (len(ways) + 1))
        elif edit.form == Edit.DROPPED:
            put(f"if (!{CHOSEN.format(number(edit, ways[0]))}) {{ ", ways[0])
            inside()
            put(" }")
        elif edit.form == Edit.STATEMENT:  # another stands before it
            put("{ ")
            for way in ways:
                put(f"if ({CHOSEN.format(number(edit, way))}) {{ {way.text} }} ", way)
            inside()
            put(" }")
        elif edit.form == Edit.BLOCK:
            for way in ways:
                put(f" if ({CHOSEN.format(number(edit, way))}) {{ {way.text} }} else", way)
            put(" {")
            inside()
            put("}")
        elif edit.form == Edit.DECLARED:  # after the declaration in a condition
            inside()
            put(f"; !{CHOSEN.format(number(edit, ways[0]))} && static_cast<bool>({ways[0].text})", ways[0])

    def ways_at(self, line, column):
        """What stands at this place of the written text: a mutant's own text as a list of that way, the ways of the
        constants that are declared there, those of the edit that it is in. Columns are bytes."""
        rows = "".join(text for text, *_ in self.pieces).split("\n")
        row = rows[line - 1].encode()[:column - 1].decode(errors="replace")
        offset = sum(len(before) + 1 for before in rows[:line - 1]) + len(row)
        piece = min(bisect.bisect_right(self.ends, offset), len(self.pieces) - 1)
        text, edit, way, at = self.pieces[piece]
        declared = []
        if at is not None:
            at += offset - (self.ends[piece] - len(text))
            declared = [one for one in self.edits if one.declared and one.declared[0] <= at < one.declared[1]]
        return [way] if way else [], _owned(declared), edit.ways if edit else []

    def ways_of_constants(self, names):
        return _owned([edit for edit in self.edits if edit.name in names])


def _owned(edits):
    """The ways that make these constants variables."""
    return [way for edit in edits for one in edit.owned for way in one.ways]


def _positions(text):
    found = []
    for index, char in enumerate(text):
        found += [index] * len(char.encode())
    return found + [len(text)]


def _nested(edits):
    roots, open_ = [], []
    for edit in sorted(edits, key=lambda one: (one.start, -one.end, one.rank)):
        while open_ and open_[-1].end <= edit.start:
            open_.pop()
        if open_ and (edit.end > open_[-1].end or open_[-1].form == Edit.PREPARED):
            continue  # they overlap: the first has the place
        (open_[-1].inner if open_ else roots).append(edit)
        open_.append(edit)
    return roots


class _Walk:
    """Collects the edits of a file."""

    def __init__(self, source, top):
        self.source, self.text, self.top = source, source.text, top
        self.owner = None  # the constexpr declaration that is walked
        self.results = []  # the functions that are walked
        self.ends_switch = set()  # where the last statements of switches are: a break there does nothing

    def walk(self):
        for child in self.top.get_children():
            self.visit(child)

    def span(self, cursor):
        return self.source.at[cursor.extent.start.offset], self.source.at[cursor.extent.end.offset]

    def words(self, cursor):
        start, end = self.span(cursor)
        return self.text[start:end]

    def add(self, start, end, form, ways, rank=0):
        edit = Edit(start, end, form, ways, rank, self.owner)
        self.source.edits.append(edit)
        if self.owner:
            self.owner.owned.append(edit)

    def choice(self, cursor, *ways):
        start, end = self.span(cursor)
        self.add(start, end, Edit.EXPRESSION, [Way(label, text) for label, text in ways])

    def visit(self, cursor):
        kind, place = cursor.kind, cursor.extent.start.file
        if kind in UNCHANGED or place is None or place.name != self.top.spelling:
            return  # what is written elsewhere: a default, a macro
        if kind == Kind.CALL_EXPR and cursor.spelling == "reserve":
            return  # only the time would be another
        before = self.owner
        if kind in FUNCTIONS or kind in (Kind.VAR_DECL, Kind.FIELD_DECL):
            self.constant(cursor)
        if kind in FUNCTIONS:
            self.results.append(cursor)
            body = [child for child in cursor.get_children() if child.kind == Kind.COMPOUND_STMT]
            if body:
                self.early(body[-1])
        self.expression(cursor)
        children = list(cursor.get_children())
        if kind == Kind.SWITCH_STMT:
            last = children[-1]
            while last.kind in (Kind.COMPOUND_STMT, Kind.CASE_STMT, Kind.DEFAULT_STMT) and list(last.get_children()):
                last = list(last.get_children())[-1]
            self.ends_switch.add(self.span(last))
        if kind == Kind.COMPOUND_STMT:
            self.block(children)
        if kind in (Kind.CASE_STMT, Kind.DEFAULT_STMT):
            self.statement(children[-1])
            children = children[-1:]
        if kind == Kind.IF_STMT:
            self.condition_of(cursor, children)
        if kind == Kind.WHILE_STMT and children[0].kind not in (Kind.VAR_DECL, Kind.DECL_STMT):
            self.negated(*self.span(children[0]), children[0])
        if kind == Kind.CONDITIONAL_OPERATOR:
            self.negated(*self.span(children[0]), children[0])
        for child in children:
            self.visit(child)
        if kind in FUNCTIONS:
            self.results.pop()
        self.owner = before

    def constant(self, cursor):
        """What is constexpr becomes a variable, or a function as others."""
        start, end = self.span(cursor)
        body = [self.span(child)[0] for child in cursor.get_children() if child.kind == Kind.COMPOUND_STMT]
        found = re.compile(r"\bconstexpr\b").search(self.text, start, min(body + [end]))
        if not found or (cursor.kind == Kind.VAR_DECL and "=" in self.text[start:found.start()]):
            return
        if cursor.kind == Kind.LAMBDA_EXPR:
            return
        parent = cursor.semantic_parent.kind
        prefix = self.text[max(0, start - 20):found.start()]
        if parent in (Kind.STRUCT_DECL, Kind.CLASS_DECL, Kind.CLASS_TEMPLATE):
            instead = "inline"
        elif parent in (Kind.NAMESPACE, Kind.TRANSLATION_UNIT):
            in_header = self.source.name.endswith(".h")
            instead = "inline" if in_header and not re.search(r"\binline\s+$", prefix) else ""
        else:
            instead = "" if re.search(r"\bstatic\s+$", prefix) else "static"
        edit = Edit(found.start(), found.end(), Edit.PREPARED, [Way("", instead)])
        edit.declared, edit.name = (start, min(body + [end])), cursor.spelling
        self.source.edits.append(edit)
        self.owner = edit

    def expression(self, cursor):
        kind, words = cursor.kind, self.words(cursor)
        start, end = self.span(cursor)
        if kind in (Kind.BINARY_OPERATOR, Kind.COMPOUND_ASSIGNMENT_OPERATOR) or (
                kind == Kind.CALL_EXPR and re.fullmatch(r"operator\W+", cursor.spelling)):
            self.operator(cursor)
        elif kind == Kind.UNARY_OPERATOR:
            found = re.match(r"!|-(?![\d.-])|\+\+|--", words)
            if found and found[0] in "!-":
                other = f"static_cast<bool>({words[1:]})" if found[0] == "!" else words[1:]
                self.choice(cursor, (f"{' '.join(words.split())} without {found[0]}", other))
            elif found:
                other = {"++": "--", "--": "++"}[found[0]]
                self.choice(cursor, (f"{words} -> {other}", other + words[2:]))
        elif kind == Kind.INTEGER_LITERAL:
            found = re.fullmatch(r"(0[xX][\da-fA-F']+|[\d']+)([uUlLzZ]*)", words)
            if found:
                more = int(found[1].replace("'", ""), 0 if found[1][:2] in ("0x", "0X") else 10) + 1
                self.choice(cursor, (f"{words} -> {more}", f"{more}{found[2]}"))
        elif kind == Kind.FLOATING_LITERAL and re.match(r"[\d.]", words):
            value = float.fromhex(words) if words[:2] in ("0x", "0X") else float(words.rstrip("fFlL").replace("'", ""))
            more = "1.0" if value == 0 else f"{words} * 2" if value < 1 or value > 1e6 else f"{words} + 1"
            self.choice(cursor, (f"{words} -> {more}", more))
        elif kind == Kind.CXX_BOOL_LITERAL_EXPR and words in ("true", "false"):
            other = "false" if words == "true" else "true"
            self.choice(cursor, (f"{words} -> {other}", other))
        elif kind == Kind.CHARACTER_LITERAL and words.startswith("'"):
            other = "'!'" if words == "'?'" else "'?'"
            self.choice(cursor, (f"{words} -> {other}", other))
        elif kind == Kind.STRING_LITERAL and words.startswith('"') and words.endswith('"'):
            if not re.match(r"\w", self.text[end:end + 1]):
                self.choice(cursor, (f"{' '.join(words.split())} -> ?", words[:-1] + '?"'))
        elif kind == Kind.DECL_REF_EXPR and cursor.referenced and cursor.referenced.kind == Kind.ENUM_CONSTANT_DECL:
            names = [one.spelling for one in cursor.referenced.semantic_parent.get_children()
                     if one.kind == Kind.ENUM_CONSTANT_DECL]
            other = names[(names.index(cursor.spelling) + 1) % len(names)]
            if words.endswith(cursor.spelling) and other != cursor.spelling:
                self.choice(cursor, (f"{words} -> {other}", words[:-len(cursor.spelling)] + other))
        elif kind == Kind.CALL_EXPR and cursor.spelling in ("format", "format_to", "print"):
            found = re.compile(r'"(?:[^"\\]|\\.)*"(?!\s*")').search(self.text, start, end)
            if found:
                changed = self.text[start:found.end() - 1] + '?"' + self.text[found.end():end]
                self.choice(cursor, (f"{found[0]} -> ?", changed))

    def operator(self, cursor):
        spans = sorted({self.span(child) for child in cursor.get_children()})
        start, end = self.span(cursor)
        if len(spans) < 2 or spans[0][0] != start or spans[-1][1] != end:
            return
        (_, left), (right, _) = spans[0], spans[-1]
        between = re.sub(r"//.*", lambda match: " " * len(match[0]), self.text[left:right])
        found = re.fullmatch(r"([\s)]*)([^\s\w()\"']+)([\s(]*)", between)
        if not found or found[2] not in OTHER:
            return
        at, operator = left + found.start(2), found[2]
        ways = [(f"{operator} -> {OTHER[operator]}",
                 self.text[start:at] + OTHER[operator] + self.text[at + len(operator):end])]
        if operator in ("&&", "||"):
            ways += [(f"{operator}: left alone", f"static_cast<bool>({self.text[start:left]})"),
                     (f"{operator}: right alone", f"static_cast<bool>({self.text[right:end]})")]
        self.choice(cursor, *ways)

    def condition_of(self, cursor, children):
        start, end = self.span(cursor)
        at = self.text.index("(", start)
        if self.text[start:at].split() != ["if"]:
            return
        close = _closing(self.text, at)
        inside = [child for child in children if at < self.span(child)[0] < close]
        declared = [child for child in inside if child.kind == Kind.VAR_DECL]
        if not inside:
            return
        if declared and self.span(declared[-1])[1] == close:
            self.add(*self.span(declared[-1]), Edit.DECLARED, [Way("never", declared[-1].spelling)], -1)
        elif not declared and self.span(inside[-1])[1] == close:
            self.negated(*self.span(inside[-1]), inside[-1])

    def negated(self, start, end, cursor):
        text = self.text[start:end]
        if text.startswith("!") and not re.search(r"&&|\|\|", text):
            return  # is turned round by its own
        if re.search(r"[=!]=", text) and not re.search(r"&&|\|\||\?", text):
            return
        self.add(start, end, Edit.CONDITION, [Way("not", f"!({text})")], -1)

    def full(self, cursor):
        """A statement's text, with what ends it."""
        start, end = self.span(cursor)
        if cursor.kind not in BLOCKS and self.text[end - 1] != ";":
            end = self.text.index(";", end) + 1
        return start, end

    def statement(self, cursor, last=False):
        if cursor.kind in (Kind.DECL_STMT, Kind.NULL_STMT, Kind.CASE_STMT, Kind.DEFAULT_STMT, Kind.COMPOUND_STMT):
            return
        start, end = self.full(cursor)
        if cursor.kind == Kind.RETURN_STMT:
            self.returned(cursor, start, end)
        if last or (cursor.kind == Kind.BREAK_STMT and self.span(cursor) in self.ends_switch):
            return
        if cursor.kind == Kind.CALL_EXPR and cursor.spelling == "reserve":
            return
        self.add(start, end, Edit.DROPPED, [Way("left out", "")], -2)

    def returned(self, cursor, start, end):
        value = list(cursor.get_children())
        if not value:
            return
        text = self.words(value[0])
        if self.results[-1].kind == Kind.LAMBDA_EXPR:
            empty = f"return std::decay_t<decltype({text})>{{}};"
        elif self.results[-1].result_type.get_canonical().spelling == "bool" and text not in ("true", "false"):
            if not re.match(r"!?\(?\w+\)?$", text):
                self.add(start, end, Edit.STATEMENT, [Way("return false", "return false;"),
                                                      Way("return true", "return true;")], -3)
            return
        else:
            empty = "return {};"
        if text not in NOTHING and text not in ("true", "false"):
            self.add(start, end, Edit.STATEMENT, [Way("return {}", empty)], -3)

    def early(self, body):
        inside = list(body.get_children())
        function = self.results[-1]
        if len(inside) < 2 or function.kind in (Kind.CONSTRUCTOR, Kind.LAMBDA_EXPR):
            return
        void = function.result_type.get_canonical().spelling == "void" or function.kind == Kind.DESTRUCTOR
        self.add(self.full(inside[0])[0], self.full(inside[-1])[1], Edit.STATEMENT,
                 [Way("returns at once", "return;" if void else "return {};")], -9)

    def block(self, statements):
        """Each statement left out, and each two neighbours in the other order."""
        for index, one in enumerate(statements):
            self.statement(one, index == len(statements) - 1 and self.ends_function(one))
        statements = [one for one in statements if one.kind not in (Kind.CASE_STMT, Kind.DEFAULT_STMT)]
        for index in range(len(statements) - 1):
            first, second = statements[index:index + 2]
            if not self.in_order(first, second):
                continue
            (start, middle), (next_, end) = self.full(first), self.full(second)
            swapped = self.text[next_:end] + self.text[middle:next_] + self.text[start:middle]
            self.swaps(statements, first, second, swapped)

    def swaps(self, statements, first, second, swapped):
        (start, _), (_, end) = self.full(first), self.full(second)
        # All of the block, so that what is declared there is known to what follows.
        top, bottom = self.full(statements[0])[0], self.full(statements[-1])[1]
        text = self.text[top:start] + swapped + self.text[end:bottom]
        way = Way("after the next", text, start)
        block = next((edit for edit in self.source.edits
                      if edit.form == Edit.BLOCK and (edit.start, edit.end) == (top, bottom)), None)
        if block:
            block.ways.append(way)
        else:
            self.add(top, bottom, Edit.BLOCK, [way], -5)

    def in_order(self, first, second):
        """Whether their order can matter: both do something, and neither goes elsewhere."""
        if first.kind in JUMPS or second.kind in JUMPS:
            return False
        if Kind.DECL_STMT in (first.kind, second.kind) and (first.kind == second.kind or self.leaves(first)):
            return False  # what is declared behind the question whether to go on mostly reads
        return all(self.does_something(one) for one in (first, second))

    @staticmethod
    def leaves(statement):
        return statement.kind == Kind.IF_STMT and any(one.kind in JUMPS for one in statement.walk_preorder())

    @staticmethod
    def does_something(statement):
        for one in statement.walk_preorder():
            if one.kind == Kind.CALL_EXPR and one.spelling == "reserve":
                return False
            if one.kind == Kind.CALL_EXPR and one.spelling and not one.spelling.startswith("operator") and \
                    one.referenced is not None and one.referenced.kind != Kind.CONSTRUCTOR and \
                    not one.referenced.is_const_method():
                return True
            if one.kind == Kind.CALL_EXPR and one.spelling == "operator=" and statement.kind != Kind.DECL_STMT:
                return True
            if one.kind == Kind.RETURN_STMT:
                return True
        return False

    def ends_function(self, statement):
        """Without it the function would end and give nothing."""
        if not self.results or statement.kind != Kind.RETURN_STMT:
            return False
        return bool(list(statement.get_children()))


def _closing(text, at):
    """Where the bracket closes that opens here."""
    depth = 0
    for match in re.compile(r'"(?:[^"\\]|\\.)*"|\'(?:[^\'\\]|\\.)+\'|[()]').finditer(text, at):
        depth += {"(": 1, ")": -1}.get(match[0], 0)
        if depth == 0:
            return match.start()
    raise ValueError("a bracket is not closed")


def parse(name, text, arguments):
    """What libclang reads in a file of this text."""
    return clang.cindex.Index.create().parse(name, arguments, [(name, text)])
