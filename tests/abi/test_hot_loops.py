"""Hot loops lie on as few lines of 64 bytes as their size allows.

Processors fetch and keep decoded instructions by such lines, and a short loop across two of them has been
measured at 0.8 of its speed. -falign-loops=64 starts loops on a line, but the compiler leaves out those that
it takes for short runs; so a loop is asked for a good place where it is known to be hot, and of all others
most must have one.

QSL_BUILD is the build folder with the objects.
"""

import os
import re
from pathlib import Path

import pytest

from disassembly import functions, straight_loops

BUILD = Path(os.environ["QSL_BUILD"])
LINE = 64
LEVELS = ["p4", "p4m", "p4m3", "avx", "avx2", "avx512", "cnr"]

# Functions all of whose loops are hot.
HOT = re.compile(r"\b(dot_forward|multiply_full_strips)<")

# In an object with so many loops, the share that may lie badly.
MANY = 40
SHARE = 0.2

ARITHMETIC = re.compile(r"v?(add|sub|mul|div|fn?m(add|sub)\w*)p[sd]")


def vector_loops(path):
    for function in functions(path):
        for loop in straight_loops(function):
            if any(ARITHMETIC.fullmatch(instruction.name) for instruction in loop.body):
                yield function, loop


def lies_well(function, loop):
    size = loop.end - loop.start
    if function.alignment % LINE != 0:
        return False  # where it starts within a line is up to the linker
    lines = (loop.end - 1) // LINE - loop.start // LINE + 1
    return lines == (size + LINE - 1) // LINE


def kernel_objects():
    found = [pytest.param(str(path), id=f"{level}-{path.parent.name}-{path.name.split('.')[0]}")
             for level in LEVELS for path in sorted(BUILD.glob(f"**/qsl_kernels_{level}.dir/**/*.o"))]
    assert found, f"no kernel objects in {BUILD}"
    return found


@pytest.mark.parametrize("path", kernel_objects())
def test_loops_take_as_few_lines_as_their_size_allows(path):
    all_loops = list(vector_loops(path))
    bad = [(function, loop) for function, loop in all_loops if not lies_well(function, loop)]
    hot = [f"{function.name}: {loop.end - loop.start} bytes at {loop.start:#x}"
           for function, loop in bad if HOT.search(function.name)]
    assert not hot
    if len(all_loops) >= MANY:
        assert len(bad) <= SHARE * len(all_loops)


def test_hot_loops_are_there():
    seen = {HOT.search(function.name)[1] for path in kernel_objects()
            for function, _ in vector_loops(path.values[0]) if HOT.search(function.name)}
    assert seen == {"dot_forward", "multiply_full_strips"}
