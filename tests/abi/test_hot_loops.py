"""Hot loops lie on as few lines of 64 bytes as their size allows.

Processors fetch and keep decoded instructions by such lines, and a short loop across two of them has been
measured at 0.8 of its speed. -falign-loops=64 starts the loops of sources with a level's own numbers on a
line, but the compiler leaves out those that it takes for short runs; so a loop is asked for a good place where it is known to be hot, and of all others
most must have one.

QSL_BUILD is the build folder with the objects and compile_commands.json.
"""

import json
import os
import re
from pathlib import Path

import pytest

from disassembly import functions, straight_loops

BUILD = Path(os.environ["QSL_BUILD"])
LINE = 64

# Functions all of whose loops are hot.
HOT_FUNCTIONS = ["dot_forward", "multiply_full_strips"]

# Loops over what whole blocks leave, which the compiler takes for short runs.
SHORT_RUNS = {("p4m", "dot_forward"): 1, ("avx512", "multiply_full_strips"): 1}

# In an object with so many loops, the share that may lie badly. (Asked of sources with a level's own
# numbers; the loops of the others start on 32 bytes.)
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
    """Those of the present sources: a build folder may hold older ones."""
    commands = json.loads((BUILD / "compile_commands.json").read_text())
    outputs = sorted(re.search(r" -o (\S+)", command["command"])[1] for command in commands)
    found = []
    for output in outputs:
        if level := re.search(r"\bqsl_kernels_(\w+)\.dir/", output):
            name = re.sub(r"(\.\./|__/|\.cpp\.o$)", "", output[level.end():]).replace("/", "-")
            found.append(pytest.param(level[1], name, str(BUILD / output), id=f"{level[1]}-{name}"))
    assert found, f"no kernel objects in {BUILD}"
    return found


@pytest.mark.parametrize("level,source,path", kernel_objects())
def test_loops_take_as_few_lines_as_their_size_allows(level, source, path):
    all_loops = list(vector_loops(path))
    bad = [(function, loop) for function, loop in all_loops if not lies_well(function, loop)]
    for name in HOT_FUNCTIONS:
        hot = [f"{function.name}: {loop.end - loop.start} bytes at {loop.start:#x}"
               for function, loop in bad if f"{name}<" in function.name]
        assert len(hot) <= SHORT_RUNS.get((level, name), 0), hot
    if "levels" in source and len(all_loops) >= MANY:
        assert len(bad) <= SHARE * len(all_loops)


def test_hot_loops_are_there():
    names = [function.name for parameters in kernel_objects()
             for function, _ in vector_loops(parameters.values[2])]
    for hot in HOT_FUNCTIONS:
        assert any(f"{hot}<" in name for name in names)
