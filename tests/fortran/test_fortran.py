"""The Fortran module: it has an interface for every export, argument by argument that of the C header, and
a program calls every export through it.

QSL_LIBRARY names the shared library, QSL_GFORTRAN the compiler.
"""

import functools
import os
import re
import subprocess
from pathlib import Path

import pytest

SOURCE = Path(__file__).resolve().parents[2]
MODULE = SOURCE / "include" / "qsl" / "qsl.f90"
CALLS = SOURCE / "tests" / "fortran" / "calls.f90"
EXPORTS = [line.strip() for line in (SOURCE / "exports.txt").read_text().splitlines() if line.strip()]

# C's types, as they are declared in Fortran. What is not a pointer goes by value.
PLAIN = {
    "int": "integer(c_int)",
    "double": "real(c_double)",
    "float": "real(c_float)",
    "char": "character(kind=c_char)",
    "size_t": "integer(c_size_t)",
    "complex_double": "complex(c_double_complex)",
    "complex_float": "complex(c_float_complex)",
}
# The numbers behind a void pointer, by the letter of the routine.
COMPLEX = {"c": "complex(c_float_complex)", "z": "complex(c_double_complex)"}


def all_exports():
    return pytest.mark.parametrize("export", EXPORTS)


@functools.cache
def c_declarations():
    """{name: (result, [(type, name)])}"""
    found = {}
    for header in sorted((SOURCE / "include" / "qsl").glob("*.h")):
        for result, name, parameters in re.findall(r"^QSL_API ([\w* ]+?)(\w+)\(([^)]*)\);", header.read_text(),
                                                   re.M):
            pairs = [] if parameters == "void" else [
                re.fullmatch(r"\s*(.*?)\s*(\w+)\s*", p, re.S).groups() for p in parameters.split(",")]
            found[name] = result.strip(), pairs
    return found


@functools.cache
def interfaces():
    """{bound name: (result or None, [(declaration, name, is array)], its Fortran name)}"""
    text = re.sub(r"!.*", "", MODULE.read_text())
    text = re.sub(r"&\s*\n\s*", "", text)
    found = {}
    pattern = r"^\s*(function|subroutine) (\w+)\(([^)]*)\)\s*bind\(c, name=\"(\w+)\"\)\n(.*?)^\s*end \1"
    for kind, name, dummies, bound, body in re.findall(pattern, text, re.M | re.S):
        declared = {}
        for declaration, variable, shape in re.findall(r"^\s*(.*?) :: (\w+)(\(\*\))?\s*$", body, re.M):
            declared[variable] = declaration, shape != ""
        names = [dummy.strip() for dummy in dummies.split(",") if dummy.strip()]
        arguments = [(declared[dummy][0], dummy, declared[dummy][1]) for dummy in names]
        found[bound] = declared[name][0] if kind == "function" else None, arguments, name
    return found


def fortran_argument(c_type, routine):
    """The declaration that the C type asks for; what is written may be inout or out."""
    if c_type == "void*" and routine.startswith("QSL_"):
        return {"type(c_ptr), value"}
    if c_type.endswith("* const*"):  # addresses of matrices
        return {"type(c_ptr), intent(in)"}
    base = c_type.replace("const", "").replace("*", "").strip()
    plain = COMPLEX[re.sub(r"^(cblas|LAPACKE)_", "", routine)[0].lower()] if base == "void" else PLAIN[base]
    if "*" not in c_type:
        return {f"{plain}, value"}
    if "const" in c_type:
        return {f"{plain}, intent(in)"}
    return {f"{plain}, intent(inout)", f"{plain}, intent(out)"}


@all_exports()
def test_has_the_interface_of_the_header(export):
    assert export in interfaces(), "include/qsl/qsl.f90 has no interface for it"
    result, arguments, name = interfaces()[export]
    c_result, parameters = c_declarations()[export]
    assert name == export.lower()
    assert [argument[1] for argument in arguments] == [parameter[1].lower() for parameter in parameters]
    for (declaration, dummy, _), (c_type, _) in zip(arguments, parameters):
        assert declaration in fortran_argument(c_type, export), dummy
    expected = {"void": None, "void*": "type(c_ptr)"}
    assert result == (expected[c_result] if c_result in expected else PLAIN[c_result])


def test_the_module_binds_exports_only():
    assert set(interfaces()) <= set(EXPORTS)


def test_the_module_makes_all_of_it_public():
    text = MODULE.read_text()
    public = {name for line in re.findall(r"^ *public ::(.*)$", text, re.M) for name in re.findall(r"\w+", line)}
    assert public == {name for _, _, name in interfaces().values()}


def test_the_constants_are_those_of_the_headers():
    headers = "".join((SOURCE / "include" / "qsl" / name).read_text() for name in ["types.h", "compact.h"])
    expected = dict(re.findall(r"^ +((?:Cblas|QSL_COMPACT_)\w+) = (\d+)", headers, re.M))
    module = dict(re.findall(r"parameter, public :: (\w+) = (\d+)", MODULE.read_text()))
    assert expected and module == expected


# --- Calls ------------------------------------------------------------------------------------------


@pytest.fixture(scope="module")
def calls(tmp_path_factory):
    """What the program prints: the name of each export that it calls, and what came out wrong."""
    folder = tmp_path_factory.mktemp("fortran")
    library = Path(os.environ["QSL_LIBRARY"])
    # No extension and no warning: any compiler can take the module.
    subprocess.run([os.environ["QSL_GFORTRAN"], "-m32", "-std=f2008", "-Wall", "-Wextra", "-pedantic", "-Werror",
                    "-fcheck=all", "-o", "calls", MODULE, CALLS, library, f"-Wl,-rpath,{library.parent}"],
                   cwd=folder, check=True)
    done = subprocess.run([folder / "calls"], text=True, capture_output=True, check=False)
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout.splitlines()


@all_exports()
def test_is_called_from_fortran(export, calls):
    assert f"call {export}: right" in calls, "tests/fortran/calls.f90"


def test_nothing_is_wrong(calls):
    assert not [line for line in calls if not line.endswith(": right")]
