"""Finds where a C++ source can be given a single small fault, for scripts/mutate.

No compiler is asked. Comments, strings and preprocessor lines are skipped, brackets are matched, and the rest follows
from the format of the sources, which has blanks on both sides of a binary operator and of nothing else. What does not
compile after all is left to the compiler.
"""
import bisect
import hashlib
import os
import re

TOKEN = re.compile(r"""
    (?P<skip> //[^\n]* | /\*.*?\*/ | ^[ \t]*\#(?:\\\n|[^\n])* )
  | (?P<text> R"(?P<mark>[^\s()\\]*)\(.*?\)(?P=mark)" | (?:u8|[LuU])?"(?:\\.|[^"\\\n])*" )
  | (?P<char> '(?:\\.|[^'\\\n])+' )
  | (?P<number> \.?\d(?:[eEpP][+-]|'?[\w.])* )
  | (?P<word> \w+ )
  | (?P<sign> <<= | >>= | \.\.\. | ->\*? | :: | \+\+ | -- | && | \|\| | [-+*/%&|^<>=!]= | << | >> | [^\s\w] )
""", re.VERBOSE | re.DOTALL | re.MULTILINE)

BINARY = {
    "relation": {
        "<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"], "==": ["!="], "!=": ["=="],
        "&&": ["||"], "||": ["&&"]},
    "arithmetic": {
        "+": ["-"], "-": ["+"], "*": ["+"], "/": ["*"], "%": ["/"], "<<": [">>"], ">>": ["<<"],
        "&": ["|"], "|": ["&"], "^": ["|"], "+=": ["-=", "="], "-=": ["+=", "="], "*=": ["=", "+="], "/=": ["=", "*="],
        "%=": ["="], "<<=": [">>="], ">>=": ["<<="], "&=": ["|=", "="], "|=": ["&=", "="], "^=": ["="]},
}
KINDS = ["relation", "arithmetic", "constant", "negated condition", "removed statement", "swapped arguments",
         "early return"]
UNARY = {"-": "", "~": "", "!": "", "++": "--", "--": "++"}
WORDS = {"true": "false", "false": "true", "min": "max", "max": "min"}
NO_CALL = {"if", "for", "while", "switch", "return", "sizeof", "alignof", "decltype", "catch", "static_assert"}
NO_STATEMENT = {"{", "}", ")", "]", ",", ";", "case", "default", "else"}
NO_EXPRESSION = {"return", "if", "for", "while", "do", "switch", "goto", "using", "typedef", "try", "static_assert",
                 "static", "const", "constexpr", "auto", "struct", "class", "enum", "union", "template"}
DECLARATION = re.compile(r"(?:[\w:]+(?:<[^;=]*?>)?[\s*&]+)+\w+\s*[=;({\[,]")
BEFORE_CONDITION = {"=", ",", ";", "?", ":", "return", "+=", "-=", "*=", "|=", "&=", "(", "[", "{", "}"}


class Token:
    def __init__(self, match, line):
        self.kind, self.text, self.line = match.lastgroup, match.group(), line
        self.start, self.end = match.span()


class Fault:
    """A change of the text between two offsets. `line` is where its first token stands."""

    def __init__(self, source, kind, line, start, end, replacement):
        self.path, self.kind, self.line = source.path, kind, line
        self.source, self.start, self.end, self.replacement = source, start, end, replacement
        first, last = source.text.rfind("\n", 0, start) + 1, source.text.find("\n", end)
        self.first_line = source.line_of(first)
        self.before = source.text[first:last].split("\n")
        self.after = (source.text[first:start] + replacement + source.text[end:last]).split("\n")
        words = "\n".join([self.path, str(self.first_line), *self.before, *self.after])
        self.name = hashlib.sha1(words.encode()).hexdigest()[:8]

    def mutated(self):
        return self.source.text[:self.start] + self.replacement + self.source.text[self.end:]

    def identity(self):
        """The same for the same change of the same text, wherever in the file that is now."""
        return self.path, tuple(map(str.strip, self.before)), tuple(map(str.strip, self.after))

    def __str__(self):
        return f"{self.path}:{self.line}: {self.kind} ({self.name})\n{self._changed_lines()}"

    def patch(self):
        place = f"{self.first_line},{len(self.before)}"
        return f"--- a/{self.path}\n+++ b/{self.path}\n@@ -{place} +{place} @@\n{self._changed_lines()}"

    def _changed_lines(self):
        return "\n".join([f"-{line}" for line in self.before] + [f"+{line}" for line in self.after])


def read_identities(path):
    """Of the faults in a file, which has them as they are printed. Without the file there are none."""
    if not os.path.exists(path):
        return set()
    with open(path) as file:
        blocks = re.findall(r"^(\S+?):\d+: .*\n((?:-.*\n)+)((?:\+.*\n)+)", file.read(), re.MULTILINE)
    return {(name, *(tuple(line[1:].strip() for line in part.splitlines()) for part in parts))
            for name, *parts in blocks}


class Source:
    """A source's text and tokens. `partner` is the other one of two brackets, `opener` the bracket around a token."""

    def __init__(self, path, text):
        self.path, self.text = path, text
        self.newlines = [match.start() for match in re.finditer("\n", text)]
        self.tokens = [Token(m, self.line_of(m.start())) for m in TOKEN.finditer(text) if m.lastgroup != "skip"]
        self.partner, self.opener = {}, []
        opened = [None]
        for i, token in enumerate(self.tokens):
            if token.kind == "sign" and token.text in ")]}" and len(opened) > 1:
                self.partner[i] = opened.pop()
                self.partner[self.partner[i]] = i
            self.opener.append(opened[-1])
            if token.kind == "sign" and token.text in "([{":
                opened.append(i)

    def line_of(self, offset):
        return bisect.bisect_left(self.newlines, offset) + 1

    def faults(self, functions, lines):
        """All faults on these lines within functions, each of which is a pair of lines, first and last."""
        bodies = [body for body in (self._body(*function) for function in functions) if body]
        for i, token in enumerate(self.tokens):
            around = [(last - first, first, last) for first, last in bodies if first < i < last]
            if around and token.line in lines:
                yield from self._operators(token)
                yield from self._conditions(i, token)
                yield from self._arguments(i, token)
                yield from self._statements(i, token, *min(around)[1:])

    def _body(self, first_line, last_line):
        """The braces of the function on these lines."""
        i = bisect.bisect_left([token.line for token in self.tokens], first_line)
        while i < len(self.tokens) and self.tokens[i].line <= last_line:
            if self.tokens[i].text == "{" and self.tokens[self.partner.get(i, i)].line == last_line:
                return i, self.partner[i]
            i += 1
        return None

    def _text(self, first, last):
        return self.text[self.tokens[first].start:self.tokens[last].end]

    def _fault(self, kind, first, last, replacement):
        return Fault(self, kind, first.line, first.start, last.end, replacement)

    def _operators(self, token):
        blank_before, blank_after = self.text[token.start - 1].isspace(), self.text[token.end].isspace()
        if token.kind == "sign" and blank_before and blank_after:
            for kind, table in BINARY.items():
                for other in table.get(token.text, ()):
                    yield self._fault(kind, token, token, other)
        elif token.kind == "sign" and token.text in UNARY and (UNARY[token.text] or not blank_after):
            kind = "negated condition" if token.text == "!" else "arithmetic"
            yield self._fault(kind, token, token, UNARY[token.text])
        elif token.text in WORDS:
            yield self._fault("constant", token, token, WORDS[token.text])
        elif token.kind in ("number", "char"):
            for other in _neighbours(token):
                yield self._fault("constant", token, token, other)

    def _conditions(self, i, token):
        first = last = None
        if token.text in ("if", "while") and self.tokens[i + 1].text == "(":
            first, last = i + 2, self.partner[i + 1] - 1
        elif token.text == "for":
            stops = [j for j in range(i + 2, self.partner[i + 1])
                     if self.opener[j] == i + 1 and self.tokens[j].text == ";"]
            if len(stops) == 2:
                first, last = stops[0] + 1, stops[1] - 1
        elif token.text == "?":
            first = last = i - 1
            while self._closes(first) or self.tokens[first - 1].text not in BEFORE_CONDITION:
                first = self.partner[first] if self._closes(first) else first - 1
        if first is not None and first <= last and not self._is_negation(first, last):
            yield self._fault("negated condition", self.tokens[first], self.tokens[last],
                              f"!({self._text(first, last)})")

    def _closes(self, i):
        return self.partner.get(i, i) < i

    def _is_negation(self, first, last):
        """Without its sign it is the same fault as negated."""
        parts = {token.text for token in self.tokens[first:last]}
        return self.tokens[first].text == "!" and not parts & {"&&", "||"}

    def _arguments(self, i, token):
        """Neighbouring arguments of a call, whose bracket touches the name."""
        called = self.tokens[i - 1]
        if token.text not in ("(", "{") or called.kind != "word" or called.end < token.start or called.text in NO_CALL:
            return
        if called.text in ("min", "max"):  # their order does not matter
            return
        close = self.partner[i]
        commas = [j for j in range(i + 1, close) if self.opener[j] == i and self.tokens[j].text == ","]
        for before, comma, after in zip([i, *commas], commas, [*commas[1:], close]):
            one, other = self._text(before + 1, comma - 1), self._text(comma + 1, after - 1)
            if one != other and comma + 1 < after:
                between = self.text[self.tokens[comma].start:self.tokens[comma + 1].start]
                yield self._fault("swapped arguments", self.tokens[before + 1], self.tokens[after - 1],
                                  other + between + one)

    def _statements(self, i, token, first, last):
        """A statement may be missing if it declares nothing, and the function may return before it."""
        end = self._end_of_statement(i)
        if end is None:
            return
        text, stop = self._text(i, end), self.tokens[end]
        lines_left = "\n" * text.count("\n")
        empty_return = "return {};" if self._returns_value(first, last) else "return;"
        if token.text not in NO_EXPRESSION and not DECLARATION.match(text):
            yield self._fault("removed statement", token, stop, ";" + lines_left)
        if token.text == "return":
            if text != empty_return:
                yield self._fault("early return", token, stop, empty_return + lines_left)
        elif self.tokens[i - 1].text in (";", "{", "}"):
            yield Fault(self, "early return", token.line, token.start, token.start, empty_return + " ")

    def _end_of_statement(self, i):
        """The semicolon of the statement that begins here, if one does."""
        before = self.tokens[i - 1]
        within = self.opener[i]
        if within is None or self.tokens[within].text != "{" or self.tokens[i].text in NO_STATEMENT:
            return None
        if before.text == ")" and self.tokens[self.partner[i - 1] - 1].text not in ("if", "for", "while", "switch"):
            return None
        if before.text not in (")", ";", "{", "}", "else", "do"):
            return None
        end = i
        while self.tokens[end].text not in (";", "}"):
            end = self.partner.get(end, end) + 1
        return end if self.tokens[end].text == ";" else None

    def _returns_value(self, first, last):
        return any(self.tokens[j].text == "return" and self.tokens[j + 1].text != ";" for j in range(first, last))


def _neighbours(token):
    """A constant one up and one down."""
    digits = re.fullmatch(r"(0[xX][0-9a-fA-F']+|\d[\d']*)([uUlL]*)", token.text)
    if not digits:
        return [f"({token.text} + 1)", f"({token.text} - 1)"]
    number, suffix = digits[1].replace("'", ""), digits[2]
    base = 16 if number[:2] in ("0x", "0X") else 8 if number[0] == "0" and number != "0" else 10
    form = {16: "0x{:X}", 8: "0{:o}", 10: "{}"}[base]
    value = int(number, base)
    return [(form.format(v) if v > 0 else str(v)) + suffix for v in (value + 1, value - 1) if v >= 0 or not suffix]
