"""The examples in the public headers' comments compile, and do what they say.

Each block becomes a function of a program. What a comment in it says of results is checked after it:

    // info is 0; b is {1, 3}             these variables or arrays have these values
    TYPE NAME = ...;  // 32; ...          so has the variable of this line

QSL_LIBRARY names the shared library, QSL_CC and QSL_CXX the compilers.
"""

import os
import re
import subprocess
from pathlib import Path

import pytest

SOURCE = Path(__file__).resolve().parents[2]
HEADERS = SOURCE / "include" / "qsl"
LIBRARY = Path(os.environ["QSL_LIBRARY"])

START = {
    "c": "#include <complex.h>\n#include <math.h>\n#include <stdio.h>\n#include \"qsl/qsl.h\"\n"
         "#define PARTS(x) creal(x), cimag(x)\n",
    "cpp": "#include <cmath>\n#include <complex>\n#include <cstdio>\n#include \"qsl/qsl.h\"\n"
           "#define PARTS(x) std::real(x), std::imag(x)\n",
}
CHECK = """
static int wrong;
static void check(const char* what, double re, double im, double expected_re, double expected_im) {
  if (fabs(re - expected_re) <= 1e-14 && fabs(im - expected_im) <= 1e-14) return;
  printf("%s is %.17g, %.17g\\n", what, re, im);
  wrong = 1;
}
"""


def examples():
    """[(place, language, lines)]"""
    found = []
    for header in sorted(HEADERS.glob("*.h")):
        for match in re.finditer(r"@code\{\.(\w+)\}\n(.*?)@endcode", header.read_text(), re.S):
            line = header.read_text()[:match.start()].count("\n") + 1
            lines = [re.sub(r"^ \* ?", "", text) for text in match[2].splitlines()]
            found.append((f"{header.name}-{line}", match[1], lines))
    return found


EXAMPLES = examples()


def number(text):
    return complex(text.replace(" ", "").replace("i", "j"))


def checks_of(line, code):
    """Statements that check what the comment at the end of a line says."""
    statement, _, comment = line.partition("//")
    made = []
    if result := re.fullmatch(r"\s*(?:int|double) (\w+) = .*;\s*", statement):
        if value := re.match(r"\s*(-?[\d.]+)(;|$)", comment):
            made.append((result[1], number(value[1])))
    for name, items in re.findall(r"(\w+) is (\{[^}]*\}|-?[\d.]+)(?=;|$)", comment):
        values = [number(item) for item in items.strip("{}").split(",")]
        made += [(f"{name}[{k}]" if items[0] == "{" else name, value) for k, value in enumerate(values)]
    for what, value in made:
        name = what.partition("[")[0]
        pair = re.search(rf"^complex_double\b[^;]*\b{name}\b", code, re.M)
        parts = f"{what}.real, {what}.imag" if pair else f"PARTS({what})"
        yield f'check("{what}", {parts}, {value.real!r}, {value.imag!r});'


def program(language, lines):
    code = "\n".join(lines)
    body = []
    count = 0
    for line in lines:
        if line.strip() == "...":
            continue
        checks = list(checks_of(line, code))
        count += len(checks)
        body += [line, *checks]
    text = START[language] + CHECK + "int main(void) {\n" + "\n".join(body) + "\n(void)check;\nreturn wrong;\n}\n"
    return text, count


@pytest.mark.parametrize("place, language, lines", EXAMPLES, ids=[place for place, _, _ in EXAMPLES])
def test_an_example_does_what_it_says(place, language, lines, tmp_path):
    text, checks = program(language, lines)
    assert checks > 0 or place.startswith("memory.h"), "no result is told"
    source = tmp_path / f"example.{language}"
    source.write_text(text)
    compiler = {"c": [os.environ["QSL_CC"], "-std=c99"], "cpp": [os.environ["QSL_CXX"], "-std=c++11"]}[language]
    subprocess.run([*compiler, "-m32", "-O2", "-Wall", "-Wextra", "-Werror", f"-I{SOURCE / 'include'}", source,
                    "-o", tmp_path / "example", LIBRARY, "-lm", f"-Wl,-rpath,{LIBRARY.parent}"], check=True)
    done = subprocess.run([tmp_path / "example"], text=True, capture_output=True, check=False)
    assert done.returncode == 0 and done.stdout == "", done.stdout


def test_every_routine_that_solves_has_an_example():
    text = (HEADERS / "lapack.h").read_text()
    for comment, name in re.findall(r"/\*\*((?:(?!\*/).)*)\*/\s*QSL_API \w+ (\w+)\(", text, re.S):
        assert re.search(rf"@code.*\b{name}\(.*@endcode", comment, re.S), name
