"""Draws the figures of docs/benchmarks.md as SVG, in docs/pictures, and includes the pictures in that page and in the
README.

The tables of the page are the only source, so the pictures can be drawn and checked without measuring anything. Each
picture is legible at the width of a phone and has colors for light and dark color schemes, including its background.

Usage: charts.py           writes docs/pictures/*.svg and the text between the marks "pictures" of both pages
       charts.py --check   writes nothing; fails when any of that differs from the tables
"""

import pathlib
import re
import sys
from html import escape

TOP = pathlib.Path(__file__).resolve().parent.parent
FIGURES = TOP / "docs" / "benchmarks.md"
README = TOP / "README.md"
PICTURES = TOP / "docs" / "pictures"

FAMILIES = {
    "A": "Editing lines as sed does",
    "B": "Editing lines with groups and alternatives",
    "C": "UTF-16 to UTF-8",
    "D": "Replacing a literal text",
    "F": "Tokens with quotes",
    "K": "Small calls",
    "S": "Match slots",
    "X": "XML",
}
# What the README shows: a work of each family, or two.
OVERVIEW = {
    "A1": "A substitution of groups in each line, 73 MB",
    "A3": "Deleting the lines that contain a word, 73 MB",
    "C2": "UTF-16 of Latin and Greek to UTF-8, 64 MiB",
    "D2": "Replacing a literal text, one in 4 KiB",
    "F1": "Tokens with quotes, 10 MB",
    "X1": "Parsing 20 MiB of XML into a tree",
    "X4": "Finding an element in that tree by a query",
}
THREADS = {"One thread": 1, "Two threads": 2, "Four threads": 4, "Eight threads": 8}

WIDTH = 460
MARGIN = 12
ROW = 20
STYLE = """
    text { font: 14px system-ui, -apple-system, "Segoe UI", "DejaVu Sans", sans-serif; fill: #1f2328 }
    .title { font-size: 17px; font-weight: bold }
    .work { font-weight: bold }
    .note { fill: #59636e }
    .page { fill: #ffffff }
    .own { fill: #0969da }
    .other { fill: #818b98 }
    .axis { stroke: #59636e; stroke-width: 1 }
    .grid { stroke: #d1d9e0; stroke-width: 1 }
    .line { fill: none; stroke-width: 2.5 }
    .dot { fill: #ffffff; stroke-width: 2 }
    .goal { stroke: #59636e; stroke-width: 1.5; stroke-dasharray: 5 4 }
    .c0 { stroke: #0969da } .c1 { stroke: #bc4c00 } .c2 { stroke: #1a7f37 } .c3 { stroke: #8250df }
    text.c0 { fill: #0969da; stroke: none } text.c1 { fill: #bc4c00; stroke: none }
    text.c2 { fill: #1a7f37; stroke: none } text.c3 { fill: #8250df; stroke: none }
    @media (prefers-color-scheme: dark) {
      text { fill: #e6edf3 }
      .note { fill: #9198a1 }
      .page, .dot { fill: #0d1117 }
      .own { fill: #58a6ff }
      .other { fill: #6e7681 }
      .axis, .goal { stroke: #9198a1 }
      .grid { stroke: #30363d }
      .c0 { stroke: #58a6ff } .c1 { stroke: #f0883e } .c2 { stroke: #3fb950 } .c3 { stroke: #bc8cff }
      text.c0 { fill: #58a6ff } text.c1 { fill: #f0883e } text.c2 { fill: #3fb950 } text.c3 { fill: #bc8cff }
    }
"""


class Drawing:
    """An SVG picture that grows downwards: `y` is the upper edge of the next element."""

    def __init__(self, title, notes):
        self.title = title
        self.parts = []
        self.y = MARGIN + 16
        self.text(MARGIN, self.y, title, "title")
        self.y += 8
        for note in notes:
            self.y += 18
            self.text(MARGIN, self.y, note, "note")
        self.y += 12

    def text(self, x, y, text, style="", anchor="start"):
        style = f' class="{style}"' if style else ""
        anchor = f' text-anchor="{anchor}"' if anchor != "start" else ""
        self.parts.append(f'<text x="{x:.1f}" y="{y:.1f}"{style}{anchor}>{escape(text, quote=False)}</text>')

    def line(self, x1, y1, x2, y2, style):
        self.parts.append(f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" class="{style}"/>')

    def shape(self, points, style, kind="polygon"):
        points = " ".join(f"{x:.1f},{y:.1f}" for x, y in points)
        self.parts.append(f'<{kind} points="{points}" class="{style}"/>')

    def dot(self, x, y, style):
        self.parts.append(f'<circle cx="{x:.1f}" cy="{y:.1f}" r="3.5" class="dot {style}"/>')

    def svg(self, description):
        height = self.y + MARGIN
        return "\n".join([
            f'<svg xmlns="http://www.w3.org/2000/svg" role="img" width="{WIDTH}" height="{height:.0f}"'
            f' viewBox="0 0 {WIDTH} {height:.0f}">',
            f"<title>{escape(self.title, quote=False)}</title>", f"<desc>{escape(description, quote=False)}</desc>",
            f"<style>{STYLE}</style>", '<rect width="100%" height="100%" rx="6" class="page"/>', *self.parts, "</svg>", ""])


def tables(text):
    """{heading: (columns, rows)} of the tables below headings of the third rank; code marks and escapes removed."""
    found = {}
    heading = None
    for line in text.splitlines():
        if line.startswith("#"):
            heading = line[4:] if line.startswith("### ") else None
        elif heading and line.startswith("|"):
            cells = [cell.strip().replace("\\|", "|").replace("`", "") for cell in re.split(r"(?<!\\)\|", line)[1:-1]]
            if not re.fullmatch(r"[-: ]+", "".join(cells)):
                columns, rows = found.setdefault(heading, (cells, []))
                if cells is not columns:
                    rows.append(dict(zip(columns, cells)))
    return found


def peers(row):
    """[(contestant, its time as a multiple of the library's)], the fastest first; names may contain commas."""
    return [(name, float(ratio)) for name, ratio in re.findall(r"(.+?) (\d+\.\d+)(?:, |$)", row["Others"])]


def told(ratio):
    return f"{ratio:.2f}" if ratio < 100 else f"{ratio:.0f}"


def described(title, rows):
    """The alternative text: for each peer how its times compare."""
    ratios = {}
    for row in rows:
        for name, ratio in peers(row):
            ratios.setdefault(name, []).append(ratio)
    ranges = "; ".join(f"{name} {told(min(all_of))}" + (f" to {told(max(all_of))}" if len(all_of) > 1 else "")
                       for name, all_of in ratios.items())
    return f"{title}, times as multiples of the library's: {ranges}."


def bars(title, works):
    """One bar for the library and each peer in each work; works is [(heading, row)]. Long bars end in a point."""
    left = MARGIN + 8 + 8 * max(len(name) for _, row in works for name, _ in [("this library", 1.0), *peers(row)])
    room = WIDTH - left - MARGIN - 62
    limit = min(8.0, max([1.0, *(ratio for _, row in works for _, ratio in peers(row))]))
    drawing = Drawing(title, ["Processor time as a multiple of the library's:", "shorter is faster."])
    for heading, row in works:
        drawing.y += 18
        drawing.text(MARGIN, drawing.y, heading, "work")
        drawing.y += 6
        upper = drawing.y
        own = row["Library"].split(" ±")[0]
        for name, ratio, label, style in [("this library", 1.0, own, "own"),
                                          *((name, ratio, told(ratio), "other") for name, ratio in peers(row))]:
            end = left + room * min(ratio, limit) / limit
            tip = 8 if ratio > limit else 0
            y = drawing.y + 2
            drawing.text(left - 8, y + 12, name, anchor="end")
            drawing.shape([(left, y), (end, y), (end + tip, y + 8), (end, y + 16), (left, y + 16)], style)
            drawing.text(max(end + tip, left + room / limit) + 6, y + 13, label)
            drawing.y += ROW
        drawing.line(left + room / limit, upper, left + room / limit, drawing.y, "axis")
        drawing.y += 6
    return drawing.svg(described(title, [row for _, row in works]))


def spread_out(labels, distance):
    """Moves neighbours among (y, ...) that are closer than `distance` apart, each by half."""
    labels = sorted(labels)
    heights = [label[0] for label in labels]
    for _ in range(100):
        for i in range(len(heights) - 1):
            overlap = max(0.0, distance - (heights[i + 1] - heights[i]))
            heights[i] -= overlap / 2
            heights[i + 1] += overlap / 2
    return [(y, *rest) for y, (_, *rest) in zip(heights, labels)]


def line_panel(drawing, names, values, ticks, goal=None, dots=None):
    """Lines over equally spaced points: their names, {label: values}, the marked heights, the ends of a dashed line, and
    {label: height of a dot at the last point}."""
    left, right, height = MARGIN + 44, WIDTH - 62, 168
    lowest, highest = ticks[0], ticks[-1]
    top = drawing.y + 8

    def place(point, value):
        return (left + (right - left) * point / (len(names) - 1),
                top + height * (highest - value) / (highest - lowest))

    for tick in ticks:
        y = place(0, tick)[1]
        drawing.line(left, y, right, y, "grid")
        drawing.text(left - 6, y + 5, f"{tick:g}", "note", "end")
    for point, name in enumerate(names):
        drawing.text(place(point, lowest)[0], top + height + 20, name, "note",
                     "start" if point == 0 else "end" if point == len(names) - 1 else "middle")
    if goal:
        drawing.line(*place(0, goal[0]), *place(len(names) - 1, goal[-1]), "goal")
    labels = []
    for number, (label, heights) in enumerate(values.items()):
        color = f"c{number % 4}"
        points = [place(point, value) for point, value in enumerate(heights)]
        drawing.shape(points, f"line {color}", "polyline")
        if dots:
            drawing.dot(*place(len(names) - 1, dots[label]), color)
        labels.append((points[-1][1], label, color))
    for y, label, color in spread_out(labels, 15):
        drawing.text(right + 8, y + 5, label, color)
    drawing.y = top + height + 32


def growth(rows):
    title = "Growth"
    sizes = ["x 1", "x 10", "x 100"]
    drawing = Drawing(title, ["The cost of a byte at 10 and 100 times a size,", "as a multiple of that at the smallest one:",
                              "1 where the cost grows as the input does. Dots:",
                              "the same where libc keeps freed memory."])
    parts = []
    for family in sorted({row[""][0] for row in rows}):
        values = {row[""]: [float(row[size]) / float(row[sizes[0]]) for size in sizes]
                  for row in rows if row[""][0] == family}
        kept = {row[""]: float(row["Quotient, memory kept"]) for row in rows if row[""][0] == family}
        highest = max(*kept.values(), *map(max, values.values()))
        ticks = [0.5, 1.0, 1.5, 2.0]
        while ticks[-1] < highest:
            ticks.append(ticks[-1] + 0.5)
        drawing.y += 16
        drawing.text(MARGIN, drawing.y, FAMILIES.get(family, family), "work")
        drawing.y += 8
        line_panel(drawing, sizes, values, ticks, dots=kept)
        last = [heights[-1] for heights in values.values()]
        parts.append(f"{min(last):.2f} to {max(last):.2f} for {FAMILIES.get(family, family)}")
    return drawing.svg("The cost of a byte at 100 times the smallest size, as a multiple of that at the smallest: "
                       + "; ".join(parts) + ".")


def threads(rows):
    title = "Threads"
    drawing = Drawing(title, ["Thousands of calls of matches in a second;", "dashed: each thread as fast as one alone."])
    names = [name for name in rows[0] if name in THREADS]
    values = {}
    parts = []
    for row in rows:
        alone = float(row[names[0]])
        values[row[""]] = [alone] + [alone * float(row[name]) for name in names[1:]]
        parts.append(f"{row['Work']}: " + ", ".join(f"{row[name]} times as many with {name.lower()}" for name in names[1:]))
    best = max(heights[0] for heights in values.values())
    step = 1000 * max(1, round(best * THREADS[names[-1]] / 5000))
    ticks = [0]
    while ticks[-1] < max(best * THREADS[names[-1]], *map(max, values.values())):
        ticks.append(ticks[-1] + step)
    line_panel(drawing, [name.lower() for name in names], values, ticks,
               goal=(best, best * THREADS[names[-1]]))
    for row in rows:
        drawing.y += 18
        drawing.text(MARGIN, drawing.y, f"{row['']}: {row['Work']}")
    drawing.y += 4
    return drawing.svg("; ".join(parts) + ".")


def pictures(found):
    """{file name: SVG}: the overview, one for each family, growth, threads."""
    times = found["Times"][1]
    named = {row[""]: row for row in times}
    drawn = {"overview.svg": bars("The library and its peers", [(title, named[work]) for work, title in OVERVIEW.items()])}
    for family in sorted({work[0] for work in named}):
        works = [(f"{row['']}  {row['Work']}", row) for row in times if row[""][0] == family]
        drawn[f"times-{family}.svg"] = bars(FAMILIES.get(family, f"Family {family}"), works)
    drawn["growth.svg"] = growth(found["Growth"][1])
    drawn["threads.svg"] = threads(found["Threads"][1])
    return drawn


def shown(page, drawn, names):
    """The text of `page` with the pictures between its marks."""
    text = page.read_text(encoding="utf-8")
    blocks = []
    for name in names:
        description = re.search("<desc>(.*)</desc>", drawn[name]).group(1)
        blocks.append(f"![{description}]({(PICTURES / name).relative_to(page.parent)})\n")
    written, marks = re.subn(r"(<!-- pictures: written by benchmarks/charts.py -->\n).*?(<!-- end of pictures -->)",
                             lambda marks: marks[1] + "\n" + "\n".join(blocks) + "\n" + marks[2], text, flags=re.DOTALL)
    if marks != 1:
        sys.exit(f"charts.py: {page.relative_to(TOP)} has {marks} places for pictures instead of one")
    return written


def main():
    drawn = pictures(tables(FIGURES.read_text(encoding="utf-8")))
    files = {PICTURES / name: svg for name, svg in drawn.items()}
    files[README] = shown(README, drawn, ["overview.svg"])
    files[FIGURES] = shown(FIGURES, drawn, [name for name in drawn if name != "overview.svg"])
    stale = [path for path, text in files.items() if not path.exists() or path.read_text(encoding="utf-8") != text]
    left_over = {path for pattern in ("times-*.svg", "growth.svg", "threads.svg", "overview.svg")
                 for path in PICTURES.glob(pattern)} - set(files)
    if sys.argv[1:] == ["--check"]:
        if stale or left_over:
            names = ", ".join(str(path.relative_to(TOP)) for path in sorted({*stale, *left_over}))
            sys.exit(f"charts.py: not what the tables of docs/benchmarks.md give: {names} (benchmarks/charts.py writes them)")
        return
    if sys.argv[1:]:
        sys.exit(__doc__)
    for path in left_over:
        path.unlink()
    for path in stale:
        path.write_text(files[path], encoding="utf-8")


main()
