#!/usr/bin/env python3
"""Lists the test programs that CTest runs in a build, for machines where CTest itself cannot run.

    tools/list-tests.py BUILD-FOLDER

One line a run: NAME|SETTING=VALUE ...|PROGRAM|ARGUMENT ... with PROGRAM relative to the build's bin/.
Tests whose program is not in bin/ are left out: they look at files, not at the processor.
"""

import json
import subprocess
import sys
from pathlib import Path


def main():
    build = Path(sys.argv[1]).resolve()
    listing = subprocess.run(
        ["ctest", "--test-dir", str(build), "--show-only=json-v1"],
        check=True, capture_output=True, text=True,
    ).stdout  # fmt: skip
    for test in json.loads(listing)["tests"]:
        if not test.get("command"):
            sys.exit(f"{test['name']} is not built")
        program = Path(test["command"][0])
        if program.parent != build / "bin":
            continue
        if not program.exists():
            sys.exit(f"{program} is not built")
        settings = []
        for item in test.get("properties", []):
            if item["name"] == "ENVIRONMENT":
                settings += item["value"]
        words = settings + test["command"][1:]
        if any(c in word for word in words for c in " |\t\n"):
            sys.exit(f"{test['name']}: a setting or argument with a blank or bar: {words}")
        print(test["name"], " ".join(settings), program.name, " ".join(test["command"][1:]), sep="|")


if __name__ == "__main__":
    main()
