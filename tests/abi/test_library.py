"""The files of the build: what the shared library exports and needs, which instructions lie where.

QSL_LIBRARY names the shared library, QSL_BUILD the build folder with the objects it was made of.
"""

import functools
import os
import re
import subprocess
from pathlib import Path

import pytest

LIBRARY = os.environ["QSL_LIBRARY"]
BUILD = Path(os.environ["QSL_BUILD"])
SOURCE = Path(__file__).resolve().parents[2]
LEVELS = ["p4", "p4m", "p4m3", "avx", "avx2", "avx512", "cnr"]


@functools.cache
def tool(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def objects(target):
    found = sorted(BUILD.glob(f"**/{target}.dir/**/*.o"))
    assert found, f"no objects of {target} in {BUILD}"
    return [str(path) for path in found]


def kernel_objects():
    return [pytest.param(level, path, id=f"{level}-{Path(path).stem}")
            for level in LEVELS for path in objects(f"qsl_kernels_{level}")]


class Instruction:
    def __init__(self, address, text):
        self.address = address
        parts = text.split(None, 1)
        # Prefixes that objdump writes as words of their own.
        while parts[0] in ("rep", "repz", "repnz", "lock", "notrack", "bnd", "data16", "cs", "ds", "es",
                           "fs", "gs", "ss", "addr16") and len(parts) > 1:
            parts = parts[1].split(None, 1)
        self.name = parts[0]
        self.operands = parts[1].split("#")[0].strip() if len(parts) > 1 else ""
        self.text = text


@functools.cache
def functions(path):
    """Instructions of each function, by its plain (not mangled) name; same names are joined."""
    result = {}
    name = None
    for line in tool("objdump", "-d", "-C", "--no-show-raw-insn", path).splitlines():
        if header := re.fullmatch(r"([0-9a-f]+) <(.*)>:", line):
            name = header[2]
            result.setdefault(name, [])
        elif code := re.match(r"\s*([0-9a-f]+):\t(.*\S)", line):
            result[name].append(Instruction(int(code[1], 16), code[2]))
    return result


def symbols(path):
    """(type letter, name as the linker sees it) of each symbol."""
    for line in tool("nm", path).splitlines():
        yield re.fullmatch(r"[0-9a-f ]{8} (.) (.*)", line).groups()


def of_level(name, level):
    """Whether the linker's name is one of namespace qsl::<level>."""
    return re.match(rf"_ZNK?3qsl{len(level)}{level}(\d|[A-Z])", name) is not None


@functools.cache
def addresses():
    """Addresses of the shared library's symbols."""
    result = {}
    for line in tool("nm", LIBRARY).splitlines():
        if match := re.fullmatch(r"([0-9a-f]{8}) . (\S+)", line):
            result[match[2]] = int(match[1], 16)
    return result


# --- The shared library's file ----------------------------------------------------------------------


def test_exports_are_those_of_the_list():
    listed = [line.strip() for line in (SOURCE / "exports.txt").read_text().splitlines() if line.strip()]
    assert len(set(listed)) == len(listed)
    found = {}
    for line in tool("nm", "-D", "--defined-only", LIBRARY).splitlines():
        kind, name = line.split()[-2:]
        found[name.split("@")[0]] = kind
    assert found.pop("QSL_1") == "A", "the version's own name"
    assert sorted(found) == sorted(listed)
    assert set(found.values()) == {"T"}, "functions and nothing else"


def test_needs_the_c_library_alone():
    dynamic = tool("readelf", "-dW", LIBRARY)
    assert re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic) == ["libc.so.6"]
    assert not re.search(r"\((RPATH|RUNPATH)\)", dynamic)


def test_imports_nothing_of_a_cpp_runtime():
    imported = tool("nm", "-D", "--undefined-only", LIBRARY).split()
    names = {name.split("@")[0] for name in imported}
    assert not {n for n in names if n.startswith(("_Z", "__gxx", "__cxa")) and n != "__cxa_finalize"}


def test_soname():
    assert re.findall(r"\(SONAME\).*\[(.*)\]", tool("readelf", "-dW", LIBRARY)) == ["libqsl.so.1"]


def test_has_no_text_relocations():
    dynamic = tool("readelf", "-dW", LIBRARY)
    assert "TEXTREL" not in dynamic


def segments(kind):
    return re.findall(rf"^\s+{kind}\s+0x\S+ 0x\S+ 0x\S+ 0x\S+ 0x\S+ (.{{3}})", tool("readelf", "-lW", LIBRARY), re.M)


def test_stack_is_not_executable():
    assert segments("GNU_STACK") == ["RW "]


def test_no_segment_is_writable_and_executable():
    assert segments("LOAD")
    assert not [flags for flags in segments("LOAD") if "W" in flags and "E" in flags]


def test_relocations_are_read_only_and_bound_at_load():
    assert len(segments("GNU_RELRO")) == 1
    dynamic = tool("readelf", "-dW", LIBRARY)
    assert "BIND_NOW" in dynamic
    assert re.search(r"\(FLAGS_1\).*\bNOW\b", dynamic)


def test_has_no_unique_and_no_indirect_symbols():
    table = tool("readelf", "-sW", LIBRARY)
    assert not re.search(r"\b(UNIQUE|IFUNC)\b", table)


def test_is_for_i386():
    header = tool("readelf", "-h", LIBRARY)
    assert "ELF32" in header
    assert "Intel 80386" in header


# --- One definition, one level ----------------------------------------------------------------------

COMPILER_HELPER = re.compile(r"__x86\.get_pc_thunk\.\w+")  # two plain instructions, the same everywhere


@pytest.mark.parametrize("level,path", kernel_objects())
def test_globals_of_a_kernel_lie_in_the_namespace_of_its_level(level, path):
    strangers = [name for kind, name in symbols(path)
                 if kind.isupper() and kind != "U" and not COMPILER_HELPER.fullmatch(name)
                 and not of_level(name, level)]
    assert not strangers


@pytest.mark.parametrize("level,path", kernel_objects())
def test_weak_and_common_symbols_of_a_kernel_lie_in_the_namespace_of_its_level(level, path):
    mergeable = [(kind, name) for kind, name in symbols(path)
                 if kind in "WwVvuC" and not COMPILER_HELPER.fullmatch(name)
                 and not of_level(name, level)]
    assert not mergeable


@pytest.mark.parametrize("level,path", kernel_objects())
def test_a_kernel_calls_no_other_level(level, path):
    others = [name for kind, name in symbols(path) if kind == "U"
              for other in LEVELS if other != level and of_level(name, other)]
    assert not others


# --- Instructions of a level ------------------------------------------------------------------------

NEWER = {
    "SSE3": r"addsubp[sd]|hadd[ps]+[sd]|hsubp[sd]|lddqu|movddup|movs[hl]dup|fisttp\w*",
    "SSSE3": r"pshufb|ph(add|sub)(w|d|sw)|pmaddubsw|pmulhrsw|psign[bwd]|pabs[bwd]|palignr",
    "SSE4.1": r"pmulld|pmuldq|dpp[sd]|movntdqa|p?blend\w+|p(min|max)(sb|uw|ud|sd)|round[ps][sd]|insertps|"
              r"pinsr[bdq]|extractps|pextr[bdq]|pmov[sz]x\w+|mpsadbw|phminposuw|ptest|pcmpeqq|packusdw",
    "SSE4.2": r"pcmpgtq|pcmp[ei]str[im]|crc32\w?",
    "POPCNT": r"popcnt\w?",
    "LZCNT": r"lzcnt\w?",
    "BMI": r"andn|bextr|bls(i|msk|r)|bzhi|mulx|pdep|pext|rorx|sarx|shlx|shrx",
    "PCLMULQDQ": r"v?pclmul\w+",
    "none": r"movbe\w?|ad[co]x\w?|v?aes\w+|sha\w+\d\w*|rdrand|rdseed|vcvtph2ps|vcvtps2ph|gf2p8\w+|x(begin|end|abort)|"
            r"rdtscp|clflushopt|clwb|prefetchw(t1)?|vfm\w+ss4|vfmaddp[sd]4|vperm(il2)p[sd]|vpmacs\w+",
    "AVX": r"v(?!er[rw]$)\w+",
    "FMA": r"vfn?m(add|sub)\w+",
    "AVX2": r"vpbroadcast[bwdq]|vbroadcasti128|v(insert|extract)i128|vperm2i128|vperm(d|q|pd|ps)|"
            r"vp?gather\w+|vps[lr][la]v[dq]|vpmaskmov[dq]|vpblendd",
    "AVX-512": r"k(mov|and|andn|or|xor|xnor|not|ortest|test|add|shift[lr]|unpck)\w*",
    "AVX-512 of other levels": r"vperm(b|i2b|t2b)|vpmultishiftqb|vpdp\w+|vpmadd52\w+|vexp2\w+|vr(cp|sqrt)28\w+|"
                               r"vp?(gather|scatter)pf\w+|vpconflict\w|vplzcnt\w|vpbroadcastm\w+|vpopcnt\w|"
                               r"vpshufbitqmb|vp(compress|expand)[bw]|vpsh[lr]d\w+|v4f\w+|vp4dp\w+|vp2inter\w+|"
                               r"vdpbf16ps|vcvtne\w+|v\w+ph",
}
NEWER = {feature: re.compile(pattern) for feature, pattern in NEWER.items()}

# tzcnt is not asked for: without BMI it runs as bsf, with the same result for all but zero, and
# compilers use it so on every level.
ALLOWED = {
    "p4": set(),
    "cnr": set(),
    "p4m": {"SSE3", "SSSE3"},
    "p4m3": {"SSE3", "SSSE3", "SSE4.1", "SSE4.2"},
    "avx": {"SSE3", "SSSE3", "SSE4.1", "SSE4.2", "AVX"},
    "avx2": {"SSE3", "SSSE3", "SSE4.1", "SSE4.2", "AVX", "AVX2", "FMA", "BMI", "LZCNT", "PCLMULQDQ"},
}
ALLOWED["avx512"] = ALLOWED["avx2"] | {"AVX-512"}

# Bodies for which the kernel asks the processor itself: (level, function) and the feature.
ASKED = [("p4m", re.compile(r"sse41"), "SSE4.1")]

# Forms that a 256-bit register alone makes newer: integer operations came with AVX2.
INTEGER_256 = re.compile(r"vp(?!ermilp[sd]|erm2f128|test)\w+|vmovntdqa|vmpsadbw")


def features_of(instruction):
    name, operands = instruction.name, instruction.operands
    found = {feature for feature, pattern in NEWER.items() if pattern.fullmatch(name)}
    if "%ymm" in operands:
        found.add("AVX")
        if INTEGER_256.fullmatch(name):
            found.add("AVX2")
    if re.fullmatch(r"vbroadcasts[sd]", name) and operands.startswith("%xmm"):
        found.add("AVX2")
    if re.search(r"%zmm|%k[0-7]|\{1to|\{z\}|\{r[nudz]-sae\}|\{sae\}", operands):
        found.add("AVX-512")
    if found & {"FMA", "AVX2", "AVX-512"}:
        found.add("AVX")
    return found


@pytest.mark.parametrize("level,path", kernel_objects())
def test_instructions_of_a_kernel_are_those_of_its_level(level, path):
    too_new = []
    for function, code in functions(path).items():
        asked = {feature for where, name, feature in ASKED if where == level and name.search(function)}
        for instruction in code:
            extra = features_of(instruction) - ALLOWED[level] - asked
            if extra:
                too_new.append(f"{function}: {instruction.text} ({', '.join(sorted(extra))})")
    assert not too_new


@pytest.mark.parametrize("level", ["avx", "avx2", "avx512"])
def test_wide_kernels_are_there_and_the_check_sees_them(level):
    wanted = {"avx": "AVX", "avx2": "FMA", "avx512": "AVX-512"}[level]
    seen = set()
    for path in objects(f"qsl_kernels_{level}"):
        for code in functions(path).values():
            for instruction in code:
                seen |= features_of(instruction)
    assert wanted in seen


VECTOR = re.compile(r"%([xyz]?mm)[0-7]|%k[0-7]")


@pytest.mark.parametrize("path", [pytest.param(p, id=Path(p).stem) for p in objects("qsl_frame")])
def test_the_frame_has_no_vector_instructions(path):
    found = [f"{function}: {instruction.text}" for function, code in functions(path).items()
             for instruction in code
             if VECTOR.search(instruction.operands) or features_of(instruction)
             or instruction.name in ("emms", "sfence", "lfence", "mfence", "ldmxcsr", "stmxcsr")
             or instruction.name.startswith(("prefetch", "fxsave", "fxrstor", "xsave", "xrstor"))]
    assert not found


def test_vector_instructions_of_the_library_lie_in_the_levels():
    assert functions(LIBRARY)
    own = re.compile(r"qsl::(" + "|".join(LEVELS) + r")::")
    found = [f"{function}: {instruction.text}" for function, code in functions(LIBRARY).items()
             if not own.search(function)
             for instruction in code if VECTOR.search(instruction.operands)]
    assert not found


# --- Dispatchers ------------------------------------------------------------------------------------


def dispatchers():
    return sorted(name for name in addresses() if name.startswith("qsl_dispatch_"))


def test_each_slot_has_its_dispatcher():
    names = {name.removeprefix("qsl_dispatch_") for name in dispatchers()}
    slots = {name.removeprefix("qsl_slot_") for name in addresses() if name.startswith("qsl_slot_")}
    assert names
    assert names == slots


@pytest.mark.parametrize("name", dispatchers())
def test_a_dispatcher_is_load_test_jump(name):
    routine = name.removeprefix("qsl_dispatch_")
    code = functions(LIBRARY)[name][:7]
    shape = [(i.name, i.operands) for i in code]

    # The slot, relative to the program counter: no argument on the stack is touched and no register
    # but eax.
    assert shape[0] == ("call", f"{addresses()['qsl_pc_thunk']:x} <qsl_pc_thunk>")
    load = re.fullmatch(r"(0x[0-9a-f]+)\(%eax\),%eax", shape[1][1])
    assert shape[1][0] == "mov" and load
    assert code[1].address + int(load[1], 16) == addresses()[f"qsl_slot_{routine}"]

    assert shape[2] == ("test", "%eax,%eax")
    assert shape[3][0] == "je" and int(shape[3][1].split()[0], 16) == code[5].address
    assert shape[4] == ("jmp", "*%eax")

    # The slow path asks for the variant and goes on in the same way.
    assert shape[5] == ("call", f"{addresses()[f'qsl_resolve_{routine}']:x} <qsl_resolve_{routine}>")
    assert shape[6] == ("jmp", "*%eax")


def test_the_program_counter_helper_is_two_instructions():
    code = functions(LIBRARY)["qsl_pc_thunk"][:2]
    assert [(i.name, i.operands) for i in code] == [("mov", "(%esp),%eax"), ("ret", "")]
