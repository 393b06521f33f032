#!/usr/bin/env python3
"""usage: check_includes.py ROOT

Holds the walls of the house: a folder includes itself and what stands below it, nothing above. The program and the
examples know the public headers only, but for one door.
"""
import pathlib
import re
import sys

# From the top down. A folder may include any folder after it.
FLOORS = {
    "src": ["interface", "session", "engine", "refined", "core", "image", "support", "kernels", "base"],
    "tools": ["cli", "commands", "sweep", "report", "record", "media", "scene", "base"],
}
# The internal header that the program may include, by the files that do.
DOOR = dict.fromkeys(["tools/sweep/layout_reader.cpp", "tools/sweep/refined_reader.cpp"], "session/window.h")


def faults(root):
    public = {path.name for path in (root / "include").glob("*.h")}
    for top in [*FLOORS, "examples"]:
        for path in sorted((root / top).rglob("*.[ch]*")):
            name = str(path.relative_to(root))
            for included in re.findall(r'^#include "([^"]+)"', path.read_text(), re.M):
                fault = fault_of(root, top, path, included, public)
                if fault and included != DOOR.get(name):
                    yield f'{name} includes "{included}": {fault}'


def fault_of(root, top, path, included, public):
    if included in public or (top == "examples" and (path.parent / included).exists()):
        return ""
    if not (root / top / included).exists() or "/" not in included:
        return f"no public header, and no file of {top}/"
    floors = FLOORS[top]
    here, there = path.relative_to(root / top).parts[0], included.split("/")[0]
    if not {here, there} <= set(floors):
        return "a folder that is no floor"
    return "upwards" if floors.index(there) < floors.index(here) else ""


found = list(faults(pathlib.Path(sys.argv[1])))
print("\n".join(found))
sys.exit(1 if found else 0)
