"""SVG plots of the figures over the size."""

import math
import re

from results import OWN
from runs import LEVELS

# Speed relative to a base line.
BASES = {"ddot": "openblas", "zaxpy": "openblas", "zcopy": "memcpy", "allocate": "malloc"}
# Speed as such, below the bound.
RATES = ["dgemm", "zgemm", "cgemm", "dgetrf", "zgetrfnp_compact"]
COLOURS = ["#9e9e9e", "#8d6e63", "#5c6bc0", "#26a69a", "#d32f2f", "#7b1fa2", "#ef6c00", "#212121"]
WIDTH, HEIGHT, LEFT, RIGHT, TOP, BOTTOM = 760, 420, 60, 170, 40, 50


def logarithmic(values):
    """Ticks and the place of a value between 0 and 1, by powers of two; 1 is always on it."""
    low = math.floor(min(math.log2(v) for v in values + [1.0]))
    high = max(math.ceil(max(math.log2(v) for v in values + [1.0])), low + 1)
    ticks = [2.0**power for power in range(low, high + 1)]
    return ticks, lambda v: (math.log2(v) - low) / (high - low)


def linear(values):
    """Likewise, from 0 in even steps."""
    step = 10.0 ** math.floor(math.log10(max(values)))
    step = next(step / d for d in (1, 2, 5, 10) if max(values) / (step / d) >= 4)
    count = math.ceil(max(values) / step)
    return [step * i for i in range(count + 1)], lambda v: v / (count * step)


def label(name):
    match = re.fullmatch(r"type (\d+)", name)
    return f"{name} ({LEVELS[int(match.group(1))]})" if match else name


def draw(title, unit, lines, scale, mark):
    """The plot of {participant: [(size, value)]}, the sizes on a logarithmic axis; the tick of the
    value `mark` is black."""
    sizes = sorted({size for points in lines.values() for size, _ in points})
    ticks, place = scale([value for points in lines.values() for _, value in points])
    first, last = math.log10(sizes[0]), math.log10(sizes[-1])
    right, base = WIDTH - RIGHT, HEIGHT - BOTTOM

    def x_of(size):
        return LEFT + (math.log10(size) - first) / (last - first) * (right - LEFT)

    def y_of(value):
        return base - place(value) * (base - TOP)

    out = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{HEIGHT}" '
           'font-family="sans-serif" font-size="12">',
           f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>',
           f'<text x="{LEFT}" y="22" font-size="15">{title}</text>']
    for tick in ticks:
        y = y_of(tick)
        out.append(f'<line x1="{LEFT}" y1="{y:.1f}" x2="{right}" y2="{y:.1f}" '
                   f'stroke="{"#000" if tick == mark else "#ddd"}"/>')
        out.append(f'<text x="{LEFT - 8}" y="{y + 4:.1f}" text-anchor="end">{tick:g}</text>')
    free = -math.inf  # where the last label ends
    for size in sizes:
        x = x_of(size)
        out.append(f'<line x1="{x:.1f}" y1="{TOP}" x2="{x:.1f}" y2="{base}" stroke="#eee"/>')
        half = 5 * len(f"{size:g}")
        if x - half > free:
            free = x + half
            out.append(f'<text x="{x:.1f}" y="{base + 18}" text-anchor="middle">{size:g}</text>')
    out.append(f'<text x="{(LEFT + right) / 2}" y="{HEIGHT - 12}" '
               f'text-anchor="middle">{unit}</text>')
    for number, (name, points) in enumerate(lines.items()):
        colour = COLOURS[number % len(COLOURS)]
        dash = "" if name in OWN else ' stroke-dasharray="5 4"'
        corners = " ".join(f"{x_of(size):.1f},{y_of(value):.1f}" for size, value in points)
        out.append(f'<polyline points="{corners}" fill="none" stroke="{colour}" '
                   f'stroke-width="2"{dash}/>')
        y = TOP + 20 * number + 8
        out.append(f'<line x1="{right + 15}" y1="{y}" x2="{right + 40}" y2="{y}" '
                   f'stroke="{colour}" stroke-width="2"{dash}/>')
        out.append(f'<text x="{right + 46}" y="{y + 4}">{label(name)}</text>')
    out.append("</svg>")
    return "\n".join(out) + "\n"


def lines_of(results, routine, value):
    """The participants' points; our own first, those without any left out."""
    names = sorted(results.participants(routine), key=lambda name: name not in OWN)
    lines = {}
    for name in names:
        points = [(size, value(size, name)) for size in results.shapes(routine)]
        lines[name] = [point for point in points if point[1]]
    return {name: points for name, points in lines.items() if len(points) > 1}


def plots(results):
    """{name: SVG} of the routines that were measured."""
    made = {}
    for routine, base in BASES.items():
        lines = lines_of(results, routine,
                         lambda size, name: results.ratio(routine, size, name, base))
        lines.pop(base, None)
        if lines:
            made[routine] = draw(f"{routine}: speed relative to {base}",
                                 "bytes" if routine == "allocate" else "n", lines, logarithmic, 1.0)
    for routine in RATES:
        lines = lines_of(results, routine, lambda size, name: results.rate(routine, size, name))
        if lines:
            made[routine] = draw(f"{routine}, square matrices: GFLOP/s", "n", lines, linear, 0.0)
    return made
