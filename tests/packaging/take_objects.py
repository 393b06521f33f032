#!/usr/bin/env python3
"""usage: take_objects.py BUILD OTHER_BUILD

Checks that both builds compile the same sources of the library by the same commands, and copies the objects of the first
into the second, which then need not compile them again.
"""
import json
import os
import re
import shutil
import sys


def library_objects(build):
    """The command, and the object, of each source of the library."""
    with open(os.path.join(build, "compile_commands.json"), encoding="utf-8") as file:
        for entry in json.load(file):
            match = re.fullmatch(r"(.*) -o (\S*/ozr_objects\.dir/\S*)( .*)", entry["command"])
            if match:
                yield entry["file"], (match[1] + match[3], os.path.join(entry["directory"], match[2]))


ours, others = (dict(library_objects(build)) for build in sys.argv[1:])
if not ours or ours.keys() != others.keys():
    sys.exit(f"not the same sources: {sorted(ours.keys() ^ others.keys())}")
for source, (command, made) in ours.items():
    other_command, wanted = others[source]
    if command != other_command:
        sys.exit(f"{source} is compiled alone by\n{command}\nand within another project by\n{other_command}")
    os.makedirs(os.path.dirname(wanted), exist_ok=True)
    shutil.copyfile(made, wanted)
