"""The environment variables as a calling program meets them.

Each test starts a small program (probe.c) that calls the shared library. QSL_PROBE names it.
"""

import os
import re
import subprocess
import time

import pytest

PROBE = os.environ["QSL_PROBE"]
FORKING_MODULE = os.environ["QSL_FORKING_MODULE"]
KEPT = {k: v for k, v in os.environ.items()
        if not k.startswith(("QSL_", "OMP_", "A_MPI_", "OMPI_", "MPI_"))}

GENERAL = "Arvex(R) Architecture processors"
TEXTS = {
    2: "Arvex(R) Streaming SIMD Extensions 2 (Arvex(R) SSE2) enabled processors",
    4: "Arvex(R) Supplemental Streaming SIMD Extensions 3 (Arvex(R) SSSE3) enabled processors",
    5: "Arvex(R) Streaming SIMD Extensions 4.2 (Arvex(R) SSE4.2) enabled processors",
    6: "Arvex(R) Advanced Vector Extensions (Arvex(R) AVX) enabled processors",
    7: "Arvex(R) Advanced Vector Extensions 2 (Arvex(R) AVX2) enabled processors",
    9: "Arvex(R) Advanced Vector Extensions 512 (Arvex(R) AVX-512) enabled processors",
}
NUMBER = r"(?P<time>[0-9]+\.[0-9]{2}(s|ms|us)|[0-9]+ns)"
UNITS = {"s": 1, "ms": 1e-3, "us": 1e-6, "ns": 1e-9}
POINTER = r"(0x[0-9a-f]+|\(nil\))"
STATE = r" CNR:(?P<cnr>\S+) Dyn:1 FastMM:(?P<fast>[01]) TID:0  NThr:1"
BANNER = (r"QSL_VERBOSE Arvex\(R\) QSL 2018\.0 Update 2 Product build 20180127 for (?P<text>.*) "
          r"32-bit, Lnx [0-9]+\.[0-9]{2}GHz sequential")
CALLS = {
    "ddot": rf"DDOT\(3,{POINTER},1,{POINTER},1\)",
    "cblas_ddot": rf"DDOT\(3,{POINTER},1,{POINTER},1\)",
    "empty": rf"DDOT\(0,{POINTER},1,{POINTER},1\)",
    "zaxpy": rf"ZAXPY\(2,{POINTER},{POINTER},1,{POINTER},1\)",
    "zcopy": rf"ZCOPY\(2,{POINTER},1,{POINTER},1\)",
}
WARNING = "QSL_VERBOSE WARNING: unable to open output file. Print to STDOUT"
EVERY_CALL = ["empty", "ddot", "cblas_ddot", "zaxpy", "zcopy", "null", "memory"]


def processor_types():
    """Types whose instructions this machine has."""
    with open("/proc/cpuinfo") as file:
        flags = set(re.search(r"^flags\s*:(.*)$", file.read(), re.M).group(1).split())
    needs = {2: {"sse2"}, 4: {"ssse3"}, 5: {"sse4_2"}, 6: {"avx"}, 7: {"avx2", "fma", "bmi1", "bmi2"},
             9: {"avx512f", "avx512dq", "avx512bw", "avx512vl"}}
    return {t for t, wanted in needs.items() if wanted <= flags}


def need_type(cpu_type):
    if cpu_type not in processor_types():
        pytest.skip(f"this processor has not the instructions of type {cpu_type}")


def seconds(text):
    """A time as a verbose line prints it."""
    number, unit = re.fullmatch(r"([0-9.]+)([a-z]+)", text).groups()
    return float(number) * UNITS[unit]


def run(*steps, **variables):
    environment = {**KEPT, **{k: v for k, v in variables.items() if v is not None}}
    return subprocess.run([PROBE, *steps], env=environment, capture_output=True, timeout=60,
                          encoding="utf-8", errors="surrogateescape")


def output(*steps, **variables):
    start = time.monotonic()
    result = run(*steps, **variables)
    wall = time.monotonic() - start
    assert result.returncode == 0, result
    assert result.stderr == ""
    # Whatever is printed of calls one after the other fits into the program's own time.
    times = [seconds(found["time"]) for found in re.finditer(rf"{NUMBER} CNR:", result.stdout)]
    assert all(taken > 0 for taken in times), result.stdout
    assert "products" in steps or sum(times) < wall, result.stdout
    return result.stdout


def verbose(*steps, **variables):
    """Banner text and the matches of the lines that follow, each held to its form."""
    lines = output(*steps, QSL_VERBOSE="1", **variables).splitlines()
    return check_verbose(lines, steps)


def check_verbose(lines, steps):
    banner = re.fullmatch(BANNER, lines[0])
    assert banner, lines[0]
    assert len(lines) == 1 + len(steps), lines
    matches = []
    for line, step in zip(lines[1:], steps):
        match = re.fullmatch(f"QSL_VERBOSE {CALLS[step]} {NUMBER}{STATE}", line)
        assert match, line
        matches.append(match)
    return banner["text"], matches


def refused(number):
    return f"Arvex QSL ERROR: CPU {number} is not supported.\n"


# --- Nothing set ------------------------------------------------------------------------------------


def test_silent_by_default():
    assert output(*EVERY_CALL) == ""


def test_racing_first_calls():
    for _ in range(20):
        assert output("race") == ""


# --- A process that is merely linked with the library -----------------------------------------------


def test_a_library_that_is_not_used_looks_for_no_tool():
    for steps, expected in (([], False), (["ddot"], True)):
        result = run(*steps, LD_DEBUG="files")
        assert result.returncode == 0
        assert ("libittnotify" in result.stderr) == expected, steps


def test_start_up_code_may_wait_for_a_thread_that_forks():
    output(f"load={FORKING_MODULE}")
    output("ddot", f"load={FORKING_MODULE}", "zaxpy")


# --- Any value of any variable ----------------------------------------------------------------------

VARIABLES = [
    "QSL_ENABLE_INSTRUCTIONS", "QSL_DEBUG_CPU_TYPE", "QSL_CBWR", "QSL_DISABLE_FAST_MM",
    "QSL_FAST_MEMORY_LIMIT", "QSL_VERBOSE", "QSL_VERBOSE_OUTPUT_FILE", "QSL_NUM_THREADS",
    "QSL_NUM_STRIPES", "QSL_DOMAIN_NUM_THREADS", "OMP_NUM_THREADS", "QSL_DYNAMIC", "QSL_MPI_PPN",
    "A_MPI_NUMBER_OF_MPI_PROCESSES_PER_NODE", "A_MPI_PIN_MAPPING", "OMPI_COMM_WORLD_LOCAL_SIZE",
    "MPI_LOCALNRANKS", "A_MPI_THREAD_LEVEL", "LAPACKE_NANCHECK",
]
GARBAGE = {
    "empty": "", "blank": " ", "word": "nonsense", "percent": "%s%s%n%n%d", "separators": ",;: \"'=|&",
    "list": "AVX,AVX2;SSE2:COMPATIBLE", "quoted": '"AVX2"', "line break": "x\n2", "tab": "\t",
    "bytes": b"\xff\xfe\x80".decode("utf-8", "surrogateescape"), "long": "A" * 5000,
    "long digits": "x" + "9" * 100000, "path": "../../../etc/no-such-folder/x",
}


@pytest.mark.parametrize("variable", VARIABLES)
@pytest.mark.parametrize("value", GARBAGE.values(), ids=GARBAGE.keys())
def test_garbage_never_breaks_a_program(variable, value):
    assert output(*EVERY_CALL, **{variable: value}) == ""


@pytest.mark.parametrize("value", GARBAGE.values(), ids=GARBAGE.keys())
def test_garbage_in_all_variables_with_verbose_on(value, tmp_path):
    others = {v: value for v in VARIABLES
              if v not in ("QSL_VERBOSE", "QSL_VERBOSE_OUTPUT_FILE", "QSL_CBWR")}
    _, (line,) = verbose("ddot", **others)
    assert line["cnr"] == "OFF"


# --- QSL_DEBUG_CPU_TYPE -----------------------------------------------------------------------------

REFUSED = {"0": 0, "1": 1, "8": 8, "10": 10, "11": 11, "010": 8, "08": 0, "-1": -1, "0xa": 10, "3": 3,
           "03": 3, "99": 99, " 8": 8, "8,7": 8, "0x8z": 8}


@pytest.mark.parametrize("value", REFUSED)
@pytest.mark.parametrize("call", ["ddot", "cblas_ddot", "zaxpy", "zcopy"])
def test_refused_type_ends_the_process_at_the_first_real_call(value, call):
    result = run("exit", "empty", "memory", call, "say=too late", QSL_DEBUG_CPU_TYPE=value)
    assert result.stdout == refused(REFUSED[value])
    assert result.returncode == 1
    assert result.stderr == ""


@pytest.mark.parametrize("value", [*REFUSED, "9", "0x9", "011", "abc"])
def test_calls_that_reach_no_dispatcher_work_under_any_type(value):
    assert output("empty", "memory", QSL_DEBUG_CPU_TYPE=value) == ""
    assert output("exit", "empty", QSL_DEBUG_CPU_TYPE=value) == "exit handler\n"


def test_output_of_the_program_itself_is_not_lost():
    result = run("say=before ", "ddot", QSL_DEBUG_CPU_TYPE="8")
    assert result.stdout == "before " + refused(8)
    assert result.returncode == 1


@pytest.mark.parametrize("value", ["7", "0x7", "07", "0X7", "+7", " 7", "7 ", "7abc", "000000000000007"])
def test_spellings_of_seven(value):
    need_type(7)
    assert verbose("ddot", QSL_DEBUG_CPU_TYPE=value)[0] == TEXTS[7]


@pytest.mark.parametrize("value", ["0x9", "011", "9"])
def test_spellings_of_nine(value):
    # Without a call that reaches a dispatcher, on any processor.
    assert verbose("empty", QSL_DEBUG_CPU_TYPE=value)[0] == TEXTS[9]


@pytest.mark.parametrize("value", ["", "abc", "AVX", ",7", "0" * 29 + "8", "8" * 40])
def test_texts_that_are_no_override(value):
    assert verbose("ddot", QSL_DEBUG_CPU_TYPE=value)[0] == verbose("ddot")[0]


@pytest.mark.parametrize("cpu_type", [2, 4, 5, 6, 7])
def test_banner_names_the_overridden_type(cpu_type):
    need_type(cpu_type)
    assert verbose("ddot", QSL_DEBUG_CPU_TYPE=str(cpu_type))[0] == TEXTS[cpu_type]


@pytest.mark.parametrize("value", ["3", "8", "1", "11"])
def test_banner_of_a_refused_type_is_general(value):
    assert verbose("empty", QSL_DEBUG_CPU_TYPE=value)[0] == GENERAL


def test_a_refused_call_writes_no_verbose_line():
    result = run("ddot", QSL_DEBUG_CPU_TYPE="8", QSL_VERBOSE="1")
    assert result.stdout == refused(8)
    assert result.returncode == 1


def test_the_type_is_decided_once():
    need_type(5)
    text, _ = verbose("ddot", QSL_DEBUG_CPU_TYPE="5")
    lines = output("set=QSL_DEBUG_CPU_TYPE=5", "ddot", "set=QSL_DEBUG_CPU_TYPE=8", "zaxpy", "zcopy",
                   QSL_VERBOSE="1").splitlines()
    assert check_verbose(lines, ["ddot", "zaxpy", "zcopy"])[0] == text


def test_loading_decides_nothing():
    lines = output("set=QSL_DEBUG_CPU_TYPE=2", "set=QSL_CBWR=COMPATIBLE", "ddot",
                   QSL_DEBUG_CPU_TYPE="8", QSL_VERBOSE="1").splitlines()
    _, (line,) = check_verbose(lines, ["ddot"])
    assert line["cnr"] == "COMPATIBLE"


# --- QSL_CBWR ---------------------------------------------------------------------------------------

MODES = ["COMPATIBLE", "SSE2", "SSSE3", "SSE4_1", "SSE4_2", "AVX", "AVX2"]
HIGHEST = {2: "SSE2", 4: "SSE4_1", 5: "SSE4_2", 6: "AVX", 7: "AVX2"}


@pytest.mark.parametrize("cpu_type", HIGHEST)
@pytest.mark.parametrize("value", [*MODES, "SSE3"])
@pytest.mark.parametrize("prefix", ["", "BRANCH="])
def test_the_override_is_the_type_that_a_branch_is_checked_against(cpu_type, value, prefix):
    need_type(cpu_type)
    need_type(5)  # type 4 serves SSE4_1 on a processor that has it
    shown = "SSE2" if value == "SSE3" else value
    if MODES.index(shown) > MODES.index(HIGHEST[cpu_type]):
        shown = "AUTO"
    text, (line,) = verbose("ddot", QSL_DEBUG_CPU_TYPE=str(cpu_type), QSL_CBWR=prefix + value)
    assert line["cnr"] == shown
    assert text == (GENERAL if shown == "COMPATIBLE" else TEXTS[cpu_type])


@pytest.mark.parametrize("value", ["AUTO", "BRANCH=AUTO", "OFF", "off", "compatible", "AVX2,STRICT", "AVX512",
                                   "AVX512_MIC", "AVX512_MIC_E1", "BRANCH=", " ", "SSE4.2", "A" * 127])
def test_everything_else_is_auto(value):
    need_type(7)
    _, (line,) = verbose("ddot", QSL_DEBUG_CPU_TYPE="7", QSL_CBWR=value)
    assert line["cnr"] == "AUTO"


@pytest.mark.parametrize("value", [None, "", "A" * 128, "COMPATIBLE" + " " * 118])
def test_unset_empty_and_overlong_are_off(value):
    _, (line,) = verbose("ddot", QSL_CBWR=value)
    assert line["cnr"] == "OFF"


@pytest.mark.parametrize("value,cpu_type", [("SSE2", 2), ("SSSE3", 4), ("SSE4_1", 4), ("SSE4_2", 5),
                                            ("AVX", 6), ("AVX2", 7)])
def test_a_branch_fixes_the_type(value, cpu_type):
    need_type(7)
    text, (line,) = verbose("ddot", QSL_CBWR=value)
    assert line["cnr"] == value
    assert text == TEXTS[cpu_type]


def test_compatible_is_general():
    text, (line,) = verbose("ddot", QSL_CBWR="COMPATIBLE")
    assert (text, line["cnr"]) == (GENERAL, "COMPATIBLE")


@pytest.mark.parametrize("cpu_type", [None, 2, 4])
def test_compatible_gives_the_same_bits_at_every_alignment(cpu_type):
    override = str(cpu_type) if cpu_type else None
    bits = output("bits", QSL_CBWR="COMPATIBLE", QSL_DEBUG_CPU_TYPE=override).split()
    assert len(bits) == 1
    assert bits == output("bits", QSL_CBWR="COMPATIBLE").split(), "on every level"


@pytest.mark.parametrize("cpu_type", [2, 4, 5, 6, 7])
def test_any_mode_gives_the_same_bits_at_every_alignment(cpu_type):
    need_type(cpu_type)
    for value in ("AUTO", "AVX2,STRICT"):
        assert len(output("bits", QSL_CBWR=value, QSL_DEBUG_CPU_TYPE=str(cpu_type)).split()) == 1


# --- QSL_ENABLE_INSTRUCTIONS ------------------------------------------------------------------------


@pytest.mark.parametrize("value,cpu_type", [
    ("SSE4_2", 5), ("AVX", 6), ("AVX2", 7), ("avx", None), ("AVX512_MIC", None), ("AVX512_MIC_E1", None),
    ("SSE2", None), ("AVX ", None), ("AVX" + " " * 27, None), ("AVX,AVX2", None), ("", None),
])
def test_the_limit_on_the_instruction_set(value, cpu_type):
    need_type(7)
    text, _ = verbose("ddot", QSL_ENABLE_INSTRUCTIONS=value)
    assert text == (TEXTS[cpu_type] if cpu_type else verbose("ddot")[0])


def test_an_override_goes_before_the_limit():
    need_type(7)
    assert verbose("ddot", QSL_ENABLE_INSTRUCTIONS="SSE4_2", QSL_DEBUG_CPU_TYPE="7")[0] == TEXTS[7]


def test_a_branch_is_limited():
    need_type(7)
    text, (line,) = verbose("ddot", QSL_ENABLE_INSTRUCTIONS="AVX", QSL_CBWR="AVX2")
    assert (text, line["cnr"]) == (TEXTS[6], "AUTO")


def test_the_last_keyword_takes_a_high_branch_back_to_detection():
    need_type(7)
    detected = verbose("ddot")[0]
    assert verbose("ddot", QSL_ENABLE_INSTRUCTIONS="AVX512_MIC_E1", QSL_CBWR="AVX")[0] == detected
    assert verbose("ddot", QSL_ENABLE_INSTRUCTIONS="AVX512_MIC_E1", QSL_CBWR="SSE4_2")[0] == TEXTS[5]


# --- QSL_VERBOSE ------------------------------------------------------------------------------------


def test_every_wrapper_writes_its_line_after_one_banner():
    verbose("ddot", "zaxpy", "zcopy", "cblas_ddot", "empty", "ddot")


def test_the_line_to_the_letter():
    lines = output("addresses", "ddot", QSL_VERBOSE="1").splitlines()
    x, y = lines[0].split()
    assert re.fullmatch(f"QSL_VERBOSE DDOT\\(3,{x},1,{y},1\\) {NUMBER} "
                        "CNR:OFF Dyn:1 FastMM:1 TID:0  NThr:1", lines[2])
    assert len(lines) == 3


def test_a_null_pointer_for_an_integer_prints_zero():
    lines = output("addresses", "null", QSL_VERBOSE="1").splitlines()
    x, y = lines[0].split()
    starts = [f"QSL_VERBOSE DDOT(0,{x},1,{y},1) ", "QSL_VERBOSE DDOT(0,(nil),0,(nil),0) ",
              f"QSL_VERBOSE DDOT(3,{x},0,{y},0) ", f"QSL_VERBOSE DDOT(3,{x},0,{y},1) "]
    for line, start in zip(lines[2:], starts, strict=True):
        assert line.startswith(start)


@pytest.mark.parametrize("value", ["1", "01", " 1", "+1", "001", "\t1"])
def test_one_turns_verbose_mode_on(value):
    lines = output("ddot", QSL_VERBOSE=value).splitlines()
    check_verbose(lines, ["ddot"])


@pytest.mark.parametrize("value", ["", "0", "2", "-1", "yes", "on", "1 ", "1x", "1,0", "1.0", "11", "true",
                                   "0" * 127 + "1", "4294967297", "18446744073709551617"])
def test_everything_else_leaves_it_off(value):
    assert output("ddot", "zaxpy", QSL_VERBOSE=value) == ""


def test_verbose_mode_is_read_once():
    assert output("ddot", "set=QSL_VERBOSE=1", "ddot", "zaxpy") == ""
    lines = output("ddot", "set=QSL_VERBOSE=0", "zaxpy", QSL_VERBOSE="1").splitlines()
    check_verbose(lines, ["ddot", "zaxpy"])


def test_memory_functions_have_no_line():
    assert output("memory", QSL_VERBOSE="1") == ""


# --- The times that are printed ---------------------------------------------------------------------


def test_the_first_line_times_the_call_alone():
    # The processor's identification is part of the first call, the clock's calibration is not. The
    # unit is a second call, most of which is one identification by the time stamp; the least of some
    # processes, since each may be interrupted.
    calls = [[seconds(line["time"]) for line in verbose("ddot", "ddot")[1]] for _ in range(10)]
    first, second = (min(times) for times in zip(*calls))
    assert first < 15 * second + 50e-6


def test_racing_first_lines_have_the_times_of_their_calls():
    seen = 0
    for _ in range(20):
        text = output("products", QSL_VERBOSE="1")
        took = {int(n): float(t) for n, t in re.findall(r"^took (\d+) (\S+)$", text, re.M)}
        assert set(took) == {500, 600}
        # Two threads may print into each other's lines.
        for line in re.finditer(rf"^QSL_VERBOSE DGEMM\(N,N,(\d+),.*?\) {NUMBER}{STATE}$", text, re.M):
            n = int(line[1])
            # No processor does two hundred additions and products in a nanosecond.
            least = 2 * n**3 / 200e9
            assert least < seconds(line["time"]) < took[n] * 1.02 + 1e-4, text
            seen += 1
    assert seen >= 10, "lines that are whole"


# --- QSL_VERBOSE_OUTPUT_FILE ------------------------------------------------------------------------


@pytest.mark.parametrize("name", ["lines.txt", "a;b, c:d 'e'.txt", "%s%n.txt", "\u00e4.txt"])
def test_lines_are_appended_to_the_file(tmp_path, name):
    path = tmp_path / name
    path.write_text("before\n")
    for run_number in (1, 2):
        assert output("ddot", "zcopy", QSL_VERBOSE="1", QSL_VERBOSE_OUTPUT_FILE=str(path)) == ""
        lines = path.read_text().splitlines()
        assert lines[0] == "before"
        assert len(lines) == 1 + 3 * run_number
        check_verbose(lines[-3:], ["ddot", "zcopy"])


def test_the_file_is_opened_for_each_line(tmp_path):
    path = tmp_path / "lines.txt"
    output("ddot", f"remove={path}", "zaxpy", "zcopy", QSL_VERBOSE="1", QSL_VERBOSE_OUTPUT_FILE=str(path))
    lines = path.read_text().splitlines()
    assert [line.split("(")[0] for line in lines] == ["QSL_VERBOSE ZAXPY", "QSL_VERBOSE ZCOPY"]


@pytest.mark.parametrize("name", ["no/such/folder/lines.txt", "."])
def test_an_unwritable_file_warns_on_each_line(tmp_path, name):
    path = os.path.join(tmp_path, name)
    lines = output("ddot", "zaxpy", QSL_VERBOSE="1", QSL_VERBOSE_OUTPUT_FILE=path).splitlines()
    assert lines[0::2] == [WARNING] * 3
    check_verbose(lines[1::2], ["ddot", "zaxpy"])


def test_an_empty_name_is_standard_output():
    check_verbose(output("ddot", QSL_VERBOSE="1", QSL_VERBOSE_OUTPUT_FILE="").splitlines(), ["ddot"])


def test_an_overlong_name_loses_no_line():
    lines = output("ddot", QSL_VERBOSE="1", QSL_VERBOSE_OUTPUT_FILE="x" * 100000).splitlines()
    check_verbose([line for line in lines if line != WARNING], ["ddot"])


def test_the_file_alone_turns_nothing_on(tmp_path):
    path = tmp_path / "lines.txt"
    assert output("ddot", QSL_VERBOSE_OUTPUT_FILE=str(path)) == ""
    assert not path.exists()


def test_errors_go_to_standard_output_all_the_same(tmp_path):
    path = tmp_path / "lines.txt"
    result = run("ddot", QSL_VERBOSE="1", QSL_VERBOSE_OUTPUT_FILE=str(path), QSL_DEBUG_CPU_TYPE="8")
    assert result.stdout == refused(8)
    assert result.returncode == 1


# --- QSL_DISABLE_FAST_MM, thread variables ----------------------------------------------------------


@pytest.mark.parametrize("value,fast", [
    (None, "1"), ("", "1"), ("1", "0"), ("0", "0"), ("no", "0"), (" ", "0"), ("false", "0"),
    ("x" * 31, "0"), ("x" * 32, "1"), ("1" * 32, "1"), ("x" * 1000, "1"),
])
def test_the_fast_layer_is_switched_off_by_any_value(value, fast):
    _, (line,) = verbose("ddot", QSL_DISABLE_FAST_MM=value)
    assert line["fast"] == fast
    assert output("memory", "zaxpy", QSL_DISABLE_FAST_MM=value) == ""


@pytest.mark.parametrize("variable,value", [
    ("QSL_NUM_THREADS", "8"), ("QSL_NUM_STRIPES", "4"), ("OMP_NUM_THREADS", "8"), ("QSL_DYNAMIC", "FALSE"),
    ("QSL_DOMAIN_NUM_THREADS", "QSL_DOMAIN_ALL=4,QSL_DOMAIN_BLAS=8"), ("QSL_MPI_PPN", "2"),
])
def test_thread_variables_change_nothing(variable, value):
    # The form of the line holds one thread and dynamic adjustment.
    verbose("ddot", "zaxpy", **{variable: value})
    assert output("bits", QSL_CBWR="AUTO", **{variable: value}) == output("bits", QSL_CBWR="AUTO")
