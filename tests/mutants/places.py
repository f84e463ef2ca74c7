"""Where a source can be changed, and into what.

A mutant is one small change of one source: an operator, a constant, a condition, a statement left
out, two statements in the other order, a row of a table. The places come from clang's syntax tree,
so that nothing in a comment, an include or a static_assert is touched. What does not compile
afterwards is the caller's to find out.

Nothing is written here. A mutant is known by what it changes (file, function, the lines before and
after), not by a line number, so that it stays the same while the file grows above it.
"""

import dataclasses
import hashlib
import random
import re

from clang import cindex
from clang.cindex import CursorKind, TokenKind

FLAGS = ["-x", "c++", "-std=c++20", "-I."]

OPERATORS = {
    "<": ["<=", ">="], ">": [">=", "<="], "<=": ["<", ">"], ">=": [">", "<"],
    "==": ["!="], "!=": ["=="],
    "+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["/"],
    "&&": ["||"], "||": ["&&"],
    "&": ["|"], "|": ["&"], "^": ["|"], "<<": [">>"], ">>": ["<<"],
    "+=": ["-="], "-=": ["+="], "*=": ["+="], "|=": ["="], "&=": ["="],
    "<<=": [">>="], ">>=": ["<<="],
}
UNARY = {"!": [""], "++": ["--"], "--": ["++"], "-": [""], "~": [""]}
OPERATION_KINDS = {CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR}
CONDITION_OF = {CursorKind.IF_STMT, CursorKind.WHILE_STMT, CursorKind.CONDITIONAL_OPERATOR}
ACTIONS = {CursorKind.CALL_EXPR, CursorKind.BINARY_OPERATOR, CursorKind.UNARY_OPERATOR,
           CursorKind.COMPOUND_ASSIGNMENT_OPERATOR, CursorKind.UNEXPOSED_EXPR}
JUMPS = {CursorKind.RETURN_STMT, CursorKind.BREAK_STMT, CursorKind.CONTINUE_STMT}
FUNCTIONS = {CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.CONSTRUCTOR,
             CursorKind.DESTRUCTOR, CursorKind.FUNCTION_TEMPLATE}


@dataclasses.dataclass(frozen=True)
class Mutant:
    """The text [start, end) of `path` becomes `text`. `before` and `after` are whole lines."""
    path: str
    line: int
    function: str
    kind: str
    start: int
    end: int
    text: str
    before: str
    after: str

    @property
    def key(self):
        content = "\0".join([self.path, self.function, self.before, self.after])
        return hashlib.sha256(content.encode()).hexdigest()[:12]

    def apply(self, source):
        return source[:self.start] + self.text + source[self.end:]

    def fits(self, source):
        return (lines_of(source, self.start, self.end) == self.before and
                lines_of(source, self.start, self.end, self.text) == self.after)


def squeezed(text):
    """Lines without their indentation and without empty ones."""
    return "\n".join(line.strip() for line in text.split("\n") if line.strip())


def lines_of(source, start, end, text=None):
    """The whole lines around [start, end), with `text` in its place where one is given."""
    first = source.rfind("\n", 0, start) + 1
    last = source.find("\n", end)
    last = len(source) if last < 0 else last
    return squeezed(source[first:start] + (source[start:end] if text is None else text) +
                    source[end:last])


class Finder:
    """Collects the mutants of one file. Sources are ASCII: an offset is the same in bytes."""

    def __init__(self, path, source):
        self.path = path
        self.source = source
        self.found = {}
        self.unit = cindex.Index.create().parse(path, args=FLAGS, unsaved_files=[(path, source)])
        errors = [d for d in self.unit.diagnostics if d.severity >= cindex.Diagnostic.Error]
        if errors:
            raise ValueError(f"{path}: {errors[0]}")

    def add(self, kind, start, end, text, function):
        before = lines_of(self.source, start, end)
        after = lines_of(self.source, start, end, text)
        if before == after:
            return
        mutant = Mutant(self.path, self.source.count("\n", 0, start) + 1, function, kind, start, end, text,
                        before, after)
        self.found.setdefault(mutant.key, mutant)

    def find(self):
        asserted = []
        functions = []
        for cursor in self.unit.cursor.get_children():
            if cursor.location.file and cursor.location.file.name == self.path:
                self.walk(cursor, "", asserted, functions)

        def inside(offset, ranges):
            return any(start <= offset < end for start, end, *_ in ranges)

        def function_at(offset):
            return next((name for start, end, name in functions if start <= offset < end), "")

        tokens = list(self.unit.get_tokens(extent=self.unit.cursor.extent))
        for before, token in zip([None] + tokens, tokens):
            offset = token.extent.start.offset
            if not inside(offset, asserted):
                self.token(token, before, function_at(offset))
        return list(self.found.values())

    def walk(self, cursor, function, asserted, functions):
        if cursor.kind == CursorKind.STATIC_ASSERT:
            asserted.append((cursor.extent.start.offset, cursor.extent.end.offset))
            return
        if cursor.kind in FUNCTIONS and cursor.is_definition():
            function = cursor.spelling
            functions.insert(0, (cursor.extent.start.offset, cursor.extent.end.offset, function))
        children = list(cursor.get_children())
        if cursor.kind in CONDITION_OF:
            self.condition(cursor, children, function)
        elif cursor.kind == CursorKind.COMPOUND_STMT:
            self.statements(children, function)
        elif cursor.kind == CursorKind.INIT_LIST_EXPR:
            self.rows(children, function)
        for child in children:
            self.walk(child, function, asserted, functions)

    # --- What the tree shows

    def text_of(self, cursor):
        return self.source[cursor.extent.start.offset:cursor.extent.end.offset]

    def condition(self, cursor, children, function):
        tested = next((c for c in children if c.kind.is_expression()), None)
        if tested is None or children[0].kind == CursorKind.DECL_STMT:
            return
        start, end = tested.extent.start.offset, tested.extent.end.offset
        self.add("negated condition", start, end, f"!({self.source[start:end]})", function)

    def statements(self, children, function):
        """Statements of a block: left out, or two calls in the other order."""
        for index, statement in enumerate(children):
            start, end = statement.extent.start.offset, self.past_semicolon(statement)
            if end is None:
                continue
            is_last = index + 1 == len(children)
            if statement.kind in ACTIONS or statement.kind in JUMPS and not (
                    is_last and self.is_body_end(end)):
                self.add("dropped statement", start, end, "", function)
            if is_last or not self.is_call(statement) or not self.is_call(children[index + 1]):
                continue
            after_start, after_end = (children[index + 1].extent.start.offset,
                                      self.past_semicolon(children[index + 1]))
            if after_end is not None:
                text = (self.source[after_start:after_end] + self.source[end:after_start] +
                        self.source[start:end])
                self.add("swapped calls", start, after_end, text, function)

    @staticmethod
    def is_call(statement):
        """Two assignments may stand in either order, two calls seldom."""
        return statement.kind == CursorKind.CALL_EXPR and statement.spelling != "operator="

    def is_body_end(self, end):
        """Whether only the closing brace of an unindented function follows."""
        return self.source[end:end + 2] == "\n}"

    def past_semicolon(self, statement):
        match = re.compile(r"\s*;").match(self.source, statement.extent.end.offset)
        return match.end() if match else None

    def rows(self, children, function):
        """Rows of a table, which are rows because each is a list or an object itself."""
        rows = [c for c in children if self.text_of(c).endswith("}")]
        if len(rows) < 2 or len(rows) != len(children):
            return
        for row, after in zip(rows, rows[1:]):
            start, end = row.extent.start.offset, after.extent.end.offset
            between = self.source[row.extent.end.offset:after.extent.start.offset]
            self.add("swapped rows", start, end,
                     self.text_of(after) + between + self.text_of(row), function)
            self.add("dropped row", start, after.extent.start.offset, "", function)

    # --- What single words show

    def token(self, token, before, function):
        cursor, text = token.cursor, token.spelling
        start, end = token.extent.start.offset, token.extent.end.offset
        texts, kind = [], "operator"
        if token.kind == TokenKind.PUNCTUATION:
            if cursor.kind in OPERATION_KINDS:
                texts = OPERATORS.get(text, [])
            elif cursor.kind == CursorKind.UNARY_OPERATOR:
                texts = UNARY.get(text, [])
            elif cursor.kind in (CursorKind.DECL_REF_EXPR, CursorKind.CALL_EXPR) and \
                    cursor.spelling == "operator" + text:
                texts = OPERATORS.get(text, [])
        elif token.kind == TokenKind.LITERAL:
            kind = "constant"
            texts = self.literals(cursor, text)
        elif cursor.kind == CursorKind.CXX_BOOL_LITERAL_EXPR:
            kind, texts = "constant", ["false" if text == "true" else "true"]
        elif cursor.kind == CursorKind.DECL_REF_EXPR and token.kind == TokenKind.IDENTIFIER:
            kind = "other enumerator"
            texts = self.other_enumerators(cursor, text)
        for other in texts:
            self.add(kind, start, end, other, function)

    def literals(self, cursor, text):
        if cursor.kind == CursorKind.INTEGER_LITERAL:
            return self.integers(text) if not self.path.endswith(".h") or \
                not self.sizes_a_type(cursor) else []
        if cursor.kind == CursorKind.CHARACTER_LITERAL:
            return [self.other_character(text[:-1], len(text) - 2) + "'"]
        if cursor.kind == CursorKind.STRING_LITERAL:
            places = [i for i in range(1, len(text) - 1)
                      if text[i].isalnum() and text[i - 1] not in "\\%" or text[i] in " /_-:."]
            if not places:
                return ['"x"'] if text == '""' else []
            # The same text changes at the same place in every run.
            place = random.Random(text).choice(places)
            return [self.other_character(text, place)]
        return []

    @staticmethod
    def integers(text):
        digits = re.fullmatch(r"(0[xX][0-9a-fA-F]+|\d+)([uUlLzZ]*)", text)
        if not digits:
            return []
        value = int(digits[1], 0 if digits[1][:2].lower() == "0x" else
                    8 if digits[1].startswith("0") and digits[1] != "0" else 10)
        others = {value + 1, value - 1, 0} - {value}
        return [f"{other}{digits[2]}" for other in sorted(others) if other >= 0]

    def sizes_a_type(self, cursor):
        """Sources and their tests must agree on a header's sizes, so those are left alone."""
        line = self.source.split("\n")[cursor.location.line - 1]
        return "size_t" in line or "std::array<" in line

    @staticmethod
    def other_character(text, place):
        old = text[place]
        new = {"9": "8", "z": "y", "Z": "Y", "x": "y"}.get(old)
        if new is None:
            new = chr(ord(old) + 1) if old.isalnum() else "x"
        if text[place - 1] == "\\":
            place, new = place - 1, "x"
            return text[:place] + new + text[place + 2:]
        return text[:place] + new + text[place + 1:]

    @staticmethod
    def other_enumerators(cursor, text):
        value = cursor.referenced
        if value is None or value.kind != CursorKind.ENUM_CONSTANT_DECL or value.spelling != text:
            return []
        names = [c.spelling for c in value.semantic_parent.get_children()]
        place = names.index(text)
        return [names[(place + 1) % len(names)]] if len(names) > 1 else []


def find(path, source):
    """All mutants of one source."""
    return Finder(path, source).find()


def choose(mutants, count, seed):
    """`count` of them, one a line before any line gives a second; the first ones of a larger count
    are those of a smaller one. On a line every kind of change is as likely."""
    order = random.Random(seed)
    lines = {}
    for mutant in sorted(mutants, key=lambda m: (m.path, m.start, m.end, m.text)):
        lines.setdefault((mutant.path, mutant.line), []).append(mutant)
    chosen = []
    while lines and len(chosen) < count:
        names = sorted(lines)
        order.shuffle(names)
        for name in names:
            left = lines[name]
            kind = order.choice(sorted({mutant.kind for mutant in left}))
            mutant = order.choice([m for m in left if m.kind == kind])
            left.remove(mutant)
            if not left:
                del lines[name]
            chosen.append(mutant)
    return chosen[:count]
