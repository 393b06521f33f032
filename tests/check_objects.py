#!/usr/bin/env python3
"""usage: check_objects.py OBJDUMP OBJECT...

Looks into the library's objects, where the compiler's and the linker's own start-up code is not yet mixed in: no code
that runs at load time, no guarded statics, nothing of the C++ runtime. On x86, every instruction belongs to the baseline
(SSE2 and no x87 arithmetic), or to the set after which the file is named.
"""
import re
import subprocess
import sys

# Instructions with a vector register: what is not named here is refused. Bases of names, without the last letters that
# tell the element, where all elements belong to one set.
SSE2 = r"""mov(a|u|nt|msk|l|h|lh|hl)p[sd] movlhps movhlps mov(s[sd]|d|q|dqa|dqu|ntdq|q2dq|dq2q|abs)
    (add|sub|mul|div|sqrt|min|max|cmp\w*)[sp][sd] (ucomi|comi)s[sd] rsqrt[sp]s rcp[sp]s (and|andn|or|xor|unpckh|unpckl|shuf)p[sd]
    cvt\w+ punpck[hl](bw|wd|dq|qdq) pack(ss(wb|dw)|uswb) padd(u?s)?[bwdq] psub(u?s)?[bwdq] pmul(l|h|hu)w pmuludq pmaddwd
    psadbw pavg[bw] pm(in|ax)(ub|sw) pcmp(eq|gt)[bwd] pand pandn por pxor ps[rl]l([wdq]|dq) psra[wd] pshuf(d|hw|lw)
    pmovmskb pextrw pinsrw maskmovdqu"""
SSSE3 = r"""addsubp[sd] h(add|sub)p[sd] mov(d|sh|sl)dup lddqu pshufb ph(add|sub)s?[wd] pmaddubsw pmulhrsw psign[bwd]
    pabs[bwd] palignr"""
SSE41 = r"""pmulld pmuldq pm(in|ax)(sb|uw|sd|ud) pmov[sz]x\w+ p?blendv?\w+ dpp[sd] mpsadbw phminposuw p(extr|insr)[bdq]
    extractps insertps packusdw pcmpeqq ptest round[sp][sd] movntdqa"""
AVX2 = r"v(?!f?n?m(add|sub))\w+"  # fused multiply-adds round once, where two roundings are the rule

# Plain instructions that came after SSE2. Not tzcnt: compilers write it for bsf, and older processors run it as bsf.
LATER = re.compile(r"(popcnt|lzcnt|andn|bextr|bls\w+|bzhi|pdep|pext|rorx|sarx|shlx|shrx|mulx|adcx|adox|movbe|crc32|"
                   r"xgetbv|xsave\w*|rdrand|rdseed|v\w+|k\w+)[bwlq]?$")
VECTOR = re.compile(r"%[xyz]mm\d")
# How 32-bit code returns and takes a floating-point result (0, 1 and a changed sign included), and how it converts
# between one and a 64-bit integer: nothing among them rounds but the last store.
X87_MOVE = re.compile(r"(f(ld|st|stp)[stl]?|fld[1z]|fchs|f(ild|istp)ll|f(nst|ld)cw)$")


def allowed_in(path):
    """The vector instructions and the plain ones of a file, by its name."""
    name = re.search(r"_(ssse3|avx2)\.cpp", path)
    sets = {"ssse3": [SSSE3], "avx2": [SSSE3, SSE41, AVX2]}
    names = " ".join([SSE2] + sets.get(name and name[1], [])).split()
    plain = {"vzeroupper"} if name and name[1] == "avx2" else {"xgetbv"} if path.endswith("kernels/cpu.cpp.o") else set()
    return re.compile(f"({'|'.join(names)})$"), plain


def fault_of(mnemonic, operands, vector, plain):
    if VECTOR.search(operands):
        if mnemonic == "pextrw" and operands.endswith(")"):
            mnemonic = "pextrb"  # to memory: of SSE4.1, like its neighbours
        return "" if vector.match(mnemonic) and "%zmm" not in operands else "vector instruction beyond the file's set"
    if re.search(r"%mm\d", operands) or mnemonic == "emms":
        return "MMX"
    if mnemonic.startswith("f"):
        return "" if X87_MOVE.match(mnemonic) else "x87"
    if LATER.match(mnemonic) and mnemonic not in plain:
        return "instruction beyond the baseline"
    return ""


def faults(objdump, path):
    text = subprocess.run([objdump, "-htdw", "--no-show-raw-insn", path], check=True, capture_output=True, text=True).stdout
    for pattern in (r"\s\.(init_array|ctors|preinit_array)\S*", r"\*UND\*.*\b(__cxa_\w+|_Unwind_\w+|__gxx_\w+|_Zn[wa]\w+)"):
        for found in re.finditer(pattern, text):
            yield found[0].strip()
    if "elf64-x86-64" not in text and "elf32-i386" not in text:
        return
    vector, plain = allowed_in(path)
    function = "?"
    wide, cleared = set(), set()
    for line in text.splitlines():
        label = re.match(r"[0-9a-f]+ <(?!\.L)(.*)>:$", line)  # .L: a place within a function, as tables of jumps name it
        function = label[1] if label else function
        if "%ymm" in line:
            wide.add(function)
        if "vzeroupper" in line:
            cleared.add(function)
        code = re.match(r"\s+[0-9a-f]+:\t(?:(?:rep[nz]*|lock|data16|cs|ds|notrack|bnd)\s+)*(\S+)\s*(.*)", line)
        fault = code and fault_of(code[1], code[2], vector, plain)
        if fault:
            yield f"{fault}: {code[1]} {code[2]} in {function}"
    # Upper halves that stay in use slow down all SSE code after them. Functions that are handed vectors ("Dv" in their
    # names) leave clearing to their callers.
    for function in wide - cleared:
        if "Dv" not in function:
            yield f"upper halves of vector registers are not cleared in {function}"


def main():
    objdump, paths = sys.argv[1], sys.argv[2:]
    found = [f"{path}: {fault}" for path in paths for fault in faults(objdump, path)]
    print("\n".join(found[:50]) or f"{len(paths)} objects are as they should be")
    sys.exit(1 if found or not paths else 0)


main()
