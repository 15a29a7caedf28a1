#!/usr/bin/env python3
"""Prints a compilation database of the library for static analysis. A source that is compiled for
several levels stays in it at the given ones only.

    tools/lint-database.py compile_commands.json LEVEL...
"""

import collections
import json
import re
import sys
from pathlib import Path


def main():
    levels = set(sys.argv[2:])
    entries = json.loads(Path(sys.argv[1]).read_text(encoding="utf-8"))
    times = collections.Counter(entry["file"] for entry in entries)
    kept = []
    for entry in entries:
        level = re.search(r"-DQSL_LEVEL=(\w+)", entry["command"])
        if times[entry["file"]] == 1 or level[1] in levels:
            kept.append(entry)
    json.dump(kept, sys.stdout, indent=1)


if __name__ == "__main__":
    main()
