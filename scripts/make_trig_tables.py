#!/usr/bin/env python3
"""Prints src/support/trig_tables.cpp; a test compares the two."""

import math

HEAD = """// Made by scripts/make_trig_tables.py; change that, not this.
#include "support/trig_tables.h"

namespace ozr
{

// Ten degrees a line.
// clang-format off
"""


def cosine(degrees):
    """cos in Q16, truncated. 60 degrees come out as 32767, not 32768: single precision lies just below one half."""
    if degrees == 60:
        return 32767
    return 0 if degrees == 90 else int(65536 * math.cos(math.radians(degrees)))


def tangent(degrees):
    """tan in Q10, rounded to nearest; the largest number stands for infinity."""
    return 2**31 - 1 if degrees == 90 else math.floor(1024 * math.tan(math.radians(degrees)) + 0.5)


def table(name, function):
    text = f"\nconst int32_t {name}[91] = {{\n"
    values = [str(function(d)) for d in range(91)]
    for i in range(0, 91, 10):
        text += "    " + ", ".join(values[i : i + 10]) + ",\n"
    return text + "};\n"


print(HEAD, end="")
print(table("ozr_math_cosi16_d_table", cosine), end="")
print(table("ozr_math_tan_d_table", tangent), end="")
print("""// clang-format on

}  // namespace ozr""")
