"""Finds the small changes that can be made in a C++ source file, one at a time."""
import collections
import re

# Where a file is changed (from, to: offsets in its text), and what then stands there.
Mutation = collections.namedtuple("Mutation", "begin end line before after")

# The tree is formatted: operators of two operands stand between blanks, and template brackets do not.
OPERATORS = {
    " < ": " <= ", " <= ": " < ", " > ": " >= ", " >= ": " > ", " == ": " != ", " != ": " == ",
    " && ": " || ", " || ": " && ", " + ": " - ", " - ": " + ", " += ": " -= ", " -= ": " += ",
}
WORDS = {"true": "false", "false": "true"}
NOT_CODE = re.compile(r'R"(\w*)\(.*?\)\1"|"(?:[^"\\\n]|\\.)*"|\'(?:[^\'\\\n]|\\.)+\'|//[^\n]*|/\*.*?\*/|^[ \t]*#[^\n]*',
                      re.DOTALL | re.MULTILINE)
# A statement of its own whose loss leaves code that compiles: a call, a step, a leap.
STATEMENT = re.compile(r"^[ ]{4,}((?:[\w:]+(?:\.|->))*[\w:]+\([^;{}=]*\)|\+\+[\w.]+|break|continue);$", re.MULTILINE)
# Makes room beforehand, or does nothing where the project runs.
SPEED_ONLY = re.compile(r"(?:\.reserve|^va_end)\(")
TOKEN = re.compile(r"(?P<operator> (?:<=?|>=?|==|!=|&&|\|\||\+=?|-=?) )|(?P<negation>!(?=[\w:(]))|"
                   r"(?P<number>(?<![\w.'])(?:0x[0-9A-Fa-f]+|\d+)(?:[uUlL]*)(?![\w.']))|(?P<word>\b(?:true|false)\b)")
# What is decided by the compiler, or names things only.
DECLARATIVE = re.compile(r"^\s*(?:static_assert|template|using|namespace|#|case )|\b(?:constexpr|alignas)\b")


def mutations_of(text):
    """All changes of a file, in their order."""
    code = blanked(text)
    found = [*statements(code, text)]
    for match in TOKEN.finditer(code):
        replacement = changed(match)
        if replacement is not None and not DECLARATIVE.search(line_at(code, match.start())):
            found.append(mutation(text, match.start(), match.end(), replacement))
    return sorted(found)


def blanked(text):
    """The text with everything that is not code, texts and comments, as blanks; offsets stay."""
    return NOT_CODE.sub(lambda match: re.sub(r"[^\n]", "\x01", match.group()), text)


def statements(code, text):
    """The statements that can be left out."""
    for match in STATEMENT.finditer(code):
        if SPEED_ONLY.search(match.group(1)):
            continue
        yield mutation(text, match.start(1), match.end(1), "(void)0" if match.group(1)[-1] == ")" else "")


def changed(match):
    """What stands in the place of a token; None for what stays."""
    token = match.group()
    if match["operator"]:
        return OPERATORS[token]
    if match["word"]:
        return WORDS[token]
    if match["negation"]:
        return ""
    digits = token.rstrip("uUlL")
    return f"{int(digits, 0) + 1}{token[len(digits):]}" if digits == "0" or not is_octal(digits) else None


def is_octal(digits):
    """0600 is a mode; another number would be one as well."""
    return digits[0] == "0" and digits[1:2] not in ("x", "X")


def line_at(code, offset):
    """The line around an offset."""
    return code[code.rfind("\n", 0, offset) + 1:code.find("\n", offset)]


def mutation(text, begin, end, after):
    """One change, with its line number."""
    return Mutation(begin, end, text.count("\n", 0, begin) + 1, text[begin:end], after)


def apply(text, change):
    """The text with the change."""
    return text[:change.begin] + change.after + text[change.end:]
