#!/usr/bin/env python3
"""usage: check_docs.py ROOT C_COMPILER CXX_COMPILER

Compiles every C and C++ example of the Markdown files and of the public headers, and looks up every relative link.

An example with a main is a whole file. Of another, the functions are taken as they are and the rest as the body of one.
What examples take for granted (a camera, a session) is declared in docs_prelude.h.
"""
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(sys.argv[1]).resolve()
COMPILERS = {"c": [sys.argv[2], "-std=c99", "-x", "c"], "cpp": [sys.argv[3], "-std=c++17", "-x", "c++"]}
FLAGS = ["-fsyntax-only", "-Wall", "-Wextra", "-Werror", "-Wno-unused",
         "-Wno-missing-field-initializers", f"-I{ROOT}/include", "-"]
PRELUDE = pathlib.Path(__file__).with_name("docs_prelude.h")
APART = re.compile(r"^#include [^\n]*\n|^\w[^;{]*\)\n\{\n.*?^\}\n", re.M | re.S)


def examples(path, text):
    """Yields (line, languages, code)."""
    if path.suffix == ".h":
        for match in re.finditer(r" \* @code\n(.*?) \* @endcode", text, re.S):
            yield text.count("\n", 0, match.start()) + 2, ("c", "cpp"), re.sub(r"^ \* ?", "", match[1], flags=re.M)
    for match in re.finditer(r"^```(c|cpp)\n(.*?)^```", text, re.S | re.M):
        yield text.count("\n", 0, match.start()) + 2, (match[1],), match[2]


def compile_example(path, line, language, code):
    if "int main(" not in code:
        body = APART.sub("", code)
        code = f"{''.join(APART.findall(code))}void example(void);\nvoid example(void)\n{{\n{body}}}\n"
    source = f'#include "{PRELUDE}"\n#line {line} "{path}"\n{code}'
    return subprocess.run(COMPILERS[language] + FLAGS, input=source.encode(), check=False).returncode == 0


def anchors(path):
    """The anchors of a file's headings, as the common renderers make them."""
    headings = re.findall(r"^#+ (.*)$", re.sub(r"^```.*?^```", "", path.read_text(), flags=re.S | re.M), re.M)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def broken_links(path, text):
    for target in re.findall(r"\]\(([^)\s]+)\)", text):
        name, _, anchor = target.partition("#")
        if re.match(r"\w+:", target):
            continue
        file = (path.parent / name).resolve() if name else path
        if not file.exists() or (anchor and anchor not in anchors(file)):
            yield target


failures = compiled = 0
pages = [page for page in ROOT.rglob("*.md") if not {"build", "node_modules"} & set(page.relative_to(ROOT).parts)]
for page in sorted(pages) + sorted((ROOT / "include").glob("*.h")):
    content = page.read_text()
    for first_line, languages, example in examples(page, content):
        for kind in languages:
            compiled += 1
            failures += not compile_example(page, first_line, kind, example)
    for link in broken_links(page, content) if page.suffix == ".md" else ():
        print(f"{page}: nothing at {link}")
        failures += 1
print(f"{compiled} examples compiled, {failures} failures")
sys.exit(failures > 0 or compiled == 0)
