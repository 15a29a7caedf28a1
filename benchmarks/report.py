#!/usr/bin/env python3
"""Runs the benchmarks and reports this library's speed relative to its peers.

usage: benchmarks/report.py --build build/bench [--rounds 7] [--min-time 0.02]

Each round runs every participant once, one after the other, so that a slow phase of the machine
meets all of them; a ratio is taken within a round, and the median over the rounds is reported. A
ratio above 1 means that this library is faster. The library's processor type is fixed for a
process, so each type is a participant with a process of its own.

Writes results.json and one SVG plot a routine into the build folder.
"""

import argparse
import datetime
import json
import math
import os
import pathlib
import re
import statistics
import subprocess
import sys

# Processor types and the flag of /proc/cpuinfo that each one needs.
TYPES = {2: "sse2", 4: "ssse3", 5: "sse4_2", 6: "avx", 7: "avx2", 9: "avx512vl"}
LEVELS = {2: "SSE2", 4: "SSSE3", 5: "SSE4.2", 6: "AVX", 7: "AVX2", 9: "AVX-512"}
# Per routine: the peers, and the one whose speed is the plot's base line.
ROUTINES = {
    "ddot": (["openblas", "eigen"], "openblas"),
    "zaxpy": (["openblas", "eigen"], "openblas"),
    "zcopy": (["openblas", "eigen", "memcpy"], "memcpy"),
    "allocate": (["malloc"], "malloc"),
}


def processor():
    """Name and flags of the processor."""
    text = pathlib.Path("/proc/cpuinfo").read_text(encoding="ascii", errors="replace")
    name = re.search(r"^model name\s*:\s*(.*)$", text, re.M)
    flags = re.search(r"^flags\s*:\s*(.*)$", text, re.M)
    return (name.group(1) if name else "unknown"), set(flags.group(1).split() if flags else [])


def run(program, pattern, min_time, settings):
    """One process: {(routine, library, size): nanoseconds}."""
    command = [str(program), f"--benchmark_filter={pattern}", "--benchmark_format=json",
               f"--benchmark_min_time={min_time}"]
    environment = {k: v for k, v in os.environ.items() if not k.startswith("QSL_")}
    environment.update(settings)
    done = subprocess.run(command, env=environment, stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL, check=True)
    times = {}
    for entry in json.loads(done.stdout)["benchmarks"]:
        routine, library, size = entry["name"].split("/")[:3]
        scale = {"ns": 1.0, "us": 1e3, "ms": 1e6}[entry["time_unit"]]
        times[routine, library, int(size)] = entry["cpu_time"] * scale
    return times


def measure(build, types, rounds, min_time):
    """{routine: {size: {participant: [nanoseconds of each round]}}}"""
    level1, memory = build / "bin" / "bench_level1", build / "bin" / "bench_memory"
    jobs = [(f"type {t}", level1, "/qsl/", {"QSL_DEBUG_CPU_TYPE": str(t)}) for t in types]
    # The peers run between the types, next to the fastest.
    jobs.insert(len(jobs) - 1, (None, level1, "/(openblas|eigen|memcpy)/", {}))
    jobs.append((None, memory, ".", {}))
    results = {}
    for number in range(rounds):
        for name, program, pattern, settings in jobs:
            print(f"\rround {number + 1} of {rounds}: {name or 'peers':12}", end="",
                  file=sys.stderr, flush=True)
            for (routine, library, size), time in run(program, pattern, min_time, settings).items():
                sizes = results.setdefault(routine, {}).setdefault(size, {})
                sizes.setdefault(name or library, []).append(time)
    print("\r" + " " * 40 + "\r", end="", file=sys.stderr)
    return results


def ratio(times, ours, peer):
    """Median over the rounds of the peer's time divided by ours; None where one did not run."""
    if ours not in times or peer not in times:
        return None
    return statistics.median(p / o for o, p in zip(times[ours], times[peer]))


def own(times, peers):
    return [name for name in times if name not in peers]


def print_tables(results):
    for routine, sizes in results.items():
        peers = ROUTINES[routine][0]
        names = own(next(iter(sizes.values())), peers)
        for peer in peers:
            rows = [(size, [ratio(times, name, peer) for name in names])
                    for size, times in sizes.items()]
            if all(r is None for _, row in rows for r in row):
                continue
            unit = "bytes" if routine == "allocate" else "n"
            print(f"\n{routine}: speed relative to {peer}")
            print(f"{unit:>10}" + "".join(f"{name:>17}" for name in names) + f"{'ns of ' + peer:>16}")
            for size, row in rows:
                cells = "".join(f"{'-' if r is None else format(r, '.2f'):>17}" for r in row)
                base = statistics.median(sizes[size].get(peer, [math.nan]))
                print(f"{size:>10}{cells}{base:>16.1f}")


COLOURS = ["#9e9e9e", "#8d6e63", "#5c6bc0", "#26a69a", "#d32f2f", "#7b1fa2", "#ef6c00", "#212121"]


def plot(routine, sizes, path):
    """Speed relative to the base line over the size, both axes logarithmic."""
    base = ROUTINES[routine][1]
    names = [name for name in next(iter(sizes.values())) if name != base]
    lines = {}
    for name in names:
        points = [(size, ratio(times, name, base)) for size, times in sizes.items()]
        lines[name] = [(size, r) for size, r in points if r]
    values = [r for points in lines.values() for _, r in points]
    if not values:
        return
    width, height, left, right, top, bottom = 760, 420, 60, 170, 40, 50
    low = math.floor(min(math.log2(v) for v in values + [1.0]))
    high = math.ceil(max(math.log2(v) for v in values + [1.0]))
    high = max(high, low + 1)
    first, last = math.log10(min(sizes)), math.log10(max(sizes))

    def x_of(size):
        return left + (math.log10(size) - first) / (last - first) * (width - left - right)

    def y_of(value):
        return height - bottom - (math.log2(value) - low) / (high - low) * (height - top - bottom)

    out = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
           'font-family="sans-serif" font-size="12">',
           f'<rect width="{width}" height="{height}" fill="white"/>',
           f'<text x="{left}" y="22" font-size="15">{routine}: speed relative to {base}</text>']
    for power in range(low, high + 1):
        y = y_of(2.0**power)
        out.append(f'<line x1="{left}" y1="{y:.1f}" x2="{width - right}" y2="{y:.1f}" '
                   f'stroke="{"#000" if power == 0 else "#ddd"}"/>')
        out.append(f'<text x="{left - 8}" y="{y + 4:.1f}" text-anchor="end">{2.0**power:g}</text>')
    for size in sizes:
        x = x_of(size)
        out.append(f'<line x1="{x:.1f}" y1="{top}" x2="{x:.1f}" y2="{height - bottom}" stroke="#eee"/>')
        out.append(f'<text x="{x:.1f}" y="{height - bottom + 18}" text-anchor="middle">{size:g}</text>')
    unit = "bytes" if routine == "allocate" else "n"
    out.append(f'<text x="{(left + width - right) / 2}" y="{height - 12}" '
               f'text-anchor="middle">{unit}</text>')
    for number, (name, points) in enumerate(lines.items()):
        colour = COLOURS[number % len(COLOURS)]
        dash = "" if name in own(dict.fromkeys(names), ROUTINES[routine][0]) else ' stroke-dasharray="5 4"'
        path_points = " ".join(f"{x_of(size):.1f},{y_of(r):.1f}" for size, r in points)
        out.append(f'<polyline points="{path_points}" fill="none" stroke="{colour}" '
                   f'stroke-width="2"{dash}/>')
        y = top + 20 * number + 8
        out.append(f'<line x1="{width - right + 15}" y1="{y}" x2="{width - right + 40}" y2="{y}" '
                   f'stroke="{colour}" stroke-width="2"{dash}/>')
        label = name
        match = re.fullmatch(r"type (\d+)", name)
        if match:
            label = f"{name} ({LEVELS[int(match.group(1))]})"
        out.append(f'<text x="{width - right + 46}" y="{y + 4}">{label}</text>')
    out.append("</svg>")
    path.write_text("\n".join(out) + "\n", encoding="utf-8")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", type=pathlib.Path, default=pathlib.Path("build/bench"))
    parser.add_argument("--rounds", type=int, default=7)
    parser.add_argument("--min-time", type=float, default=0.02, help="seconds a benchmark and round")
    arguments = parser.parse_args()

    name, flags = processor()
    types = [t for t, flag in TYPES.items() if flag in flags]
    results = measure(arguments.build, types, arguments.rounds, arguments.min_time)
    print(f"{name}; median of {arguments.rounds} rounds; above 1: this library is faster")
    print_tables(results)

    ratios = {routine: {size: {peer: {o: ratio(times, o, peer) for o in own(times, ROUTINES[routine][0])}
                               for peer in ROUTINES[routine][0] if peer in times}
                        for size, times in sizes.items()}
              for routine, sizes in results.items()}
    stored = {"processor": name, "date": datetime.date.today().isoformat(),
              "rounds": arguments.rounds, "nanoseconds": results, "ratios": ratios}
    target = arguments.build / "results.json"
    target.write_text(json.dumps(stored, indent=1) + "\n", encoding="utf-8")
    for routine, sizes in results.items():
        plot(routine, sizes, arguments.build / f"{routine}.svg")
    print(f"\nstored: {target} and plots beside it")


if __name__ == "__main__":
    main()
