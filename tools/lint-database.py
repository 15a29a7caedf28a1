#!/usr/bin/env python3
"""Prints a compilation database with the library's frame and its kernels at some levels only.

    tools/lint-database.py compile_commands.json LEVEL...
"""

import json
import re
import sys
from pathlib import Path


def main():
    levels = set(sys.argv[2:])
    kept = []
    for entry in json.loads(Path(sys.argv[1]).read_text(encoding="utf-8")):
        level = re.search(r"-DQSL_LEVEL=(\w+)", entry["command"])
        if level is None or level[1] in levels:
            kept.append(entry)
    json.dump(kept, sys.stdout, indent=1)


if __name__ == "__main__":
    main()
