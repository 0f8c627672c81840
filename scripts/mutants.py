"""Places of a source where a mutant can stand, and the text of a source with mutants in it.

A mutant is a small change of the code: it is compiled beside the original and chosen when the program runs, by its
number (kv_mutant in the header that scripts/mutate writes). What must be constant when it is compiled holds no place:
constexpr, static_assert, case labels, template arguments, the lines of the preprocessor.

The names of the kinds are those that scripts/mutants_equal uses.
"""
import dataclasses
import re

from clang import cindex
from clang.cindex import CursorKind as Kind

BOUNDARY = {"<": "<=", "<=": "<", ">": ">=", ">=": ">"}
OPPOSITE = {"==": "!=", "!=": "==", "&&": "||", "||": "&&", "+": "-", "-": "+", "&": "|", "|": "&"}
KIND_OF_OPERATOR = {**dict.fromkeys(BOUNDARY, "boundary"), "==": "equality", "!=": "equality", "&&": "and-or",
                    "||": "and-or", "+": "plus-minus", "-": "plus-minus", "&": "bits", "|": "bits"}
FUNCTIONS = (Kind.FUNCTION_DECL, Kind.CXX_METHOD, Kind.CONSTRUCTOR, Kind.DESTRUCTOR, Kind.FUNCTION_TEMPLATE,
             Kind.CONVERSION_FUNCTION)
ACTIONS = (Kind.CALL_EXPR, Kind.BINARY_OPERATOR, Kind.COMPOUND_ASSIGNMENT_OPERATOR, Kind.CXX_DELETE_EXPR)
NUMBER = re.compile(r"(0[xX][0-9a-fA-F]+|\d+)[uUlL]*")
NAME = re.compile(r"[A-Za-z_]\w*")
# The rows of a list get the number of their line behind this one.
FIRST_ROW = 1000000


@dataclasses.dataclass
class Place:
    """The bytes from start to end of a file, and what stands there instead: texts and (start, end) of pieces that stay,
    which may hold places of their own. "@" in a text is the place's number."""
    file: str
    start: int
    end: int
    kind: str
    parts: list
    line: int = 0
    text: str = ""  # with a number where the line has it before, too
    line_text: str = ""
    number: int = 0

    def key(self):
        return (self.file, self.start, self.end, self.kind)


class Finder:
    """Collects the places of the files below one folder that a translation unit shows."""

    def __init__(self, root, room):
        self.prefix = f"{root}/{room}/"
        self.root = root
        self.sources, self.found = {}, {}

    def source(self, file):
        if file not in self.sources:
            with open(f"{self.root}/{file}", "rb") as stream:
                self.sources[file] = stream.read()
        return self.sources[file]

    def add(self, cursor_range, kind, parts):
        file, start, end = cursor_range
        # What an expanded row holds has no place of its own there.
        if file.endswith(".def") and kind != "row":
            return
        source = self.source(file)
        begin = source.rfind(b"\n", 0, start) + 1
        line_text = source[begin:source.find(b"\n", start)].decode().strip()
        if line_text.startswith("#"):
            return
        text = " ".join(source[start:end].decode().split())
        before = source[begin:start].decode().count(text)
        place = Place(file, start, end, kind, parts, source.count(b"\n", 0, start) + 1,
                      f"{text} ({before + 1})" if before else text, line_text)
        self.found.setdefault(place.key(), place)

    def range_of(self, cursor):
        extent = cursor.extent
        if extent.start.file is None or not extent.start.file.name.startswith(self.prefix):
            return None
        if extent.end.file is None or extent.end.file.name != extent.start.file.name:
            return None
        return extent.start.file.name[len(self.root) + 1:], extent.start.offset, extent.end.offset

    def text(self, place):
        return self.source(place[0])[place[1]:place[2]].decode()

    def visit(self, cursor):
        for child in cursor.get_children():
            if child.location.file is not None and child.location.file.name.startswith(self.prefix):
                self.visit_declaration(child)

    def visit_declaration(self, cursor):
        if cursor.kind in (Kind.STATIC_ASSERT, Kind.ENUM_DECL, Kind.TYPE_ALIAS_DECL):
            return
        if cursor.kind in FUNCTIONS or cursor.kind in (Kind.VAR_DECL, Kind.FIELD_DECL):
            whole = self.range_of(cursor)
            if whole is None or re.search(r"\b(constexpr|consteval)\b", self.text(whole).split("{")[0].split("=")[0]):
                return
            for child in cursor.get_children():
                if child.kind not in (Kind.PARM_DECL, Kind.TYPE_REF, Kind.TEMPLATE_REF):
                    self.visit_code(child)
            return
        self.visit(cursor)

    def visit_code(self, cursor):
        if cursor.kind in (Kind.STATIC_ASSERT, Kind.ENUM_DECL, Kind.CLASS_DECL, Kind.STRUCT_DECL, Kind.PARM_DECL):
            return
        if cursor.kind == Kind.VAR_DECL:
            self.visit_declaration(cursor)
            return
        children = list(cursor.get_children())
        if cursor.kind in (Kind.CASE_STMT, Kind.SWITCH_STMT):
            children = children[1:]
        place = self.range_of(cursor)
        if place is not None:
            self.look_at(cursor, children, place)
        for child in children:
            self.visit_code(child)

    def look_at(self, cursor, children, place):
        kind = cursor.kind
        if kind == Kind.BINARY_OPERATOR and len(children) == 2:
            self.operator(children, place)
        elif kind == Kind.UNARY_OPERATOR and self.text(place).startswith("!"):
            self.add(place, "negation", ["(kv_mutant(@) != (!", (place[1] + 1, place[2]), "))"])
        elif kind in (Kind.INTEGER_LITERAL, Kind.CHARACTER_LITERAL, Kind.CXX_BOOL_LITERAL_EXPR, Kind.STRING_LITERAL,
                      Kind.DECL_REF_EXPR):
            self.constant(cursor, place)
        elif kind == Kind.IF_STMT:
            self.condition(children[0], (True, False))
        elif kind == Kind.CONDITIONAL_OPERATOR:
            self.condition(children[0], (True, False))
        elif kind == Kind.WHILE_STMT:
            self.condition(children[0], (False,))
        if kind == Kind.COMPOUND_STMT:
            self.statements(children)
        elif kind in (Kind.IF_STMT, Kind.FOR_STMT, Kind.WHILE_STMT):
            for child in children[1:] if kind == Kind.IF_STMT else children[-1:]:
                self.statements([child])

    def operator(self, children, place):
        left, right = self.range_of(children[0]), self.range_of(children[1])
        if left is None or right is None or left[1] != place[1] or right[2] != place[2] or left[2] > right[1]:
            return
        sign = self.source(place[0])[left[2]:right[1]].decode().strip()
        other = BOUNDARY.get(sign) or OPPOSITE.get(sign)
        if other is None:
            return
        first, second = left[1:], right[1:]
        self.add(place, KIND_OF_OPERATOR[sign], ["(kv_mutant(@) ? ((", first, f") {other} (", second, ")) : ((", first,
                                                 f") {sign} (", second, ")))"])

    def constant(self, cursor, place):
        text, whole = self.text(place), place[1:]
        if cursor.kind == Kind.DECL_REF_EXPR:
            target = cursor.referenced
            is_named = target is not None and target.kind == Kind.VAR_DECL and NAME.fullmatch(text) and \
                "const" in target.type.spelling and \
                target.type.get_canonical().kind in (cindex.TypeKind.INT, cindex.TypeKind.UINT, cindex.TypeKind.ULONG,
                                                     cindex.TypeKind.LONG, cindex.TypeKind.USHORT) and \
                target.semantic_parent.kind in (Kind.NAMESPACE, Kind.TRANSLATION_UNIT)
            if is_named:
                self.plus_one(place, "constant")
        elif text in ("TRUE", "FALSE", "true", "false"):
            self.add(place, "truth", ["(kv_mutant(@) != ", whole, ")"])
        elif cursor.kind == Kind.STRING_LITERAL and text.startswith('"') and text != '""':
            self.add(place, "text", ['(kv_mutant(@) ? "" : ', whole, ")"])
        elif cursor.kind == Kind.INTEGER_LITERAL and NAME.fullmatch(text) and text.upper() == text and \
                not text.startswith("__ATOMIC"):
            self.plus_one(place, "code")
        elif NUMBER.fullmatch(text) or (text.startswith("'") and cursor.kind == Kind.CHARACTER_LITERAL):
            self.plus_one(place, "constant")

    def plus_one(self, place, kind):
        whole = place[1:]
        self.add(place, kind, ["static_cast<std::remove_cv_t<decltype(", whole, ")>>(", whole, " + kv_mutant(@))"])

    def condition(self, cursor, values):
        place = self.range_of(cursor)
        if place is None or cursor.kind == Kind.VAR_DECL:
            return
        if True in values:
            self.add(place, "always", ["(kv_mutant(@) || (", place[1:], "))"])
        if False in values:
            self.add(place, "never", ["(!kv_mutant(@) && (", place[1:], "))"])

    def statements(self, cursors):
        before = None
        for cursor in cursors:
            action = self.range_of(cursor) if self.is_action(cursor) else None
            if action is not None:
                self.add(action, "removed", ["(kv_mutant(@) ? (void)0 : (void)(", action[1:], "))"])
            call = action if self.is_call(cursor) else None
            if call is not None and before is not None:
                first, second = before[1:], call[1:]
                self.add((call[0], before[1], call[2]), "swapped", ["if (kv_mutant(@)) { ", second, "; ", first,
                                                                   "; } else { ", first, "; ", second, "; }"])
            before = call

    def is_call(self, cursor):
        """A call by name: the order of assignments, which may be operators of a class, is seldom seen from outside."""
        place = self.range_of(cursor)
        return cursor.kind == Kind.CALL_EXPR and place is not None and self.text(place).endswith(")")

    def is_action(self, cursor):
        if cursor.kind == Kind.UNEXPOSED_EXPR:
            children = list(cursor.get_children())
            return len(children) == 1 and self.is_action(children[0])
        if cursor.kind == Kind.UNARY_OPERATOR:
            place = self.range_of(cursor)
            return place is not None and ("++" in self.text(place) or "--" in self.text(place))
        return cursor.kind in ACTIONS


def actions_of_grammar(finder, file):
    """The actions of a grammar, each a place of its own."""
    source = finder.source(file).decode()
    rules = source.index("%%")
    for match in re.finditer(r"\{ ((?:\$\$ = |read\.)[^{}]*?;)(?: YYACCEPT;)? \}", source[rules:]):
        start, end = rules + match.start(1), rules + match.end(1)
        finder.add((file, start, end), "removed", ["if (!kv_mutant(@)) { ", (start, end), " }"])


def rows_of_list(finder, file, header):
    """The rows of a list whose macros are conditions of one long "&&": a row that is left out counts as done."""
    source = finder.source(file).decode()
    macros = re.findall(r"^#define (\w+)\([^)]*\) .* &&$", finder.source(header).decode(), re.MULTILINE)
    for match in re.finditer(rf"^\s*((?:{'|'.join(macros)})\(.*\))$", source, re.MULTILINE):
        finder.add((file, match.start(1), match.end(1)), "row", [match[1]])


def with_rows(text):
    """The header of such a list, with a question for each row."""
    return re.sub(r"^(#define \w+\([^)]*\)) (.*) &&$", rf"\1 (kv_mutant({FIRST_ROW} + __LINE__) || (\2)) &&", text,
                  flags=re.MULTILINE)


def crosses(one, other):
    """Whether two places overlap and neither holds the other, or both are the same bytes."""
    if one.file != other.file or one.end <= other.start or other.end <= one.start:
        return False
    holds = one.start <= other.start and other.end <= one.end or other.start <= one.start and one.end <= other.end
    return not holds


def rendered(source, places):
    """The source with every one of the places in it."""
    # Of two that are the same bytes, the one that keeps them in one piece holds the other.
    ordered = sorted(places, key=lambda place: (place.start, -place.end, (place.start, place.end) not in place.parts))

    def piece(start, end, inside):
        out, at = [], start
        while inside:
            place, inside = inside[0], inside[1:]
            held = [other for other in inside if other.start >= place.start and other.end <= place.end]
            inside = inside[len(held):]
            out.append(source[at:place.start].decode())
            for part in place.parts:
                if isinstance(part, str):
                    out.append(part.replace("@", str(place.number)))
                else:
                    out.append(piece(*part, [other for other in held if part[0] <= other.start and other.end <= part[1]]))
            at = place.end
        out.append(source[at:end].decode())
        return "".join(out)

    return piece(0, len(source), ordered)
