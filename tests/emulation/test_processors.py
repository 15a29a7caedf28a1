"""Which variants the library selects on which processor: a matrix of emulated processor models.

Each row runs the probe under `qemu-i386 -cpu MODEL,vendor=VENDOR` with the row's environment and
compares three things that are independent of each other: the variants that the dispatcher slots
hold afterwards, the processor text of the verbose banner, and the reproducibility mode in the
verbose line. The probe checks the results of the calls itself.

The matrix runs against two builds: `reference`, which prefers processors of the vendor
GenuineArvex, and `release`, which prefers every vendor's. QSL_BUILD_ROOT names the folder of the
builds (default: build/).
"""

import os
import re
import subprocess
from pathlib import Path

import pytest

SOURCE = Path(__file__).resolve().parents[2]
BUILD_ROOT = Path(os.environ.get("QSL_BUILD_ROOT", SOURCE / "build"))
OURS = "GenuineArvex"
OTHER = "AuthenticAMD"

# The levels, lowest first, as (variant, processor text of the banner).
TEXTS = {
    "p4": "Arvex(R) Streaming SIMD Extensions 2 (Arvex(R) SSE2) enabled processors",
    "p4m": "Arvex(R) Supplemental Streaming SIMD Extensions 3 (Arvex(R) SSSE3) enabled processors",
    "p4m3": "Arvex(R) Streaming SIMD Extensions 4.2 (Arvex(R) SSE4.2) enabled processors",
    "avx": "Arvex(R) Advanced Vector Extensions (Arvex(R) AVX) enabled processors",
    "avx2": "Arvex(R) Advanced Vector Extensions 2 (Arvex(R) AVX2) enabled processors",
    None: "Arvex(R) Architecture processors",
}
BELOW_MINIMUM = (
    "Arvex QSL FATAL ERROR: This system does not meet the minimum requirements for use of the "
    "Arvex(R) Quartz Solver Library.\n"
    "The processor must support the Arvex(R) Streaming SIMD 2 Extensions (Arvex(R) SSE2) "
    "instructions.\n"
)
REFUSED = "Arvex QSL ERROR: CPU %d is not supported.\n"

# Detection: model | variant, preferred vendor | variant, another vendor in the reference build.
DETECTION = [
    ("coreduo", "p4", "p4"),  # SSE3
    ("n270", "p4m", "p4m"),  # SSSE3, in-order low-power
    ("core2duo", "p4m", "p4m"),  # SSSE3
    ("Penryn", "p4m", "p4m"),  # SSE4.1
    ("Nehalem", "p4m3", "p4m3"),
    ("SandyBridge", "avx", "p4m3"),
    ("Haswell", "avx2", "p4m3"),
    ("max", "avx2", "p4m3"),
    # The AVX2 level needs each of its companions.
    ("Haswell,-avx2", "avx", "p4m3"),
    ("Haswell,-fma", "avx", "p4m3"),
    ("Haswell,-bmi1", "avx", "p4m3"),
    ("Haswell,-bmi2", "avx", "p4m3"),
    ("Haswell,-abm", "avx", "p4m3"),
    ("Haswell,-pclmulqdq", "avx", "p4m3"),
    # Without the operating system's support of the wide registers there is no AVX.
    ("Haswell,-xsave", "p4m3", "p4m3"),
    ("pentium3,+sse2", "p4", "p4"),
]

# QSL_ENABLE_INSTRUCTIONS: model | value | variant. Preferred vendor.
ENABLED_INSTRUCTIONS = [
    ("Haswell", "", "avx2"),
    ("Haswell", "SSE4_2", "p4m3"),
    ("Haswell", "AVX", "avx"),
    ("Haswell", "AVX2", "avx2"),
    ("Haswell", "AVX512", "avx2"),  # not there: no limit
    ("Haswell", "AVX512_MIC", "avx2"),  # no change
    ("Haswell", "AVX512_MIC_E1", "avx2"),  # no change
    ("Haswell", "avx", "avx2"),  # keywords are upper case
    ("Haswell", "AVX ", "avx2"),  # and match as a whole
    ("Haswell", "SSE4.2", "avx2"),
    ("Haswell", "SSE2", "avx2"),  # not a keyword
    ("Haswell", "AVX" + "X" * 40, "avx2"),  # too long: as if unset
    ("max", "SSE4_2", "p4m3"),
    ("SandyBridge", "AVX2", "avx"),  # not there: no limit
    ("SandyBridge", "AVX", "avx"),
    ("SandyBridge", "SSE4_2", "p4m3"),
    ("Nehalem", "AVX", "p4m3"),
    ("Nehalem", "SSE4_2", "p4m3"),
    ("Penryn", "SSE4_2", "p4m"),
    ("coreduo", "SSE4_2", "p4"),
]

# QSL_CBWR: model | value | mode shown | variant. Preferred vendor.
REPRODUCIBILITY = [
    ("Haswell", None, "OFF", "avx2"),
    ("Haswell", "", "OFF", "avx2"),
    ("Haswell", "AUTO", "AUTO", "avx2"),
    ("Haswell", "COMPATIBLE", "COMPATIBLE", "cnr"),
    ("Haswell", "SSE2", "SSE2", "cnr"),
    ("Haswell", "SSE3", "SSE2", "cnr"),  # merged with SSE2
    ("Haswell", "SSSE3", "SSSE3", "cnr"),
    ("Haswell", "SSE4_1", "SSE4_1", "cnr"),
    ("Haswell", "SSE4_2", "SSE4_2", "p4m3"),
    ("Haswell", "AVX", "AVX", "avx"),
    ("Haswell", "AVX2", "AVX2", "avx2"),
    ("Haswell", "AVX512", "AUTO", "avx2"),
    ("Haswell", "AVX512_MIC", "AUTO", "avx2"),
    ("Haswell", "AVX512_MIC_E1", "AUTO", "avx2"),
    ("Haswell", "BRANCH=AUTO", "AUTO", "avx2"),
    ("Haswell", "BRANCH=COMPATIBLE", "COMPATIBLE", "cnr"),
    ("Haswell", "BRANCH=SSE2", "SSE2", "cnr"),
    ("Haswell", "BRANCH=SSE3", "SSE2", "cnr"),
    ("Haswell", "BRANCH=SSSE3", "SSSE3", "cnr"),
    ("Haswell", "BRANCH=SSE4_1", "SSE4_1", "cnr"),
    ("Haswell", "BRANCH=SSE4_2", "SSE4_2", "p4m3"),
    ("Haswell", "BRANCH=AVX", "AVX", "avx"),
    ("Haswell", "BRANCH=AVX2", "AVX2", "avx2"),
    ("Haswell", "BRANCH=AVX512", "AUTO", "avx2"),
    ("Haswell", "BRANCH=AVX512_MIC", "AUTO", "avx2"),
    ("Haswell", "BRANCH=AVX512_MIC_E1", "AUTO", "avx2"),
    ("Haswell", "BRANCH=", "AUTO", "avx2"),
    ("Haswell", "branch=AVX", "AUTO", "avx2"),
    ("Haswell", "avx", "AUTO", "avx2"),
    ("Haswell", "AVX,STRICT", "AUTO", "avx2"),
    ("Haswell", "nonsense", "AUTO", "avx2"),
    ("Haswell", "AVX" + "X" * 130, "OFF", "avx2"),  # too long: as if unset
    # What the processor lacks becomes AUTO.
    ("coreduo", "AUTO", "AUTO", "cnr"),
    ("coreduo", "COMPATIBLE", "COMPATIBLE", "cnr"),
    ("coreduo", "SSE2", "SSE2", "cnr"),
    ("coreduo", "SSSE3", "AUTO", "cnr"),
    ("coreduo", "AVX2", "AUTO", "cnr"),
    ("core2duo", "SSSE3", "SSSE3", "cnr"),
    ("core2duo", "SSE4_1", "AUTO", "cnr"),
    ("n270", "SSE4_1", "AUTO", "cnr"),
    ("Penryn", "SSE4_1", "SSE4_1", "cnr"),
    ("Penryn", "SSE4_2", "AUTO", "cnr"),
    ("Nehalem", "SSE4_2", "SSE4_2", "p4m3"),
    ("Nehalem", "AVX", "AUTO", "p4m3"),
    ("SandyBridge", "AVX", "AVX", "avx"),
    ("SandyBridge", "AVX2", "AUTO", "avx"),
    ("SandyBridge", "SSE2", "SSE2", "cnr"),
]

# QSL_CBWR in the reference build on another vendor's processor: only AUTO and COMPATIBLE are served.
REPRODUCIBILITY_OTHER = [
    ("Haswell", "AUTO", "AUTO", "p4m3"),
    ("Haswell", "COMPATIBLE", "COMPATIBLE", "cnr"),
    ("Haswell", "SSE2", "AUTO", "p4m3"),
    ("Haswell", "SSE3", "AUTO", "p4m3"),
    ("Haswell", "SSSE3", "AUTO", "p4m3"),
    ("Haswell", "SSE4_1", "AUTO", "p4m3"),
    ("Haswell", "SSE4_2", "AUTO", "p4m3"),
    ("Haswell", "AVX", "AUTO", "p4m3"),
    ("Haswell", "BRANCH=AVX2", "AUTO", "p4m3"),
    ("Haswell", "AVX512", "AUTO", "p4m3"),
    ("core2duo", "SSE2", "AUTO", "cnr"),
    ("core2duo", "COMPATIBLE", "COMPATIBLE", "cnr"),
]

# QSL_DEBUG_CPU_TYPE: model | value | variant. It is taken without any test, in the notation of C.
OVERRIDES = [
    ("max", "2", "p4"),
    ("max", "4", "p4m"),
    ("max", "5", "p4m3"),
    ("max", "6", "avx"),
    ("max", "7", "avx2"),
    ("max", "0x6", "avx"),
    ("max", "05", "p4m3"),
    ("max", "  4", "p4m"),
    ("max", "6 and more", "avx"),
    ("max", "abc", "avx2"),  # not a number: no override
    ("max", "", "avx2"),
    ("max", "5" + " " * 40, "avx2"),  # too long: as if unset
    ("Nehalem", "2", "p4"),
    ("coreduo", "2", "p4"),
]

# QSL_DEBUG_CPU_TYPE with a type that has no variants: value | number in the message.
REFUSED_OVERRIDES = [("3", 3), ("8", 8), ("10", 10), ("1", 1), ("0", 0), ("-1", -1), ("0x8", 8), ("11", 11)]

# Several settings at once: model | settings | mode shown | variant. Preferred vendor.
COMBINATIONS = [
    # The override wins over the branch, which is checked against the overriding type.
    ("max", "QSL_DEBUG_CPU_TYPE=6 QSL_CBWR=SSE2", "SSE2", "avx"),
    ("max", "QSL_DEBUG_CPU_TYPE=4 QSL_CBWR=SSE4_1", "SSE4_1", "cnr"),
    ("max", "QSL_DEBUG_CPU_TYPE=4 QSL_CBWR=AVX", "AUTO", "cnr"),
    ("max", "QSL_DEBUG_CPU_TYPE=2 QSL_CBWR=COMPATIBLE", "COMPATIBLE", "cnr"),
    ("core2duo", "QSL_DEBUG_CPU_TYPE=4 QSL_CBWR=SSE4_1", "AUTO", "cnr"),
    ("max", "QSL_DEBUG_CPU_TYPE=7 QSL_ENABLE_INSTRUCTIONS=SSE4_2", "OFF", "avx2"),
    # A limit on the instructions limits the branches.
    ("Haswell", "QSL_ENABLE_INSTRUCTIONS=AVX QSL_CBWR=AVX2", "AUTO", "avx"),
    ("Haswell", "QSL_ENABLE_INSTRUCTIONS=AVX QSL_CBWR=AVX", "AVX", "avx"),
    ("Haswell", "QSL_ENABLE_INSTRUCTIONS=SSE4_2 QSL_CBWR=AUTO", "AUTO", "p4m3"),
    ("Haswell", "QSL_ENABLE_INSTRUCTIONS=SSE4_2 QSL_CBWR=SSSE3", "SSSE3", "cnr"),
    # This one keyword sends branches above SSE4.2 back to detection.
    ("Haswell", "QSL_ENABLE_INSTRUCTIONS=AVX512_MIC_E1 QSL_CBWR=AVX", "AVX", "avx2"),
    ("Haswell", "QSL_ENABLE_INSTRUCTIONS=AVX512_MIC_E1 QSL_CBWR=SSE4_2", "SSE4_2", "p4m3"),
    ("Haswell", "QSL_ENABLE_INSTRUCTIONS=AVX512_MIC QSL_CBWR=AVX", "AVX", "avx"),
]

# The type that a mode decides for the banner, where the variant is the shared `cnr`.
CNR_LEVEL = {"SSE2": "p4", "SSSE3": "p4m", "SSE4_1": "p4m"}
CNR_DETECTED = {"coreduo": "p4", "core2duo": "p4m", "n270": "p4m", "Penryn": "p4m", "max": "p4m"}


# Routines with a body of their own for the reproducible mode of the two lowest levels.
OWN_REPRODUCIBLE = {"ddot", "zaxpy"}
# Routines that the mode does not concern: they have the body of the type.
NOT_REPRODUCIBLE = {"zgetrfnp_compact"}
# What the probe calls.
CALLED = {"ddot", "zaxpy", "zcopy", "zgepack_compact", "zgeunpack_compact", "zgetrfnp_compact", "ztrsm_compact"}


class Build:
    """A built library, its dispatcher slots and variants, and a probe linked to it."""

    def __init__(self, name, folder):
        self.name = name
        self.library = BUILD_ROOT / name / "libqsl.so"
        if not self.library.exists():
            pytest.fail(f"{self.library} is missing: cmake --preset {name} && cmake --build --preset {name}")
        self.slots, self.variants = {}, {}
        for line in self._tool("nm", "--defined-only", self.library).splitlines():
            address, _, symbol = line.split(maxsplit=2)
            if symbol.startswith("qsl_slot_"):
                self.slots[symbol.removeprefix("qsl_slot_")] = address
            space = re.match(r"_ZN3qsl(\d)(\w+)", symbol)  # qsl::LEVEL::...
            if space:
                self.variants[int(address, 16)] = space[2][: int(space[1])]
        self.probe = folder / f"probe-{name}"
        self._tool(
            "gcc", "-m32", "-march=i686", "-mno-sse", "-O1", "-Wall", "-Wextra", "-Werror",
            f"-I{SOURCE / 'include'}", SOURCE / "tests/emulation/probe.c", "-o", self.probe,
            f"-L{self.library.parent}", "-lqsl", f"-Wl,-rpath,{self.library.parent.resolve()}",
        )  # fmt: skip

    @staticmethod
    def _tool(*command):
        done = subprocess.run(list(map(str, command)), capture_output=True, text=True)
        assert done.returncode == 0, done.stderr
        return done.stdout

    def run(self, model, vendor, settings=None, arguments=None, verbose=True):
        environment = {k: v for k, v in os.environ.items() if not k.startswith("QSL_")}
        environment.update(settings or {})
        if verbose:
            environment["QSL_VERBOSE"] = "1"
        if arguments is None:
            arguments = [f"{name}={offset}" for name, offset in self.slots.items()]
        return subprocess.run(
            ["qemu-i386", "-cpu", f"{model},vendor={vendor}", str(self.probe), *arguments],
            env=environment, capture_output=True, text=True, timeout=60,
        )  # fmt: skip

    def expect(self, model, vendor, settings, variant, cnr="OFF", banner=None):
        """Runs the probe and compares slots, mode and banner; `banner` is the level in its text."""
        done = self.run(model, vendor, settings)
        assert done.returncode == 0, done.stdout + done.stderr
        lines = done.stdout.splitlines()
        assert "results ok" in lines

        held = dict(re.findall(r"^slot (\w+) ([0-9a-f]+)$", done.stdout, re.M))
        levels = {name: self.variants.get(int(code, 16)) for name, code in held.items() if int(code, 16)}
        assert set(levels) == CALLED
        # The other routines' reproducible bodies are those of p4.
        expected = dict.fromkeys(levels, "p4" if variant == "cnr" else variant)
        expected.update(dict.fromkeys(OWN_REPRODUCIBLE, variant))
        if variant == "cnr":
            level = "p4" if cnr == "COMPATIBLE" else banner
            expected.update(dict.fromkeys(NOT_REPRODUCIBLE, level))
        assert levels == expected

        assert set(re.findall(r" CNR:(\S+) ", done.stdout)) == {cnr}

        preferred = self.name == "release" or vendor == OURS or cnr not in ("OFF", "AUTO")
        text = TEXTS[(banner or variant) if preferred and cnr != "COMPATIBLE" else None]
        assert re.fullmatch(
            r"QSL_VERBOSE Arvex\(R\) QSL 2018\.0 Update 2 Product build 20180127 for "
            + re.escape(text)
            + r" 32-bit, Lnx \d+\.\d\dGHz sequential",
            lines[0],
        ), lines[0]


@pytest.fixture(scope="session")
def builds(tmp_path_factory):
    folder = tmp_path_factory.mktemp("probe")
    return {name: Build(name, folder) for name in ("reference", "release")}


# The builds on which a vendor's processors are the preferred ones.
preferred = pytest.mark.parametrize(
    "build, vendor", [("reference", OURS), ("release", OURS), ("release", OTHER)]
)


def cnr_banner(model, cnr, variant):
    """The level that the banner names when the two lowest levels share the reproducible variant."""
    if variant != "cnr":
        return variant
    return CNR_LEVEL.get(cnr) or CNR_DETECTED.get(model)


@preferred
@pytest.mark.parametrize("model, variant, _", DETECTION)
def test_detection(builds, build, vendor, model, variant, _):
    builds[build].expect(model, vendor, {}, variant)


@pytest.mark.parametrize("model, _, variant", DETECTION)
def test_detection_on_another_vendor_stops_at_sse42(builds, model, _, variant):
    builds["reference"].expect(model, OTHER, {}, variant)


@pytest.mark.parametrize("model", ["pentium3", "Nehalem,-fxsr", "Haswell,-sse2,-ssse3,-sse4.2,-avx"])
@pytest.mark.parametrize("vendor", [OURS, OTHER])
@pytest.mark.parametrize("build", ["reference", "release"])
def test_processor_below_the_minimum_is_refused(builds, build, vendor, model):
    done = builds[build].run(model, vendor)
    assert (done.stdout, done.returncode) == (BELOW_MINIMUM, 1)


@pytest.mark.parametrize("build", ["reference", "release"])
def test_calls_without_a_kernel_work_below_the_minimum(builds, build):
    done = builds[build].run("pentium3", OURS, arguments=["early"], verbose=False)
    assert (done.stdout, done.returncode) == ("results ok\n", 0)


@preferred
@pytest.mark.parametrize("model, value, variant", ENABLED_INSTRUCTIONS)
def test_enabled_instructions(builds, build, vendor, model, value, variant):
    builds[build].expect(model, vendor, {"QSL_ENABLE_INSTRUCTIONS": value}, variant)


@pytest.mark.parametrize("value", ["SSE4_2", "AVX", "AVX2", "AVX512", "AVX512_MIC_E1"])
@pytest.mark.parametrize("model, variant", [("Haswell", "p4m3"), ("Nehalem", "p4m3"), ("core2duo", "p4m")])
def test_enabled_instructions_on_another_vendor_have_no_effect(builds, model, variant, value):
    builds["reference"].expect(model, OTHER, {"QSL_ENABLE_INSTRUCTIONS": value}, variant)


@preferred
@pytest.mark.parametrize("model, value, cnr, variant", REPRODUCIBILITY)
def test_reproducibility(builds, build, vendor, model, value, cnr, variant):
    settings = {} if value is None else {"QSL_CBWR": value}
    builds[build].expect(model, vendor, settings, variant, cnr, cnr_banner(model, cnr, variant))


@pytest.mark.parametrize("model, value, cnr, variant", REPRODUCIBILITY_OTHER)
def test_reproducibility_on_another_vendor(builds, model, value, cnr, variant):
    builds["reference"].expect(model, OTHER, {"QSL_CBWR": value}, variant, cnr, cnr_banner(model, cnr, variant))


@pytest.mark.parametrize("vendor", [OURS, OTHER])
@pytest.mark.parametrize("build", ["reference", "release"])
@pytest.mark.parametrize("model, value, variant", OVERRIDES)
def test_override(builds, build, vendor, model, value, variant):
    if (build, vendor, variant) == ("reference", OTHER, "avx2") and value != "7":
        variant = "p4m3"  # the rows without an override
    builds[build].expect(model, vendor, {"QSL_DEBUG_CPU_TYPE": value}, variant)


@pytest.mark.parametrize("vendor", [OURS, OTHER])
@pytest.mark.parametrize("build", ["reference", "release"])
@pytest.mark.parametrize("value, number", REFUSED_OVERRIDES)
def test_override_without_variants_is_refused(builds, build, vendor, value, number):
    done = builds[build].run("max", vendor, {"QSL_DEBUG_CPU_TYPE": value})
    assert (done.stdout, done.returncode) == (REFUSED % number, 1)


@pytest.mark.parametrize("value", ["3", "8", "10", "1", "0"])
def test_calls_without_a_kernel_work_under_a_refused_override(builds, value):
    done = builds["release"].run("max", OURS, {"QSL_DEBUG_CPU_TYPE": value}, ["early"], verbose=False)
    assert (done.stdout, done.returncode) == ("results ok\n", 0)


@preferred
@pytest.mark.parametrize("model, settings, cnr, variant", COMBINATIONS)
def test_combined_settings(builds, build, vendor, model, settings, cnr, variant):
    pairs = dict(word.split("=", 1) for word in settings.split())
    builds[build].expect(model, vendor, pairs, variant, cnr, cnr_banner(model, cnr, variant))


def test_verbose_line(builds):
    """The whole of a line, on a processor that knows nothing above SSE4.2."""
    done = builds["reference"].run("Nehalem", OURS)
    pointer = r"(0x)?[0-9a-fA-F]+"
    times = r"(0\.00s|\d+\.\d\ds|\d+\.\d\dms|\d+\.\d\dus|\d+ns)"
    tail = rf" {times} CNR:OFF Dyn:1 FastMM:1 TID:0  NThr:1"
    for call in [
        rf"DDOT\(77,{pointer},1,{pointer},1\)",
        rf"DDOT\(77,{pointer},-2,{pointer},1\)",
        rf"ZCOPY\(77,{pointer},1,{pointer},1\)",
        rf"ZAXPY\(77,{pointer},{pointer},1,{pointer},1\)",
    ]:
        assert re.search(rf"^QSL_VERBOSE {call}{tail}$", done.stdout, re.M), done.stdout
    assert done.stdout.count(" build ") == 1
