"""What can be known of the speed on ARM without such a processor, for scripts/bench --count-arm.

Instructions are counted: bench/count_plugin.c under qemu-user counts what bench/count_main.cpp executes between two marks.
Cycles are reckoned: llvm-mca knows how many a processor needs for a block of instructions that is executed again and
again with all data in the first cache, and the plugin knows how often each block was executed.
"""
import json
import os
import re
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
BUILDS = {"arm64": "AArch64", "armhf": "ARMv7"}  # by presets
PROCESSORS = ["cortex-a55", "cortex-a76", "neoverse-n1"]
LLVM = 19  # the first of Debian's that has a model of neoverse-n1 is later than 16
SHARE = 0.98  # of the executed instructions that are looked at: the hottest blocks


def run(commands, log):
    os.makedirs(os.path.dirname(log), exist_ok=True)
    with open(log, "w") as out:
        for command in commands:
            if subprocess.run(command, cwd=ROOT, stdout=out, stderr=subprocess.STDOUT).returncode != 0:
                sys.exit(f"'{' '.join(command)}' failed, see {log}")


def folder_of(preset):
    return os.path.join(ROOT, "build", f"count-{preset}")


def build():
    plugin = os.path.join(ROOT, "build", "count_plugin.so")
    run([["scripts/install-packages", "count"],
         ["cc", "-shared", "-fPIC", "-fvisibility=hidden", "-O2", "-o", plugin, "bench/count_plugin.c"]],
        os.path.join(ROOT, "build", "count.log"))
    for preset in BUILDS:
        run([["cmake", "--preset", preset, "-B", folder_of(preset), "-DOZR_BUILD_BENCH=ON", "-DOZR_BUILD_TESTS=OFF",
              "-DOZR_BUILD_TOOLS=OFF"],
             ["cmake", "--build", folder_of(preset), "--target", "ozr_count", "-j", "2"]], folder_of(preset) + ".log")
    return plugin


class Counted:
    """What was executed between two marks: `blocks` are pairs of a number and machine code."""

    def __init__(self, instructions):
        self.instructions = instructions
        self.pixels = 0
        self.blocks = []


def count(plugin, preset, part, wants_blocks):
    """Everything in one part of ozr_count, by what and level."""
    folder = folder_of(preset)
    with open(os.path.join(folder, "CMakeCache.txt")) as cache:
        emulator = re.search("^CMAKE_CROSSCOMPILING_EMULATOR:[^=]*=(.*)$", cache.read(), re.M)[1].split(";")
    counts = os.path.join(folder, "counts")
    options = f"{plugin},out={counts}" + (",blocks=on" if wants_blocks else "")
    ran = subprocess.run([*emulator, "-plugin", options, os.path.join(folder, "bench", "ozr_count"), part], check=True,
                         text=True, stdout=subprocess.PIPE)
    marks = []
    with open(counts) as file:
        for line in file:
            if line.startswith(" "):
                executed, code = line.split(None, 1)[0], line.rsplit(None, 1)[1]
                marks[-1].blocks.append((int(executed), code))
            else:
                marks.append(Counted(int(line)))
    found = {}
    for label, counted in zip(ran.stdout.splitlines(), marks[1::2]):  # marks come in twos: before, after
        what, level, pixels = label.split()
        counted.pixels = int(pixels)
        found[what, level] = counted
    return found


def hottest(counted):
    """The blocks that make up the better part of what was executed."""
    left = SHARE * counted.instructions
    for executed, code in sorted(counted.blocks, key=lambda block: -block[0] * len(block[1])):
        if left <= 0:
            return
        left -= executed * len(code) // 8
        yield executed, code


def cycles_of(codes, processor):
    """Cycles of a block when it is executed again and again, by its machine code. AArch64: four bytes an instruction."""
    source = "".join(" ".join("0x" + code[i:i + 2] for i in range(0, len(code), 2)) + "\n" for code in codes)
    disassembled = subprocess.run([f"llvm-mc-{LLVM}", "--disassemble", "--triple=aarch64", "--mattr=+v8.2a"], check=True,
                                  text=True, input=source, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
    lines = [line for line in disassembled.splitlines() if line.startswith("\t") and not line.startswith("\t.")]
    text, at = "", 0
    for i, code in enumerate(codes):
        size = len(code) // 8
        text += f"# LLVM-MCA-BEGIN b{i}\n" + "\n".join(lines[at:at + size]) + "\n# LLVM-MCA-END\n"
        at += size
    assert at == len(lines), "an instruction that llvm-mc does not know"
    regions = json.loads(subprocess.run(
        [f"llvm-mca-{LLVM}", "--mtriple=aarch64", f"--mcpu={processor}", "--iterations=100", "--json"], check=True,
        text=True, input=text, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout)["CodeRegions"]
    return {codes[int(region["Name"][1:])]: region["SummaryView"]["TotalCycles"] / 100 for region in regions}


def print_table(header, rows):
    print("| " + " | ".join(header) + " |\n| --- |" + " ---: |" * (len(header) - 1))
    for row in rows:
        print("| " + " | ".join(row) + " |")


def ratio_cells(scalar, neon):
    return [f"{scalar:.2f}", f"{neon:.2f}", f"{scalar / neon:.1f}"]


def print_instructions(counts, names):
    header = ["instructions a pixel"]
    for build_name in BUILDS.values():
        header += [f"{build_name} scalar", "neon", "ratio"]
    rows = []
    for what in names:
        rows.append([what])
        for preset in BUILDS:
            scalar, neon = (counts[preset][what, level] for level in ["scalar", "neon"])
            rows[-1] += ratio_cells(scalar.instructions / scalar.pixels, neon.instructions / neon.pixels)
    print_table(header, rows)


def print_cycles(counts, names):
    codes = sorted({code for what in names for level in ["scalar", "neon"]
                    for _, code in hottest(counts[what, level])})
    header, rows = ["cycles a pixel, reckoned"], {what: [what] for what in names}
    for processor in PROCESSORS:
        header += [f"{processor} scalar", "neon", "ratio"]
        cycles = cycles_of(codes, processor)
        for what in names:
            per_level = []
            for level in ["scalar", "neon"]:
                counted = counts[what, level]
                per_level.append(sum(executed * cycles[code] for executed, code in hottest(counted)) / counted.pixels)
            rows[what] += ratio_cells(*per_level)
    print_table(header, rows.values())


def print_tables(pattern):
    plugin = build()
    counts = {preset: {} for preset in BUILDS}
    for preset in BUILDS:
        for part in ["kernels", "sweeps"]:
            counts[preset] |= count(plugin, preset, part, preset == "arm64" and part == "kernels")
    names = list(dict.fromkeys(what for what, level in counts["arm64"] if level == "neon" and re.search(pattern, what)))
    print_instructions(counts, names)
    print()
    print_cycles(counts["arm64"], [what for what in names if counts["arm64"][what, "neon"].blocks])
