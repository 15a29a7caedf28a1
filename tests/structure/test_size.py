"""The library's text by family, against its budget.

QSL_LIBRARY names the shared library. Text is what `size` calls so: code, constants and the tables of
the loader and for unwinding. The code of a family is that of its functions, over all levels.
"""

import os
import re
import subprocess
from pathlib import Path

LIBRARY = Path(os.environ["QSL_LIBRARY"])

# Bytes. The whole library with all its families is to stay below 8 MB: a new family brings its row.
BUDGET = {
    "text": 2_900_000,
    "level 1": 44_000,
    "level 2": 250_000,
    "level 3": 430_000,
    "structured": 320_000,
    "band": 52_000,
    "factorisations": 1_050_000,
    "band systems": 42_000,
    "compact": 420_000,
    "frame": 65_000,
}

# The family of a function by its name or, for a template, by what it is an instance of. The first
# row that fits counts.
FAMILIES = [
    ("compact", r"compact_|_compact\b"),
    ("band systems", r"zgbtr[fs]\b|[Bb]and(Factors|Block|Elimination)|Multipliers|(short|long)_step|ScaledDivision|"
                     r"forward_steps|backward_steps|band_(lu|solve)|exchange_and_update|update_rows<|clear_fill"),
    ("factorisations", r"\b[dz](getr[fs]_\w+|laswp|omatcopy_t)\b|\blu_\w+|solve_(many_)?of_order|solve_transposed|nan_in_|"
                       r"update_(row|column)<|subtract_product|divide_column|index_of_greatest|exchange_(rows|in_columns)"),
    ("structured", r"\bd(symm|gemmt|syrk|syr2k|trmm)\b|\b[dz]trsm\b|triang|symmetric_|fill_square"),
    ("level 3", r"\b[dcz]gemm\b|small_|multiply_|\bpack|simple_loops|scale_matrix|blocked|ladder|report_no_buffer|"
                r"_address\("),
    ("band", r"\bzgbmv\b|gbmv_|(add|dot)_pairs"),
    ("level 2", r"\b[dcz]ge(mv|r|ru)\b|\b[dz]trsv\b|gemv_|ger_|(add|dot)_(all_)?columns|trsv_|update_columns|scale<"),
    ("level 1", r"\bd(dot|axpy|copy)\b|\bz(axpy|copy)|dot_\w+|choose_zaxpy|add_(elements|multiples)"),
]


def functions():
    """(size, plain name) of each function."""
    listing = subprocess.run(["nm", "-S", "-C", "-t", "d", str(LIBRARY)], check=True, capture_output=True,
                             text=True).stdout
    return [(int(match[1]), match[2])
            for match in re.finditer(r"^\d+ (\d+) [tTwW] (.*)$", listing, re.M)]


def family_of(name):
    if not re.search(r"qsl::(p4|p4m|p4m3|avx|avx2|avx512|cnr)::", name):
        return "frame"
    plain = re.sub(r"qsl::\w+::", "", name)
    return next((family for family, pattern in FAMILIES if re.search(pattern, plain)), "other")


def sizes():
    result = dict.fromkeys(BUDGET, 0)
    unknown = []
    for size, name in functions():
        family = family_of(name)
        if family == "other":
            unknown.append(name)
        else:
            result[family] += size
    header = subprocess.run(["size", str(LIBRARY)], check=True, capture_output=True, text=True).stdout
    result["text"] = int(header.splitlines()[1].split()[0])
    return result, unknown


def test_every_family_is_within_its_budget():
    found, unknown = sizes()
    print("\n| family | bytes | budget |\n|---|---|---|")
    for family, budget in BUDGET.items():
        print(f"| {family} | {found[family]:,} | {budget:,} |")
    assert not unknown, "functions of no family: add them to a row"
    assert not {family: found[family] for family in BUDGET if found[family] > BUDGET[family]}


def test_every_family_has_functions():
    found, _ = sizes()
    assert all(found.values()), found
