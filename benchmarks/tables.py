"""Tables in Markdown, named as in docs/performance.md."""

import re
import statistics

from results import OWN
from runs import LEVELS

PEERS = ["openblas", "eigen"]
NAMES = {"openblas": "OpenBLAS", "eigen": "Eigen"}
BAND_PRODUCTS = ["zgbmv-N", "zgbmv-T", "zgbmv-C"]
SMALL = range(4, 65)  # the sizes of the geometric mean
# Routines whose figures stand in tables of their own making; all others get a plain one.
TABLED = re.compile(r"ddot|zaxpy|zcopy|allocate|[dzc]gemm(-\w+)?|zgbmv-[NTC]|zgbsv|dgetrf|"
                    r"[dz]gesv(-rows)?")


def cell(value):
    if value is None:
        return "-"
    if isinstance(value, float):
        return f"{value:.2f}" if value < 100 else f"{value:.0f}"
    return str(value)


def markdown(header, rows):
    """Rows without any figure are left out; a table without rows is empty."""
    rows = [row for row in rows if any(isinstance(value, float) for value in row)]
    if not rows:
        return ""
    lines = [header, ["---"] * len(header)] + rows
    return "\n".join("| " + " | ".join(cell(value) for value in line) + " |"
                     for line in lines).replace("| --- ", "|---").replace("--- |", "---|")


def vectors(results):
    columns = [("ddot", "openblas"), ("ddot", "eigen"), ("zaxpy", "openblas"), ("zaxpy", "eigen"),
               ("zcopy", "openblas"), ("zcopy", "memcpy")]
    header = ["n"] + [f"{routine} / {NAMES.get(peer, peer)}" for routine, peer in columns]
    rows = [[n] + [results.ratio(routine, n, results.highest(routine), peer)
                   for routine, peer in columns] for n in results.shapes("ddot")]
    return markdown(header, rows)


def lower_types(results, routines):
    """All types below the highest, relative to OpenBLAS."""
    columns = [(routine, kind) for routine in routines for kind in results.types(routine)[:-1]]
    header, last = ["n"], None
    for routine, kind in columns:
        level = LEVELS[int(kind.split()[1])]
        header.append(level if routine == last else f"{routine} {level}")
        last = routine
    rows = [[n] + [results.ratio(routine, n, kind, "openblas") for routine, kind in columns]
            for n in results.shapes(routines[0])]
    return markdown(header, rows)


def memory(results):
    rows = [[size, results.ratio("allocate", size, "QSL_malloc", "malloc"),
             results.ratio("allocate", size, "qsl_mm_allocate", "malloc")]
            for size in results.shapes("allocate")]
    return markdown(["bytes", "`QSL_malloc`", "cached work buffer"], rows)


def product(results, routine):
    """Square matrices: GFLOP/s, share of the bound, ratios."""
    ours = results.highest(routine)
    rows = [[n, results.rate(routine, n, ours), results.ratio(routine, n, ours, "bound")] +
            [results.ratio(routine, n, ours, peer) for peer in PEERS] +
            [results.better(routine, n, ours, PEERS)] for n in results.shapes(routine)]
    small = [row for row in rows if row[0] in SMALL]
    if len(small) > 2:
        means = [statistics.geometric_mean(column) if None not in column else None
                 for column in zip(*(row[3:] for row in small))]
        rows.append([f"geometric mean, {small[0][0]} to {small[-1][0]}", None, None] + means)
    return markdown(["n", "GFLOP/s", "share of the bound"] +
                    [f"/ {NAMES[peer]}" for peer in PEERS] + ["/ the better peer"], rows)


def skinny(results):
    routine = "dgemm-skinny"
    ours = results.highest(routine)
    rows = [shape.split("x") + [results.rate(routine, shape, ours)] +
            [results.ratio(routine, shape, ours, peer) for peer in PEERS]
            for shape in results.shapes(routine)]
    return markdown(["m", "n", "k", "GFLOP/s"] + [f"/ {NAMES[peer]}" for peer in PEERS], rows)


def pairs(results):
    """Transposed operands, relative to none of them transposed and to the peers."""
    rows = []
    for routine in results.nanoseconds:
        match = re.fullmatch(r"([dzc]gemm)-([NTC])([NTC])", routine)
        for n in results.shapes(routine) if match else []:
            ours = results.highest(routine)
            rows.append([match.group(1), n, f"{match.group(2)}, {match.group(3)}",
                         results.ratio(routine, n, ours, ours, match.group(1) + "-NN")] +
                        [results.ratio(routine, n, ours, peer) for peer in PEERS])
    rows.sort(key=lambda row: ("dzc".index(row[0][0]), row[1]))
    return markdown(["routine", "n", "A, B", "/ N, N"] + [f"/ {NAMES[peer]}" for peer in PEERS],
                    rows)


def bands(results, routines):
    """Band matrices: order and width of each band, ratios to the peers at the highest level."""
    rows = []
    for routine in routines:
        ours = results.highest(routine)
        for shape in results.shapes(routine):
            rows.append([routine] + shape.split("x") + [results.rate(routine, shape, ours)] +
                        [results.ratio(routine, shape, ours, peer) for peer in PEERS] +
                        [results.better(routine, shape, ours, PEERS)])
    return markdown(["routine", "n", "kl = ku", "GFLOP/s"] +
                    [f"/ {NAMES[peer]}" for peer in PEERS] + ["/ the better peer"], rows)


def factorisation(results):
    """Square matrices: GFLOP/s, share of the matrix product's, ratios to the peers."""
    routine, rows = "dgetrf", []
    ours = results.highest(routine)
    for n in results.shapes(routine):
        rows.append([n, results.rate(routine, n, ours),
                     results.ratio(routine, n, ours, ours, "dgemm")] +
                    [results.ratio(routine, n, ours, peer) for peer in PEERS] +
                    [results.better(routine, n, ours, PEERS)])
    return markdown(["n", "GFLOP/s", "share of `dgemm`"] + [f"/ {NAMES[peer]}" for peer in PEERS] +
                    ["/ the better peer"], rows)


def systems(results):
    """Right-hand sides: ratios to the peers, and what row-major order costs."""
    rows = []
    for routine in ["dgesv", "zgesv"]:
        ours = results.highest(routine)
        for shape in results.shapes(routine):
            rows.append([routine] + shape.split("x") +
                        [results.ratio(routine, shape, ours, peer) for peer in PEERS] +
                        [results.better(routine, shape, ours, PEERS),
                         results.ratio(routine, shape, ours, ours, f"{routine}-rows")])
    return markdown(["routine", "n", "right-hand sides"] + [f"/ {NAMES[peer]}" for peer in PEERS] +
                    ["/ the better peer", "row-major time / column-major"], rows)


def plain(results, routine):
    """Ratios to everything that was measured beside this library."""
    ours = results.highest(routine)
    peers = [name for name in results.participants(routine) if name not in OWN]
    rows = [[shape] + [results.ratio(routine, shape, ours, peer) for peer in peers]
            for shape in results.shapes(routine)]
    return markdown(["size"] + [f"/ {NAMES.get(peer, peer)}" for peer in peers], rows)


def tables(results):
    """{name: Markdown} of those that have rows."""
    made = {
        "vectors": vectors(results),
        "vectors, lower levels": lower_types(results, ["ddot", "zaxpy"]),
        "memory": memory(results),
        "dgemm": product(results, "dgemm"),
        "dgemm, lower levels": lower_types(results, ["dgemm"]),
        "dgemm, skinny": skinny(results),
        "transposed": pairs(results),
        "zgemm": product(results, "zgemm"),
        "cgemm": product(results, "cgemm"),
        "zgbmv": bands(results, BAND_PRODUCTS),
        "zgbsv": bands(results, ["zgbsv"]),
        "zgbsv, lower levels": lower_types(results, ["zgbsv"]),
        "zgbmv, lower levels": lower_types(results, BAND_PRODUCTS),
        "dgetrf": factorisation(results),
        "dgetrf, lower levels": lower_types(results, ["dgetrf"]),
        "systems": systems(results),
        "complex, lower levels": lower_types(results, ["zgemm", "cgemm"]),
    }
    made.update((routine, plain(results, routine)) for routine in results.nanoseconds
                if not TABLED.fullmatch(routine))
    return {name: text for name, text in made.items() if text}
