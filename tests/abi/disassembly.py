"""The functions of an object file, instruction by instruction, and the innermost loops in them."""

import functools
import re
import subprocess
from dataclasses import dataclass


@dataclass
class Instruction:
    address: int  # from the section's start
    name: str
    operands: str


@dataclass
class Function:
    name: str
    alignment: int  # of its section
    code: list


@dataclass
class Loop:
    start: int
    end: int  # behind the jump
    body: list


@functools.cache
def tool(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def section_alignments(path):
    rows = re.finditer(r"^\s*\[\s*\d+\] (\S+)\s+PROGBITS\s.*\s(\d+)$", tool("readelf", "-SW", path), re.M)
    return {row[1]: int(row[2]) for row in rows}


@functools.cache
def functions(path):
    alignments = section_alignments(path)
    result = []
    section = None
    for line in tool("objdump", "-d", "-C", "--no-show-raw-insn", path).splitlines():
        if header := re.fullmatch(r"Disassembly of section (\S+):", line):
            section = header[1]
        elif header := re.fullmatch(r"[0-9a-f]+ <(.*)>:", line):
            result.append(Function(header[1], alignments[section], []))
        elif code := re.match(r"\s*([0-9a-f]+):\t(\S+)\s*(.*)", line):
            result[-1].code.append(Instruction(int(code[1], 16), code[2], code[3]))
    return result


def straight_loops(function):
    """Loops of one jump, back to their first instruction: nothing else in them jumps, calls or returns."""
    place = {instruction.address: i for i, instruction in enumerate(function.code)}
    for i, jump in enumerate(function.code[:-1]):
        target = re.match(r"([0-9a-f]+) <", jump.operands)
        if not re.fullmatch(r"j(?!mp)\w+", jump.name) or not target:
            continue
        first = place.get(int(target[1], 16))
        if first is None or first > i:
            continue
        body = function.code[first:i]
        if not any(re.match(r"j|call|ret", instruction.name) for instruction in body):
            yield Loop(body[0].address if body else jump.address, function.code[i + 1].address, body)
