"""Which benchmarks run, as which participants, and how often."""

import dataclasses
import json
import os
import pathlib
import re
import subprocess
import sys

# Processor types and the flag of /proc/cpuinfo that each one needs.
TYPES = {2: "sse2", 4: "ssse3", 5: "sse4_2", 6: "avx", 7: "avx2", 9: "avx512vl"}
LEVELS = {2: "SSE2", 4: "SSSE3", 5: "SSE4.2", 6: "AVX", 7: "AVX2", 9: "AVX-512"}


@dataclasses.dataclass
class Group:
    """Benchmarks that run together. {} in the pattern stands for the library."""
    name: str
    program: str
    pattern: str
    types: str = "all"  # "highest": that one only; "none": the program does not look at the type
    every: int = 1  # runs in the first round and in each of that number after it
    share: float = 1.0  # of the time of a benchmark


# Long calls need fewer rounds: one of them is an average over many interruptions. A routine that none
# of these patterns meets is a group of its own.
GROUPS = [
    Group("vectors", "bench_level1", "/{}/"),
    Group("bands", "bench_band", "^zgbmv-[NTC]/{}/", share=0.5),
    Group("band systems", "bench_band_lu", "^zgbsv/{}/"),
    Group("memory", "bench_memory", ".", "none"),
    Group("small products", "bench_level3", "^[dzc]gemm/{}/[0-9][0-9]?$", share=0.5),
    Group("products", "bench_level3", "^[dzc]gemm/{}/[0-9]00$", share=0.5),
    Group("products of 1000", "bench_level3", "^[dzc]gemm/{}/1000$", every=2),
    Group("larger products", "bench_level3", "^dgemm/{}/[2-9]000$", every=3),
    Group("factorisations", "bench_lapack", "^dgetrf/{}/[0-9][0-9]?[0-9]?/", share=0.5),
    Group("large factorisations", "bench_lapack", "^dgetrf/{}/[12]000/", every=2),
    Group("systems", "bench_lapack", "^[dz]gesv(-rows)?/{}/([248]|100)x", share=0.5),
    Group("large systems", "bench_lapack", "^[dz]gesv(-rows)?/{}/(500|1000)x", "highest", every=3),
    Group("skinny products", "bench_level3", "^dgemm-skinny/{}/", "highest", share=0.5),
    Group("transposed products", "bench_level3", "^[dzc]gemm-[NTC]+/{}/", "highest", every=2),
]


def groups(build):
    """The groups above, and one for each routine that is in none of them."""
    found = list(GROUPS)
    for program in sorted({group.program for group in GROUPS} |
                          {path.name for path in (build / "bin").glob("bench_*") if path.suffix == ""}):
        listed = subprocess.run([str(build / "bin" / program), "--benchmark_list_tests=true"],
                                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, check=True)
        known = [re.compile(group.pattern.format("[^/]+")) for group in GROUPS if group.program == program]
        others = [name.split("/")[0] for name in listed.stdout.split()
                  if not any(pattern.search(name) for pattern in known)]
        # Names are letters, digits, _ and -, which stand for themselves.
        found += [Group(routine, program, f"^{routine}/{{}}/", share=0.5)
                  for routine in dict.fromkeys(others)]
    return found


def processor():
    """Name and flags of the processor."""
    text = pathlib.Path("/proc/cpuinfo").read_text(encoding="ascii", errors="replace")
    name = re.search(r"^model name\s*:\s*(.*)$", text, re.M)
    flags = re.search(r"^flags\s*:\s*(.*)$", text, re.M)
    return (name.group(1) if name else "unknown"), set(flags.group(1).split() if flags else [])


def run(program, pattern, min_time, settings):
    """One process: {(routine, library, shape): nanoseconds}, where the benchmark counts its
    floating-point operations the nanoseconds of one. A benchmark may time a part of itself only."""
    command = [str(program), f"--benchmark_filter={pattern}", "--benchmark_format=json",
               f"--benchmark_min_time={min_time}"]
    environment = {k: v for k, v in os.environ.items() if not k.startswith("QSL_")}
    environment.update(settings)
    done = subprocess.run(command, env=environment, stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL, check=True)
    times = {}
    for entry in json.loads(done.stdout)["benchmarks"]:
        routine, library, shape = entry["name"].split("/")[:3]
        scale = {"ns": 1.0, "us": 1e3, "ms": 1e6}[entry["time_unit"]]
        shape = int(shape) if shape.isdigit() else shape
        time = entry["real_time" if "/manual_time" in entry["name"] else "cpu_time"]
        times[routine, library, shape] = time * scale / entry.get("flops", 1.0)
    return times


def participants(group, types):
    """(type, pattern, environment) of each process of a round. The peers run in the process of the
    highest type."""
    if group.types == "none":
        yield None, group.pattern, {}
        return
    for number in types:
        highest = number == types[-1]
        if highest or group.types == "all":
            library = "[a-z]+" if highest else "qsl"
            yield number, group.pattern.format(library), {"QSL_DEBUG_CPU_TYPE": str(number)}


def measure(build, types, rounds, min_time, only):
    """{routine: {shape: {participant: [nanoseconds of each round]}}}"""
    results, chosen = {}, groups(build)
    for number in range(rounds):
        for group in chosen:
            if number % group.every != 0 or not re.search(only, group.name):
                continue
            for kind, pattern, settings in participants(group, types):
                progress = f"round {number + 1} of {rounds}: {group.name}" + f" {kind}" * bool(kind)
                print(f"\r{progress:50}", end="", file=sys.stderr, flush=True)
                times = run(build / "bin" / group.program, pattern, min_time * group.share,
                            settings)
                for (routine, library, shape), time in times.items():
                    name = f"type {kind}" if library == "qsl" else library
                    shapes = results.setdefault(routine, {}).setdefault(shape, {})
                    shapes.setdefault(name, []).append(time)
    print("\r" + " " * 50 + "\r", end="", file=sys.stderr)
    return results
