"""Finds the places of a C++ source where a single small fault can be planted, for scripts/mutate.

No compiler is asked: comments, strings and preprocessor lines are skipped, brackets are matched, and the rest follows from
the formatter, which puts blanks on both sides of a binary operator and of nothing else. What does not compile after all
is found out by compiling it.
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
    "relation": {"<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"], "==": ["!="], "!=": ["=="],
                 "&&": ["||"], "||": ["&&"]},
    "arithmetic": {"+": ["-"], "-": ["+"], "*": ["+"], "/": ["*"], "%": ["/"], "<<": [">>"], ">>": ["<<"], "&": ["|"],
                   "|": ["&"], "^": ["|"], "+=": ["-=", "="], "-=": ["+=", "="], "*=": ["=", "+="], "/=": ["=", "*="],
                   "%=": ["="], "<<=": [">>="], ">>=": ["<<="], "&=": ["|=", "="], "|=": ["&=", "="], "^=": ["="]},
}
UNARY = {"-": "", "~": "", "!": "", "++": "--", "--": "++"}
WORDS = {"true": "false", "false": "true", "min": "max", "max": "min"}
NO_CALL = {"if", "for", "while", "switch", "return", "sizeof", "alignof", "decltype", "catch", "static_assert"}
NO_EXPRESSION = {"return", "if", "else", "for", "while", "do", "switch", "case", "default", "goto", "using", "typedef", "try",
                 "static_assert", "static", "const", "constexpr", "auto", "struct", "class", "enum", "union", "template"}
NO_STATEMENT = {"{", "}", ")", "]", ",", ";", "case", "default", "else"}
DECLARATION = re.compile(r"(?:[\w:]+(?:<[^;=]*?>)?[\s*&]+)+\w+\s*[=;({\[,]")
ENDS_CONDITION = {"=", ",", ";", "?", ":", "return", "+=", "-=", "*=", "|=", "&=", "(", "[", "{", "}"}


class Token:
    def __init__(self, match, line):
        self.kind, self.text, self.line = match.lastgroup, match.group(), line
        self.start, self.end = match.span()


class Fault:
    """One change of the text between two offsets; `line` is the line whose tests are to notice it."""

    def __init__(self, source, kind, token, start, end, replacement):
        self.path, self.kind, self.line = source.path, kind, token.line
        self.source, self.start, self.end, self.replacement = source, start, end, replacement
        first = source.text.rfind("\n", 0, start) + 1
        last = source.text.find("\n", end)
        self.before = source.text[first:last].split("\n")
        self.after = (source.text[first:start] + replacement + source.text[end:last]).split("\n")
        self.first_line = source.line_of(first)
        words = "\n".join([self.path, str(self.first_line), *self.before, *self.after])
        self.name = hashlib.sha1(words.encode()).hexdigest()[:8]

    def mutated(self):
        return self.source.text[:self.start] + self.replacement + self.source.text[self.end:]

    def identity(self):
        """The same for the same change of the same text, wherever in the file it stands now."""
        return self.path, tuple(s.strip() for s in self.before), tuple(s.strip() for s in self.after)

    def _changed_lines(self):
        return "\n".join([f"-{line}" for line in self.before] + [f"+{line}" for line in self.after])

    def __str__(self):
        return f"{self.path}:{self.line}: {self.kind} ({self.name})\n{self._changed_lines()}"

    def patch(self):
        place = f"{self.first_line},{len(self.before)}"
        return f"--- a/{self.path}\n+++ b/{self.path}\n@@ -{place} +{place} @@\n{self._changed_lines()}"


def parse_faults(path):
    """The identities of the faults in a file, which has them as they are printed; there may be none."""
    if not os.path.exists(path):
        return set()
    with open(path) as file:
        blocks = re.findall(r"^(\S+?):\d+: .*\n((?:-.*\n)+)((?:\+.*\n)+)", file.read(), re.MULTILINE)
    return {(place, *(tuple(line[1:].strip() for line in part.splitlines()) for part in parts)) for place, *parts in blocks}


class Source:
    """A source, its tokens, and for each bracket the place of its partner."""

    def __init__(self, path, text):
        self.path, self.text = path, text
        self.newlines = [m.start() for m in re.finditer("\n", text)]
        self.tokens = [Token(m, self.line_of(m.start())) for m in TOKEN.finditer(text) if m.lastgroup != "skip"]
        self.partner, self.opener = {}, []
        stack = [None]
        for i, token in enumerate(self.tokens):
            if token.text in (")", "]", "}") and token.kind == "sign" and len(stack) > 1:
                j = stack.pop()
                self.partner[i], self.partner[j] = j, i
            self.opener.append(stack[-1])
            if token.text in ("(", "[", "{") and token.kind == "sign":
                stack.append(i)

    def line_of(self, offset):
        return bisect.bisect_left(self.newlines, offset) + 1

    def text_of(self, first, last):
        return self.text[self.tokens[first].start:self.tokens[last].end]

    def faults(self, functions):
        """All faults within functions, which are given as pairs of lines: first and last."""
        bodies = [body for body in (self._body(*lines) for lines in functions) if body]
        for i, token in enumerate(self.tokens):
            around = [(last - first, first, last) for first, last in bodies if first < i < last]
            if around:
                yield from self._operators(i, token)
                yield from self._conditions(i, token)
                yield from self._arguments(i, token)
                yield from self._statements(i, token, min(around)[1:])

    def _body(self, first_line, last_line):
        """The brackets around the body of the function on these lines."""
        start = bisect.bisect_left([t.line for t in self.tokens], first_line)
        for i in range(start, len(self.tokens)):
            if self.tokens[i].text == "{" and self.tokens[self.partner.get(i, i)].line == last_line:
                return i, self.partner[i]
            if self.tokens[i].line > last_line:
                return None
        return None

    def _replace(self, kind, token, replacement, last=None):
        return Fault(self, kind, token, token.start, (last or token).end, replacement)

    def _operators(self, i, token):
        blank_before, blank_after = self.text[token.start - 1].isspace(), self.text[token.end].isspace()
        if token.kind == "sign" and blank_before and blank_after:
            for kind, table in BINARY.items():
                for other in table.get(token.text, ()):
                    yield self._replace(kind, token, other)
        elif token.kind == "sign" and token.text in UNARY and (token.text in ("++", "--") or not blank_after):
            kind = "negated condition" if token.text == "!" else "arithmetic"
            yield self._replace(kind, token, UNARY[token.text])
        elif token.text in WORDS:
            yield self._replace("constant", token, WORDS[token.text])
        elif token.kind in ("number", "char"):
            for other in _neighbours(token):
                yield self._replace("constant", token, other)

    def _conditions(self, i, token):
        first = last = None
        if token.text in ("if", "while") and self.tokens[i + 1].text == "(":
            first, last = i + 2, self.partner[i + 1] - 1
        elif token.text == "for":
            parts = [j for j in range(i + 2, self.partner[i + 1]) if self.opener[j] == i + 1 and self.tokens[j].text == ";"]
            if len(parts) == 2:
                first, last = parts[0] + 1, parts[1] - 1
        elif token.text == "?":
            first = last = i - 1
            while self.tokens[first - 1].text not in ENDS_CONDITION or first in self.partner and self.partner[first] < first:
                first = self.partner[first] if self.partner.get(first, first) < first else first - 1
        if first is not None and first <= last and not self._is_negation(first, last):
            yield self._replace("negated condition", self.tokens[first], f"!({self.text_of(first, last)})", self.tokens[last])

    def _is_negation(self, first, last):
        """Without its sign it would be the same fault as negated."""
        return self.tokens[first].text == "!" and not any(self.tokens[j].text in ("&&", "||") for j in range(first, last))

    def _arguments(self, i, token):
        """Neighbouring arguments of a call, whose bracket touches the name."""
        called = self.tokens[i - 1]
        if token.text not in ("(", "{") or called.kind != "word" or called.end != token.start or called.text in NO_CALL:
            return
        close = self.partner[i]
        commas = [j for j in range(i + 1, close) if self.opener[j] == i and self.tokens[j].text == ","]
        bounds = [i, *commas, close]
        spans = [(a + 1, b - 1) for a, b in zip(bounds, bounds[1:]) if a + 1 <= b - 1]
        for (a, b), (c, d) in zip(spans, spans[1:]):
            one, other = self.text_of(a, b), self.text_of(c, d)
            if one != other:
                between = self.text[self.tokens[b].end:self.tokens[c].start]
                yield self._replace("swapped arguments", self.tokens[a], other + between + one, self.tokens[d])

    def _statements(self, i, token, body):
        """An expression statement may be removed; before every statement its function may return."""
        previous = self.tokens[i - 1].text
        inside = self.opener[i] is not None and self.tokens[self.opener[i]].text == "{"
        if not inside or token.text in NO_STATEMENT or previous not in (";", "{", "}", ")", "else", "do"):
            return
        if previous == ")" and self.tokens[self.partner[i - 1] - 1].text not in ("if", "for", "while", "switch"):
            return
        end = i
        while self.tokens[end].text not in (";", "}"):
            end = self.partner.get(end, end) + 1
        if self.tokens[end].text != ";":
            return
        text = self.text_of(i, end)
        if token.text not in NO_EXPRESSION and not DECLARATION.match(text):
            yield self._replace("removed statement", token, ";" + "\n" * text.count("\n"), self.tokens[end])
        value = self._returns_value(*body)
        if token.text == "return":
            if value and text != "return {};":
                yield self._replace("early return", token, "return {};" + "\n" * text.count("\n"), self.tokens[end])
        elif previous in (";", "{", "}"):
            yield Fault(self, "early return", token, token.start, token.start, "return {}; " if value else "return; ")

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
