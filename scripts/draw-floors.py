#!/usr/bin/env python3
"""Draws the folders of src/floors.txt, each above the ones that it stands on, to docs/floors.svg.

With --check it draws nothing and fails when that drawing is another, or when docs/architecture.md does not tell of
each folder. An arrow that a longer way explains is left out.
"""

import re
import sys

from floors import ROOT, read_floors

PICTURE, PAGE = ROOT / "docs/floors.svg", ROOT / "docs/architecture.md"
BOX, BEND, GAP, HEIGHT, ROW = 112, 16, 20, 34, 78  # pixels
COLOURS = ("#dbe9ff", "#ffe9c7", "#d9f2dc", "#f3dcf3", "#eeeeee")  # of the libraries, in the order of the list

FLOORS = read_floors()


def reach(folder):
    """Everything below the folder."""
    direct = FLOORS[folder][1]
    return set(direct).union(*map(reach, direct))


def direct_arrows():
    for folder, (_, below) in FLOORS.items():
        for lower in below:
            if not any(lower in reach(other) for other in below):
                yield folder, lower


def rows_and_ways():
    """The rows from the top down, and each arrow as the stations of its way: a bend in each row that it crosses."""
    level = {}
    for folder, (_, below) in FLOORS.items():
        level[folder] = 1 + max((level[lower] for lower in below), default=-1)
    rows = [[folder for folder in FLOORS if level[folder] == height] for height in range(max(level.values()) + 1)]
    ways = []
    for folder, lower in direct_arrows():
        bends = [(folder, lower, height) for height in range(level[folder] - 1, level[lower], -1)]
        for bend in bends:
            rows[bend[2]].append(bend)
        ways.append([folder, *bends, lower])
    return rows[::-1], ways


def width(station):
    return BOX if isinstance(station, str) else BEND


def centres(rows):
    """Where the middle of each station lies, each row in the middle of the picture."""
    places = {}
    full = max(sum(width(station) + GAP for station in row) for row in rows)
    for row in rows:
        x = (full - sum(width(station) + GAP for station in row) + GAP) / 2
        for station in row:
            places[station] = x + width(station) / 2
            x += width(station) + GAP
    return places, full


def disentangle(rows, ways):
    """Puts each row into the order of what its stations are joined with, so that few arrows cross."""
    joined = {}
    for way in ways:
        for upper, lower in zip(way, way[1:]):
            joined.setdefault(upper, []).append(lower)
            joined.setdefault(lower, []).append(upper)
    for _ in range(24):
        for row in (*rows, *rows[::-1]):
            places, _ = centres(rows)
            row.sort(key=lambda station: sum(places[other] for other in joined[station]) / len(joined[station]))
    return centres(rows)


def arrow(way, places, top):
    points = [(places[way[0]], top[way[0]] + HEIGHT)]
    for bend in way[1:-1]:
        points += [(places[bend], top[bend]), (places[bend], top[bend] + HEIGHT)]
    points.append((places[way[-1]], top[way[-1]]))
    text = " ".join(f"{x + GAP / 2:.0f},{y}" for x, y in points)
    return f'<polyline points="{text}" fill="none" stroke="#667" stroke-width="1.3"/>'


def box(x, y, wide, high, colour):
    return f'<rect x="{x:.0f}" y="{y}" width="{wide}" height="{high}" rx="4" fill="{colour}" stroke="#445"/>'


def draw():
    rows, ways = rows_and_ways()
    places, full = disentangle(rows, ways)
    top = {station: GAP + ROW * number for number, row in enumerate(rows) for station in row}
    libraries = list(dict.fromkeys(tower for tower, _ in FLOORS.values()))
    colour = dict(zip(libraries, COLOURS))
    end = ROW * len(rows)
    lines = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{full + GAP:.0f}" height="{end + 30}" '
             'font-family="sans-serif" font-size="14" text-anchor="middle">',
             '<rect width="100%" height="100%" fill="white"/>']
    lines += [arrow(way, places, top) for way in ways]
    for folder, (tower, _) in FLOORS.items():
        x, y = places[folder] + GAP / 2, top[folder]
        lines += [box(x - BOX / 2, y, BOX, HEIGHT, colour[tower]), f'<text x="{x:.0f}" y="{y + 22}">{folder}</text>']
    for number, tower in enumerate(libraries):
        x = GAP + number * BOX
        lines += [box(x, end + 4, 14, 14, colour[tower]),
                  f'<text x="{x + 20}" y="{end + 16}" text-anchor="start">{tower}</text>']
    return "\n".join([*lines, "</svg>", ""])


def faults():
    if not PICTURE.exists() or PICTURE.read_text(encoding="utf-8") != draw():
        yield f"{PICTURE.relative_to(ROOT)} is another drawing: run scripts/draw-floors.py"
    told = re.findall(r"^\| `src/(\w+)` \|", PAGE.read_text(encoding="utf-8"), re.MULTILINE)
    for folder in sorted(set(FLOORS) ^ set(told)):
        yield f"{PAGE.relative_to(ROOT)} " + (f"tells of {folder}, which is no floor" if folder in told else
                                              f"does not tell of {folder}")


def main():
    if "--check" not in sys.argv:
        PICTURE.write_text(draw(), encoding="utf-8")
        return 0
    found = list(faults())
    print(*found, sep="\n", file=sys.stderr)
    return 1 if found else 0


sys.exit(main())
