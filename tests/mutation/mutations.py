# SPDX-License-Identifier: MIT
"""The small changes that are tried on a source: where they can be made, and what then stands there.

Comments, literals and preprocessor lines are blanked out first, in place, so that what is found by its looks is code.
The sources are formatted by clang-format: operators with two operands stand between spaces, templates' angles do not.
"""
import bisect
import collections
import hashlib
import re

# Where in the text, what stands there and what is put there, and how a person calls it.
Mutation = collections.namedtuple("Mutation", "file line source_line begin end replacement name key")

BINARY = {
    "<": ("<=", ">="), "<=": ("<", ">"), ">": (">=", "<="), ">=": (">", "<"), "==": ("!=",), "!=": ("==",),
    "&&": ("||",), "||": ("&&",), "+": ("-",), "-": ("+",), "*": ("/",), "/": ("*",), "%": ("*",),
    "<<": (">>",), ">>": ("<<",), "&": ("|",), "|": ("&",), "+=": ("-=",), "-=": ("+=",), "|=": ("&=",),
    "&=": ("|=",),
}
WORDS = {"true": "false", "false": "true", "std::min": "std::max", "std::max": "std::min"}
NOT_STATEMENTS = re.compile(
    r"(return|if|for|while|do|switch|case|default|else|using|throw|static|struct|class|enum|delete|goto|typedef|"
    r"template|namespace|friend|const|auto|public|private|protected|extern|union|try|catch|static_assert)\b|\(void\)")


def blank_out(text):
    """The text without comments, literals of characters and preprocessor lines; every other place is kept."""
    def blanks(found):
        return re.sub(r"[^\n]", " ", found.group())

    def inside(found):
        literal = found.group()
        if literal[0] not in "\"'uULR" or len(literal) < 2:
            return blanks(found)
        first = literal.index('"') if '"' in literal else literal.index("'")
        return literal[:first + 1] + re.sub(r"[^\n]", "_", literal[first + 1:-1]) + literal[-1]

    pattern = (r'//[^\n]*|/\*.*?\*/|\bR"(?P<mark>[^(\s]*)\(.*?\)(?P=mark)"|"(?:\\.|[^"\\\n])*"|'
               r"(?<![0-9A-Fa-f])'(?:\\.|[^'\\\n])+'")
    text = re.sub(pattern, inside, text, flags=re.S)
    text = re.sub(r"\bstatic_assert\(.*?\);", blanks, text, flags=re.S)
    return re.sub(r"^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", blanks, text, flags=re.M)


def closing(code, opening):
    """The place of the bracket that closes the one at a place."""
    depth = 0
    for place in range(opening, len(code)):
        depth += (code[place] in "([{") - (code[place] in ")]}")
        if depth == 0:
            return place
    return len(code)


def operators(code):
    for found in re.finditer(r"(?<=\s)([-+*/%<>=!&|]{1,2})(?=\s)", code):
        for other in BINARY.get(found.group(), ()):
            yield found.start(), found.end(), other
    for found in re.finditer(r"\+\+|--", code):
        yield found.start(), found.end(), {"++": "--", "--": "++"}[found.group()]
    for found in re.finditer(r"!(?=[\w(*])", code):
        yield found.start(), found.end(), ""


def words(code):
    for found in re.finditer(r"\b(?:true|false|std::min|std::max)\b", code):
        yield found.start(), found.end(), WORDS[found.group()]


def numbers(code):
    """Whole numbers, but not those among a template's arguments: more room than needed makes no difference."""
    for found in re.finditer(r"(?<![\w.'])(0[xX][0-9A-Fa-f]+|\d+)([uUlL]*)(?![\w.'])", code):
        if re.match(r">", code[found.end():]):
            continue
        value = int(found.group(1), 0) if found.group(1)[:2] in ("0x", "0X") else int(found.group(1))
        for other in (value + 1, value - 1):
            if other >= 0:
                yield found.start(), found.end(), str(other) + found.group(2)


def conditions(code):
    """Those without an operator of their own are turned round as a whole."""
    for found in re.finditer(r"\b(?:if|while) \(", code):
        end = closing(code, found.end() - 1)
        condition = code[found.end():end]
        if not re.search(r"&&|\|\||[<>=!]=|\s[<>=]\s|^!|;", condition):
            yield found.end(), end, f"!({condition})"


def choices(code):
    """a ? b : c becomes a ? c : b."""
    for found in re.finditer(r"\s\?\s+", code):
        depth, place, colon = 0, found.end(), None
        while place < len(code):
            character = code[place]
            if character in "([{":
                place = closing(code, place)
            elif character == "?":
                depth += 1
            elif re.match(r"\s:\s", code[place - 1:place + 2]):
                if depth == 0 and colon is None:
                    colon = place
                else:
                    depth -= 1
            elif character in ",;)]}" and colon is not None:
                break
            place += 1
        if colon is not None:
            first, second = (found.end(), colon), (colon + 1, place)
            yield first[0], second[1], (first, second)


def statements(code):
    """Calls, assignments, and early ends of functions and loops; what is declared would be missed elsewhere."""
    for found in re.finditer(r"(?<=[;{}):])\s*\n\s*(?=\S)|(?<=\belse)\s*\n\s*(?=\S)", code):
        begin = found.end()
        end = begin
        while end < len(code) and code[end] not in ";{}":
            end = closing(code, end) + 1 if code[end] in "([" else end + 1
        # An initializer in braces belongs to its statement.
        while end < len(code) and code[end] == "{":
            end = closing(code, end) + 1
            if not re.match(r"[\w\s.]*[,);(]", code[end:]):
                break
            while end < len(code) and code[end] not in ";{}":
                end += 1
        if end >= len(code) or code[end] != ";":
            continue
        statement = code[begin:end]
        if re.match(r"(break|continue)$", statement):
            yield begin, end, ""
        elif re.match(r"return\b", statement):
            if re.search(r"(\)|\belse)\s*$", code[:begin]) or re.match(r";\s*\n[ \t]+\}", code[end:]):
                yield begin, end, ""
        elif not NOT_STATEMENTS.match(statement) and not re.search(r"= (delete|default)$", statement):
            head = re.split(r"\(| [-+*/%|&]?= ", statement, maxsplit=1)[0]
            if head != statement and not re.search(r"\s", head.strip()):
                yield begin, end, ""


def shortened(text):
    text = " ".join(text.split())
    return text if len(text) <= 60 else text[:57] + "..."


def mutations_of(file, text):
    """All of them, in the order of the text; none twice."""
    code = blank_out(text)
    starts = [0] + [found.end() for found in re.finditer("\n", text)]
    lines = text.split("\n")
    found = set()
    for kind in (operators, words, numbers, conditions, choices, statements):
        for begin, end, replacement in kind(code):
            if isinstance(replacement, tuple):
                (a, b), (c, d) = replacement
                replacement = f"{text[c:d].strip()} : {text[a:b].strip()}"
            elif replacement.startswith("!("):
                replacement = f"!({text[begin:end]})"
            found.add((begin, end, replacement))
    content = hashlib.sha256(text.encode()).hexdigest()
    result, seen = [], collections.Counter()
    for begin, end, replacement in sorted(found):
        number = bisect.bisect_right(starts, begin)
        name = f"{shortened(text[begin:end])} -> {shortened(replacement) or '(nothing)'}"
        seen[number, name] += 1
        if seen[number, name] > 1:
            name += f" ({seen[number, name]})"
        key = hashlib.sha256(f"{file}\0{content}\0{begin}\0{end}\0{replacement}".encode()).hexdigest()[:24]
        result.append(Mutation(file, number, lines[number - 1].strip(), begin, end, replacement, name, key))
    return result


def mutated(text, mutation):
    return text[:mutation.begin] + mutation.replacement + text[mutation.end:]
