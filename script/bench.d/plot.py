"""A picture of the ratios: build/bench/bench.svg, and bench.png made of it."""

import html
import math
import subprocess

ROW, LEFT, WIDTH, RIGHT = 22, 560, 420, 90
MET, MISSED, PLAIN = "#2a7f4f", "#b3372c", "#4a6a8a"


def position(ratio, least, greatest):
    return LEFT + WIDTH * (math.log(ratio) - math.log(least)) / (math.log(greatest) - math.log(least))


def svg(rows):
    ratios = [row for row in rows if row["unit"] == "ratio"]
    least = min([0.5] + [row["value"] for row in ratios])
    greatest = max([2.0] + [row["value"] for row in ratios])
    height = ROW * (len(ratios) + 3)
    one = position(1, least, greatest)
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{LEFT + WIDTH + RIGHT}" height="{height}" '
        'font-family="sans-serif" font-size="12">',
        '<rect width="100%" height="100%" fill="white"/>',
        f'<text x="10" y="{ROW}" font-size="15">Time of the product divided by the reference\'s '
        '(logarithmic; left of the line is faster)</text>',
        f'<line x1="{one:.1f}" y1="{1.5 * ROW}" x2="{one:.1f}" y2="{height - ROW}" stroke="#888"/>',
    ]
    for index, row in enumerate(ratios):
        y = ROW * (index + 2)
        end = position(row["value"], least, greatest)
        colour = PLAIN if row["goal"] is None else MET if row["met"] else MISSED
        parts.append(f'<text x="{LEFT - 10}" y="{y + 15}" text-anchor="end">'
                     f'{html.escape(row["what"])} / {html.escape(row["reference"])}</text>')
        parts.append(f'<rect x="{min(one, end):.1f}" y="{y + 5}" width="{max(abs(end - one), 1):.1f}" '
                     f'height="{ROW - 8}" fill="{colour}"/>')
        parts.append(f'<text x="{max(one, end) + 5:.1f}" y="{y + 15}">{row["value"]:.3g}</text>')
        if row["goal"] is not None and least <= row["goal"] <= greatest:
            goal = position(row["goal"], least, greatest)
            parts.append(f'<line x1="{goal:.1f}" y1="{y + 2}" x2="{goal:.1f}" y2="{y + ROW - 2}" stroke="black" '
                         'stroke-dasharray="2,2"/>')
    parts.append(f'<text x="10" y="{height - 8}" fill="#555">green: goal met, red: missed, blue: no goal; dashed: the '
                 'goal</text></svg>')
    return "\n".join(parts) + "\n"


def write(rows, folder):
    if not any(row["unit"] == "ratio" for row in rows):
        return
    picture = folder / "bench.svg"
    picture.write_text(svg(rows))
    subprocess.run(["rsvg-convert", "--output", folder / "bench.png", picture], check=True)
