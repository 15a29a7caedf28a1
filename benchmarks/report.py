#!/usr/bin/env python3
"""Runs the benchmarks and reports this library's speed relative to its peers.

usage: benchmarks/report.py --build build/bench [--rounds 7] [--min-time 0.02] [--only REGEX]
                            [--again] [--publish docs]

Each round runs every participant once, one after the other, so that a slow phase of the machine
meets all of them; a ratio is taken within a round, and the median over the rounds is reported. A
ratio above 1 means that this library is faster. The library's processor type is fixed for a
process, so each type has a process of its own; the peers run in that of the highest type.

Writes results.json and one SVG plot a routine into the build folder. --only selects groups of
benchmarks by their names (runs.py), --again takes the stored results instead of measuring, and
--publish puts the tables and the plots into performance.md of that folder.
"""

import argparse
import datetime
import json
import pathlib
import re

from plots import plots
from results import Results
from runs import TYPES, measure, processor
from tables import tables


def store(results, path):
    stored = {"processor": results.processor, "date": datetime.date.today().isoformat(),
              "rounds": results.rounds, "nanoseconds": results.nanoseconds,
              "ratios": results.ratios()}
    path.write_text(json.dumps(stored, indent=1) + "\n", encoding="utf-8")


def publish(made_tables, made_plots, folder):
    """Replaces the tables that follow a mark, and the plots that are there or shown."""
    page = folder / "performance.md"
    text = page.read_text(encoding="utf-8")
    for name, table in made_tables.items():
        mark = f"<!-- table: {name} -->"
        text = re.sub(re.escape(mark) + r"\n\n(?:\|.*\n)*\n*",
                      lambda _, new=f"{mark}\n\n{table}\n\n": new, text)
    page.write_text(text.rstrip("\n") + "\n", encoding="utf-8")
    for name, plot in made_plots.items():
        if f"performance/{name}.svg" in text:
            (folder / "performance" / f"{name}.svg").write_text(plot, encoding="utf-8")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", type=pathlib.Path, default=pathlib.Path("build/bench"))
    parser.add_argument("--rounds", type=int, default=7)
    parser.add_argument("--min-time", type=float, default=0.02,
                        help="seconds of a benchmark in a round")
    parser.add_argument("--only", default=".", help="groups to run: a regular expression")
    parser.add_argument("--again", action="store_true", help="report the stored results")
    parser.add_argument("--publish", type=pathlib.Path, help="the folder of performance.md")
    arguments = parser.parse_args()

    target = arguments.build / "results.json"
    if arguments.again:
        results = Results.load(target)
    else:
        name, flags = processor()
        types = [t for t, flag in TYPES.items() if flag in flags]
        times = measure(arguments.build, types, arguments.rounds, arguments.min_time,
                        arguments.only)
        results = Results(times, name, arguments.rounds)
        store(results, target)

    print(f"{results.processor}; median of {results.rounds} rounds; "
          "above 1: this library is faster")
    made_tables, made_plots = tables(results), plots(results)
    for name, table in made_tables.items():
        print(f"\n{name}\n\n{table}")
    for name, plot in made_plots.items():
        (arguments.build / f"{name}.svg").write_text(plot, encoding="utf-8")
    if arguments.publish:
        publish(made_tables, made_plots, arguments.publish)
    print(f"\nstored: {target} and plots beside it")


if __name__ == "__main__":
    main()
