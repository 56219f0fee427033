"""The changes: what each operator of docs/testing.md makes of a source."""

import itertools
import json
import pathlib
import re
import shlex

from clang.cindex import CursorKind as Kind

from . import tree


class Mutant:
    """A source with `replacement` in the place of text[start:end]."""

    def __init__(self, source, operator, start, end, replacement):
        text = source.text
        line_start, line_end = text.rfind("\n", 0, start) + 1, text.find("\n", end)
        self.source = source
        self.operator = operator
        self.function = source.function_at(start)
        self.text = text[:start] + replacement + text[end:]
        self.before = on_one_line(text[line_start:line_end])
        self.after = on_one_line(text[line_start:start] + replacement + text[end:line_end])
        self.title = f"{source.name}:{text.count(chr(10), 0, start) + 1} {self.function} [{operator}]"
        # What a listed survivor is found again by, whatever its line is by then.
        self.key = source.name, self.function, self.before, self.after


def on_one_line(text):
    return " ".join(text.split()).encode("latin-1").decode()


# Each rule yields (operator, start, end, replacement).

# ---- Literals

IN_LOG = re.compile(r"\b(ZUV_LOG|ZUV_LOG_AS|cspDebugOutput0|printf)\([^;{}]*$")
NUMBER = re.compile(r"(0[xX][\da-fA-F]+|\d+(?:\.\d*)?(?:[eE][+-]?\d+)?)(\w*)")


def literals(source):
    for start, end in source.literals:
        text = source.text[start:end]
        if text in ("true", "false"):
            yield "bool", start, end, "false" if text == "true" else "true"
        elif text[0] == '"':
            statement = source.text.rfind(";", 0, start)
            operator = "log text" if IN_LOG.search(source.text[statement + 1 : start]) else "string"
            for first, last, replacement in changed_string(text, operator):
                yield operator, start + first, start + last, replacement
        elif text[0].isdigit():
            yield from (("number", start, end, other) for other in neighbours_of(text))


def changed_string(text, operator):
    """(first, last, replacement). Conversions and escapes stay: without them the line is another program's."""
    if text == '""':
        yield 0, 2, '"x"'
        return
    fixed = {k for match in re.finditer(r"%[0-9.]*\w|\\.", text) for k in range(*match.span())}
    letters = [k for k in range(1, len(text) - 1) if k not in fixed and text[k] != " "]
    if letters:
        middle = letters[len(letters) // 2]
        yield middle, middle + 1, text[middle].swapcase() if text[middle].isalpha() else "#"
        if operator == "string":
            yield letters[-1], letters[-1] + 1, ""
    for blank in [match.start() for match in re.finditer(r"(?<= ) | (?=[,)]|\\n|\"$)", text)][-1:]:
        yield blank, blank + 1, ""
    if "%" in text and "X" in text:
        yield 0, len(text), text.replace("X", "x")


def neighbours_of(number):
    text, suffix = NUMBER.match(number).groups()
    if re.search("[.e]", text) and "x" not in text:
        value, step = float(text), 0.1 if "." in text else float(text)
    else:
        value, step = int(text, 16 if text[1:2] in "xX" and text[1:] else 8 if text[0] == "0" else 10), 1
    return [f"{other:.12g}{suffix}" for other in (value + step, value - step) if other >= 0]


# ---- Expressions

OTHER_OPERATORS = {
    "==": ["!="], "!=": ["=="], "<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"], "&&": ["||"],
    "||": ["&&"], "+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "+=": ["-="], "-=": ["+="], "|": ["&"], "&": ["|"],
    "<<": [">>"], ">>": ["<<"]}
OTHER_METHODS = {"notify_all": ["notify_one"], "lock": ["unlock"], "unlock": ["lock"], "back": ["front"],
                 "begin": ["end"]}
CLOSING = re.compile(r"(?:\s|//.*|/\*[^*]*\*/)*\)")
WITH_OPERANDS = (Kind.BINARY_OPERATOR, Kind.COMPOUND_ASSIGNMENT_OPERATOR, Kind.CALL_EXPR)


def operators(node):
    if node.kind == Kind.UNARY_OPERATOR and re.match("![^=]", node.text):
        yield "negation", node.start, node.start + 1, ""
    if node.kind not in WITH_OPERANDS or len(node.children) < 2:
        return
    left, right = node.children[0], node.children[-1]
    sign = node.source.text[left.end : right.start]
    start, sign = left.end + len(sign) - len(sign.lstrip()), sign.strip()
    for other in OTHER_OPERATORS.get(sign, ()):
        yield "operator", start, start + len(sign), other
    if sign in ("&&", "||"):
        for operand in (left, right):
            yield "condition", operand.start, operand.end, "true" if sign == "&&" else "false"


def condition_of(node):
    """What decides in an if, a while or a do: the first child that a bracket closes behind."""
    return next(child for child in node.children if CLOSING.match(node.source.text, child.end))


def conditions(node):
    if node.kind == Kind.CONDITIONAL_OPERATOR:
        condition = node.children[0]
    elif node.kind in (Kind.IF_STMT, Kind.WHILE_STMT, Kind.DO_STMT):
        condition = condition_of(node)
    else:
        return
    declared = f"{condition.text}; " if condition.kind == Kind.VAR_DECL else ""
    for forced in ("true", "false"):
        yield "condition", condition.start, condition.end, declared + forced
    if node.kind != Kind.CONDITIONAL_OPERATOR and not declared and not re.search("[=!]= |^!", condition.text):
        yield "negation", condition.start, condition.end, f"!({condition.text})"


def arguments(node):
    if node.kind != Kind.CALL_EXPR:
        return
    if node.cursor.spelling == "move" and node.is_written:
        yield "argument emptied", node.start, node.end, "{}"
    passed = {cursor.hash for cursor in node.cursor.get_arguments()}
    for a, b in itertools.pairwise(child for child in node.children if child.cursor.hash in passed):
        between = node.source.text[a.end : b.start]
        alike = a.cursor.type.get_canonical().spelling == b.cursor.type.get_canonical().spelling
        if a.is_written and b.is_written and between.strip() == "," and alike:
            yield "arguments swapped", a.start, b.end, b.text + between + a.text


def names(node):
    if node.kind not in (Kind.DECL_REF_EXPR, Kind.MEMBER_REF_EXPR) or not node.cursor.referenced:
        return
    name, start = node.cursor.spelling, tree.offset(node.cursor.location)
    is_member, is_level = node.kind == Kind.MEMBER_REF_EXPR, node.cursor.type.spelling.endswith("Level")
    others = node.source.others.get(node.cursor.referenced.get_usr(), OTHER_METHODS.get(name, ()) if is_member else ())
    if node.source.text.startswith(name, start):
        for other in others:
            operator = "other member" if is_member else "log level" if is_level else "other constant"
            yield operator, start, start + len(name), other


# ---- Statements

LABELS = (Kind.CASE_STMT, Kind.DEFAULT_STMT)
LOOPS = (Kind.FOR_STMT, Kind.CXX_FOR_RANGE_STMT)
JUMPS = (Kind.RETURN_STMT, Kind.BREAK_STMT, Kind.CONTINUE_STMT, Kind.GOTO_STMT, Kind.CXX_THROW_EXPR)
DEFAULT_VALUES = ("true", "false", '""', "0", "nullptr", "{}")
QUIET_CALLS = {"monotonicSeconds", "move", "to_string", "parameterAt", "loadUnguarded", "c_str", "size", "empty"}
ASSIGNMENT = re.compile(r"(?:(?:const |auto |bool |int |double |std::[\w:<>]+&? )+)?([\w.\[\]:]+) = (.*);", re.DOTALL)
PLAIN_DECLARATION = re.compile(r"(?:static |const |constexpr )*[\w:]+(?:<[^;=]*>)?[&*]* (\w+)(?: = [\w.]+)?;")


def statements_of(node):
    """The statements that a statement consists of."""
    if node.kind == Kind.COMPOUND_STMT:
        return node.children
    if node.kind == Kind.IF_STMT:
        return [child for child in node.children if child.start > condition_of(node).end]
    if node.kind in (*LOOPS, *LABELS, Kind.WHILE_STMT):
        return node.children[-1:]
    return node.children[:1] if node.kind == Kind.DO_STMT else []


def end_of(statement):
    """Behind the semicolon, which a statement's node may not reach."""
    match = re.compile(r"\s*;").match(statement.source.text, statement.end)
    return match.end() if match and statement.text[-1:] != ";" else statement.end


def is_used(declaration, node):
    """Whether anything in `node` refers to what is declared."""
    declared = {child.cursor.hash for child in declaration.children}
    referenced = (inner.cursor.referenced for inner in node.walk() if inner.kind.is_expression())
    return any(cursor and cursor.hash in declared for cursor in referenced)


def left_out(node, function):
    for statement in statements_of(node):
        if (statement.kind.is_expression() or statement.is_macro or statement.kind in LOOPS
                or statement.kind in JUMPS and not statement.children
                or statement.kind == Kind.DECL_STMT and not is_used(statement, function)):
            yield "left out", statement.start, end_of(statement), ";"


def order(node):
    text = node.source.text
    for a, b in itertools.pairwise(statements_of(node) if node.kind == Kind.COMPOUND_STMT else ()):
        while a.kind in LABELS:
            a = a.children[-1]
        first, second = text[a.start : end_of(a)], text[b.start : end_of(b)]
        between = text[end_of(a) : b.start]
        if not (a.kind in JUMPS or b.kind in JUMPS + LABELS or "#" in between
                or a.kind == Kind.DECL_STMT and is_used(a, b) or cannot_see_each_other(first, second)):
            yield "order", a.start, end_of(b), second + re.sub("//.*", "", between) + first


def cannot_see_each_other(a, b):
    """Whether nobody can tell which of two assignments or declarations comes first."""
    plain = [(PLAIN_DECLARATION.fullmatch(own), other) for own, other in ((a, b), (b, a))]
    if any(own and not re.search(rf"\b{own[1]}\b", other) for own, other in plain):
        return True
    parts = ASSIGNMENT.fullmatch(a), ASSIGNMENT.fullmatch(b)
    return all(parts) and not any(
        set(re.findall(r"(\w+)\(", own[2])) - QUIET_CALLS
        or re.search(r"(?<!\w)" + re.escape(own[1]) + r"(?!\w)", other[0]) for own, other in (parts, parts[::-1]))


def returned_values(node):
    if node.kind == Kind.RETURN_STMT and node.children and node.children[0].text not in DEFAULT_VALUES:
        yield "return value", node.children[0].start, node.children[0].end, "{}"


def initializers(node):
    members = [child.start for child in node.children if child.kind == Kind.MEMBER_REF]
    if node.kind == Kind.CONSTRUCTOR and members:
        for start, following in itertools.pairwise(members):
            yield "initializer left out", start, following, ""
        comma_or_colon = len(node.source.text[: members[-1]].rstrip()) - 1
        yield "initializer left out", comma_or_colon, node.children[-1].start - 1, ""


# ---- Everything


def mutants_of(source):
    found = list(literals(source))
    for function in source.nodes:
        for node in function.walk():
            found += arguments(node)  # written within a macro's arguments, where the call is the macro's
            if node.is_written:
                for rule in (operators, conditions, names, order, returned_values, initializers):
                    found += rule(node)
                found += left_out(node, function)
    unique = {change[1:]: change for change in found if source.text[change[1] : change[2]] != change[3]}
    return [Mutant(source, *unique[place]) for place in sorted(unique)]


def all_mutants(commands, folder):
    """Every change of what `commands`, a compile_commands.json, compiles of `folder`, headers included."""
    mutants = {}
    for entry in json.loads(commands.read_text()):
        path = pathlib.Path(entry["file"])
        if path.parent == folder:
            words = shlex.split(entry["command"])
            folders = [word for pair in itertools.pairwise(words) if pair[0] == "-isystem" for word in pair]
            sources = tree.parse(path, [word for word in words if re.match("-[ID].|-std=", word)] + folders)
            mutants |= {source.name: mutants_of(source) for source in sources if source.name not in mutants}
    return [mutant for name in sorted(mutants) for mutant in mutants[name]]
