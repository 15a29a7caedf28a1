"""Which file may include which: the library's layers, read from its include lines.

    include/qsl  <-  simd  <-  elements  <-  the groups of blas  <-  those of lapack  <-  compact  <-  later families
    runtime stands beside them: it includes none of them, and all of them may include it.

A group (a folder with a routines.h) is reached from outside through its routines.h alone; a family's
shared frame files are its own. Kernels take from the runtime only what is listed below.
"""

import re
from pathlib import Path

import pytest

SOURCE = Path(__file__).resolve().parents[2]
# In the order in which they stand on each other.
FAMILIES = ["blas", "lapack", "compact"]
LIBRARY = ["include", "simd", "elements", "runtime", *FAMILIES]

# What kernels may ask of the runtime: work memory, a report that it was not to be had, the processor.
RUNTIME_FOR_KERNELS = {
    "runtime/memory/memory.h",
    "runtime/messages/messages.h",
    "runtime/dispatch/cpu_type.h",
}
STANDARD_FOR_KERNELS = {"cstddef", "cstdint", "emmintrin.h", "pmmintrin.h", "tmmintrin.h", "smmintrin.h",
                        "nmmintrin.h", "immintrin.h"}
# Frame headers that kernels and their tests share: numbers and declarations, no code of other levels.
SHARED_WITH_KERNELS = {"blas/level1/zaxpy_bodies.h", "lapack/band/blocking.h"}
LONGEST = 600  # lines of a file


def files():
    found = [path for folder in LIBRARY for path in sorted((SOURCE / folder).rglob("*"))
             if path.is_file() and path.suffix not in (".md", ".txt", ".f90")]
    assert len(found) > 100
    assert {path.suffix for path in found} <= {".h", ".cpp", ".inl"}
    return [str(path.relative_to(SOURCE)) for path in found]


def groups():
    """Folders with a routines.h, inner ones first."""
    found = [str(path.parent.relative_to(SOURCE)) for family in FAMILIES
             for path in (SOURCE / family).rglob("routines.h")]
    return sorted(found, key=len, reverse=True)


GROUPS = groups()


def group_of(path):
    return next((group for group in GROUPS if path.startswith(group + "/")), None)


def family_of(path):
    return path.split("/")[0]


def is_kernel(path):
    if path == "elements/number_bits.h":  # shared with the frame; always expanded
        return False
    return (path.startswith(("simd/", "elements/")) or "/kernels/" in path or "/levels/" in path
            or path.endswith("/instances.cpp"))


def includes(path, text=None):
    """(own or standard, name) of each include line."""
    text = text if text is not None else (SOURCE / path).read_text()
    found = [("own" if quote == '"' else "standard", name)
             for quote, name in re.findall(r'^\s*#\s*include\s*(["<])([^">]+)[">]', text, re.M)]
    assert len(found) == len(re.findall(r"^\s*#\s*include", text, re.M)), f"{path}: a computed include"
    return found


def objection(path, included):
    """Why `path` may not include `included`, both relative to the source; None when it may."""
    here, there = family_of(path), family_of(included)
    if not included.endswith((".h", ".inl")):
        return "sources and macros are not included"
    if there == "include":
        return None
    if here == "include":
        return None if included.startswith("qsl/") else "public headers stand on nothing"
    if here == "runtime":
        return None if there in ("runtime", "qsl") else "the runtime stands beside the kernels"
    if there == "runtime":
        if here in ("simd", "elements"):
            return "the shared layers stand on nothing of the runtime"
        if is_kernel(path) and included not in RUNTIME_FOR_KERNELS:
            return "kernels take memory, reports and the processor type from the runtime, and no more"
        return None
    order = ["simd", "elements", *FAMILIES]
    if there not in order:
        return "no layer of the library"
    if order.index(there) > order.index(here):
        return f"{there} stands above {here}"
    if there in ("simd", "elements"):
        if included == "elements/number_bits.h" or is_kernel(path):
            return None
        return "vector code is for kernels"
    if (is_kernel(path) and not is_kernel(included) and not included.endswith("/routines.h")
            and included not in SHARED_WITH_KERNELS):
        return "kernels take routines.h from the frame, and no code"
    mine, other = group_of(path), group_of(included)
    if other is not None and other != mine and not included.endswith("/routines.h"):
        if mine is not None and other.startswith(mine + "/") and not is_kernel(included):
            return None  # the group's own subfolder
        if mine is not None and mine.startswith(other + "/") and not is_kernel(included):
            return None  # the group that this one is a subfolder of
        return f"{other} is reached through its routines.h"
    if mine is None and is_kernel(included):
        return "kernels belong to their group"
    if other is None and there != here:
        return f"{there} keeps its shared files to itself"
    if is_kernel(included) and not is_kernel(path):
        return "the frame includes no kernels"
    return None


@pytest.mark.parametrize("path", files())
def test_includes_go_one_way(path):
    wrong = []
    for kind, name in includes(path):
        if kind == "standard":
            if is_kernel(path) and name not in STANDARD_FOR_KERNELS:
                wrong.append(f"<{name}>: would bring functions that other levels share")
            continue
        reason = objection(path, name)
        if reason:
            wrong.append(f"{name}: {reason}")
    assert not wrong


@pytest.mark.parametrize("path", files())
def test_files_stay_short(path):
    assert len((SOURCE / path).read_text().splitlines()) <= LONGEST


def test_a_group_keeps_its_level_files():
    for group in GROUPS:
        folder = SOURCE / group
        assert (folder / "dispatch.cpp").exists(), group
        assert (folder / "instances.cpp").exists() or list((folder / "levels").glob("*.cpp")), group


@pytest.mark.parametrize("path,included", [
    ("simd/f64x2.h", "elements/element.h"),
    ("elements/product.h", "blas/level1/routines.h"),
    ("blas/level2/kernels/gemv_n.h", "blas/level3/kernels/pack.h"),
    ("blas/level1/kernels/dot.h", "lapack/routines.h"),
    ("blas/level1/entry.cpp", "blas/level1/kernels/dot.h"),
    ("blas/level1/entry.cpp", "simd/level.h"),
    ("lapack/kernels/lu_leaf.h", "blas/level2/kernels/drivers.h"),
    ("lapack/gesv.cpp", "blas/selectors.h"),
    ("lapack/kernels/small_lu.h", "runtime/verbose/wrapper.h"),
    ("lapack/band/kernels/eliminate.h", "lapack/kernels/small_lu.h"),
    ("runtime/memory/fast.cpp", "elements/element.h"),
    ("lapack/kernels/lu_leaf.h", "lapack/elements.h"),
    ("lapack/band/kernels/eliminate.h", "lapack/elements.h"),
    ("blas/level1/kernels/routines.h", "runtime/verbose/wrapper.h"),
    ("blas/level1/kernels/dot.h", "blas/level1/levels/p4.cpp"),
    ("elements/groups.h", "runtime/memory/memory.h"),
    ("lapack/kernels/small_lu.h", "compact/routines.h"),
    ("compact/kernels/compact_lu.h", "lapack/kernels/lu_leaf.h"),
    ("compact/entry.cpp", "compact/kernels/compact_lu.h"),
])
def test_the_check_sees_a_wrong_include(path, included):
    assert objection(path, included)
