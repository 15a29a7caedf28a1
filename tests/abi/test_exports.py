"""What every export has besides its code: a verbose line, a documented declaration, rows in README.md and
in the man page, and calls from misaligned stacks.

QSL_STACK_PROGRAM names the program that makes these calls. What it prints with verbose mode on is read
here: a mark for each call, then what the library says.
"""

import functools
import os
import re
import subprocess
from pathlib import Path

import pytest

SOURCE = Path(__file__).resolve().parents[2]
EXPORTS = [line.strip() for line in (SOURCE / "exports.txt").read_text().splitlines() if line.strip()]

# The exports whose calls have no verbose line, and why.
WITHOUT_LINE = {
    "QSL_malloc": "memory is no computation: lines would drown those of the routines",
    "QSL_free": "as QSL_malloc",
    "QSL_Free_Buffers": "as QSL_malloc",
    "qsl_get_format_compact": "a question about the processor, which works on no data",
    "qsl_zget_size_compact": "a formula, which works on no data",
}
# The one line whose name keeps the library's prefix.
WITH_PREFIX = {"qsl_zgetrfnp_compact"}


def line_name(export):
    """The routine that the line names: that of the Fortran-style interface."""
    if export in WITH_PREFIX:
        return export.upper()
    return re.sub(r"^(cblas|LAPACKE|qsl)_", "", export).upper()


def all_exports():
    return pytest.mark.parametrize("export", EXPORTS)


# --- Verbose lines and calls from misaligned stacks -------------------------------------------------


@functools.cache
def calls():
    """{export: [verbose lines of each call]}"""
    settings = {"QSL_VERBOSE": "1", "QSL_STACK_MARKS": "1"}
    done = subprocess.run([os.environ["QSL_STACK_PROGRAM"], "--gtest_filter=Coverage.*"], text=True,
                          capture_output=True, env=os.environ | settings, check=False)
    assert done.returncode == 0, done.stdout + done.stderr
    made = {}
    for line in done.stdout.splitlines():
        if mark := re.fullmatch(r"call (\w+)", line):
            made.setdefault(mark[1], []).append([])
            last = made[mark[1]][-1]
        elif found := re.match(r"QSL_VERBOSE (\w+)\(.*\) \S+s CNR:", line):
            last.append(found[1])
    return made


@all_exports()
def test_is_called_from_a_misaligned_stack(export):
    assert export in calls(), "tests/abi/stack_test.cpp does not call it"


@all_exports()
def test_each_call_has_its_verbose_line(export):
    expected = [] if export in WITHOUT_LINE else [line_name(export)]
    others = [lines for lines in calls().get(export, [[]]) if lines != expected]
    assert not others, "runtime/verbose/wrapper.h makes the line; WITHOUT_LINE lists the exceptions"


def test_the_exceptions_are_exports():
    assert set(WITHOUT_LINE) | WITH_PREFIX <= set(EXPORTS)


# --- Headers ----------------------------------------------------------------------------------------


@functools.cache
def declarations():
    """{function: (comment or None, result, parameters)} of the public headers."""
    found = {}
    for header in sorted((SOURCE / "include" / "qsl").glob("*.h")):
        text = header.read_text()
        for match in re.finditer(r"(/\*\*(?:(?!\*/).)*\*/\s*)?QSL_API ([\w* ]+?)(\w+)\(([^)]*)\);", text, re.S):
            comment, result, name, parameters = match.groups()
            found[name] = comment, result.strip(), parameters
    return found


def parameter_names(parameters):
    return [] if parameters == "void" else [re.search(r"(\w+)$", p)[1] for p in parameters.split(",")]


@all_exports()
def test_is_declared_and_documented(export):
    assert export in declarations(), "no header of include/qsl/ declares it"
    comment, result, parameters = declarations()[export]
    assert comment and "@brief" in comment
    documented = re.findall(r"@param\s+(\w+)", comment)
    assert documented == parameter_names(parameters)
    assert result == "void" or "@return" in comment


def test_the_headers_declare_exports_only():
    assert set(declarations()) <= set(EXPORTS)


# --- Documents --------------------------------------------------------------------------------------


def readme_names():
    table = re.search(r"^## Families\n\n((?:\|.*\n)+)", (SOURCE / "README.md").read_text(), re.M)[1]
    return {name for row in table.splitlines()[2:] for name in re.findall(r"`(\w+)`", row.split("|")[2])}


def manual_names():
    section = re.search(r"^\.SH FUNCTIONS\n(.*?)^\.SH", (SOURCE / "docs" / "qsl.7").read_text(), re.M | re.S)[1]
    return {name for heading in re.findall(r"^\.TP\n\.BR? (.*)$", section, re.M)
            for name in re.findall(r"\w+", heading)}


@all_exports()
def test_has_its_place_in_the_documents(export):
    assert export in readme_names(), "README.md, the table of families"
    assert export in manual_names(), "docs/qsl.7, FUNCTIONS"


def test_the_documents_name_exports_only():
    assert readme_names() <= set(EXPORTS)
    assert manual_names() <= set(EXPORTS)


def test_the_documents_name_the_same_variables():
    in_readme = set(re.findall(r"^\| `(\w+)(?:=\S+)?` \|", (SOURCE / "README.md").read_text().partition(
        "\n## Environment variables\n")[2].partition("\n## ")[0], re.M))
    manual = re.search(r"^\.SH ENVIRONMENT\n(.*?)^\.SH", (SOURCE / "docs" / "qsl.7").read_text(), re.M | re.S)[1]
    in_guide = re.findall(r"^### (\w+)$", (SOURCE / "docs" / "environment.md").read_text(), re.M)
    assert in_readme == set(in_guide)
    assert set(re.findall(r"^\.B (\w+)$", manual, re.M)) == set(in_guide)
