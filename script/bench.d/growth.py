"""How the product's instructions grow with what it works on: counted by callgrind, drawn as a picture, fitted as an exponent.

What the library takes is left out. How ctkhost list grows is measured by the processor's time (commands.py): valgrind does not know
the calls that the host starts the extension with.
"""

import collections
import html
import math
import os
import subprocess

import counts
import goals
import measure

WIDTH, HEIGHT, LEFT, TOP, LEGEND = 520, 360, 120, 40, 340
COLOURS = ("#2a7f4f", "#b3372c", "#4a6a8a", "#a67c00", "#7a4fa3")


def product_points(build, environment):
    """{what: {size: instructions}}"""
    own, points = counts.own_functions(build), collections.defaultdict(dict)
    for name, profile in counts.profiles(build / "count_growth/MacOS/count_growth", environment).items():
        what, _, size = name.rpartition("/")
        points[what][int(size)] = sum(counts.where(profile, own).values())
    return points


def place(value, least, greatest, length):
    return length * (math.log10(value) - math.log10(least)) / (math.log10(greatest) - math.log10(least))


def svg(points):
    sizes = [size for of in points.values() for size in of]
    costs = [cost for of in points.values() for cost in of.values()]
    left, right = 1, 10 ** math.ceil(math.log10(max(sizes)))
    low, high = 10 ** math.floor(math.log10(min(costs))), 10 ** math.ceil(math.log10(max(costs)))
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{LEFT + WIDTH + LEGEND}" height="{TOP + HEIGHT + 50}" '
             'font-family="sans-serif" font-size="12"><rect width="100%" height="100%" fill="white"/>',
             '<text x="10" y="20" font-size="15">Instructions of the product, without the PKCS#11 library\'s</text>']
    for power in range(int(math.log10(low)), int(math.log10(high)) + 1):
        y = TOP + HEIGHT - place(10 ** power, low, high, HEIGHT)
        parts.append(f'<line x1="{LEFT}" y1="{y:.1f}" x2="{LEFT + WIDTH}" y2="{y:.1f}" stroke="#ddd"/>'
                     f'<text x="{LEFT - 8}" y="{y + 4:.1f}" text-anchor="end">{10 ** power:,}</text>')
    for power in range(int(math.log10(right)) + 1):
        x = LEFT + place(10 ** power, left, right, WIDTH)
        parts.append(f'<line x1="{x:.1f}" y1="{TOP}" x2="{x:.1f}" y2="{TOP + HEIGHT}" stroke="#ddd"/>'
                     f'<text x="{x:.1f}" y="{TOP + HEIGHT + 18}" text-anchor="middle">{10 ** power:,}</text>')
    parts.append(f'<text x="{LEFT + WIDTH / 2}" y="{TOP + HEIGHT + 40}" text-anchor="middle">objects, slots or MiB</text>')
    for index, (what, of) in enumerate(points.items()):
        colour = COLOURS[index % len(COLOURS)]
        spots = [(LEFT + place(size, left, right, WIDTH), TOP + HEIGHT - place(cost, low, high, HEIGHT))
                 for size, cost in sorted(of.items())]
        parts.append(f'<polyline points="{" ".join(f"{x:.1f},{y:.1f}" for x, y in spots)}" fill="none" '
                     f'stroke="{colour}" stroke-width="2"/>')
        parts.extend(f'<circle cx="{x:.1f}" cy="{y:.1f}" r="3" fill="{colour}"/>' for x, y in spots)
        y = TOP + 20 + 22 * index
        parts.append(f'<rect x="{LEFT + WIDTH + 15}" y="{y - 9}" width="14" height="10" fill="{colour}"/>'
                     f'<text x="{LEFT + WIDTH + 36}" y="{y}">{html.escape(what)}: exponent {measure.exponent(of):.2f}</text>')
    return "\n".join(parts) + "\n</svg>\n"


def print_table(build, output, environment):
    """Writes growth.svg and growth.png. Returns how many goals are missed."""
    points = product_points(build, {**environment, "HOME": os.fspath(output / "home")})
    missed = 0
    for what, of in points.items():
        exponent = measure.exponent(of)
        met = exponent <= goals.GROWTH
        missed += not met
        print(f"{what:<44} exponent {exponent:5.2f}  goal {goals.GROWTH}: {'met' if met else 'MISSED'}")
        print("    " + "; ".join(f"{size:,}: {instructions:,}" for size, instructions in sorted(of.items())))
    picture = output / "growth.svg"
    picture.write_text(svg(points))
    subprocess.run(["rsvg-convert", "--output", output / "growth.png", picture], check=True)
    print(f"drawn in {output / 'growth.png'}")
    return missed
