#!/usr/bin/env python3
"""Draws the include graph of the library's folders and fails on an arrow up or a circle.

Prints one line for each folder with the folders it includes; `--dot` prints the graph for Graphviz.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
# From the top down. A folder includes itself and what stands after it.
FLOORS = ["facade", "places", "inbox", "push", "campaigns", "events", "sync", "server", "device", "store", "layout",
          "documents", "support", "ground"]
# Adapters stand beside the tower: they include the support and the ports, and layout where they draw; only the
# composition includes them.
ADAPTERS = {"linux": {"support", "ground"}, "desktop": {"support", "ground"}, "draw": {"layout", "documents", "support", "ground"},
            "gtk": {"layout", "documents", "support", "ground", "draw"}, "webkit": {"support", "ground"}}
# Headers of `include/sorn/` that belong to the facade; all others are the ground.
TOP_HEADERS = {"Sorn.h", "SornCustomEvents.h"}
INCLUDE = re.compile(r'^\s*#include\s+"([^"]+)"', re.MULTILINE)


def folder_of_include(path):
    if path.startswith("sorn/"):
        return "facade" if path.removeprefix("sorn/") in TOP_HEADERS else "ground"
    return path.split("/")[0] if "/" in path else None


def sources():
    for top in ("src", "include"):
        for path in sorted((ROOT / top).rglob("*")):
            if path.suffix not in (".h", ".cpp"):
                continue
            relative = path.relative_to(ROOT / top).as_posix()
            yield path, folder_of_include(relative)


def is_allowed(source, target):
    if source == target:
        return True
    if source in ADAPTERS:
        return target in ADAPTERS[source]
    if target in ADAPTERS:
        return source == "facade"
    return FLOORS.index(source) < FLOORS.index(target)


def main():
    arrows, faults = {}, []
    for path, source in sources():
        if source not in ADAPTERS and source not in FLOORS:
            faults.append(f"{path.relative_to(ROOT)}: the folder {source} has no floor")
            continue
        for include in INCLUDE.findall(path.read_text(encoding="utf-8")):
            target = folder_of_include(include)
            if target is None or (target not in FLOORS and target not in ADAPTERS):
                faults.append(f'{path.relative_to(ROOT)}: "{include}" leads out of the library')
                continue
            arrows.setdefault(source, set()).add(target)
            if not is_allowed(source, target):
                faults.append(f"{path.relative_to(ROOT)}: {source} may not include {target} ({include})")
    faults += circles(arrows)
    show(arrows)
    for fault in faults:
        print(fault, file=sys.stderr)
    return 1 if faults else 0


def circles(arrows):
    found, done = [], set()

    def visit(folder, trail):
        if folder in trail:
            found.append("circle: " + " > ".join(trail[trail.index(folder):] + [folder]))
            return
        if folder in done:
            return
        for target in sorted(arrows.get(folder, ()) - {folder}):
            visit(target, trail + [folder])
        done.add(folder)

    for folder in sorted(arrows):
        visit(folder, [])
    return found


def show(arrows):
    if "--dot" in sys.argv:
        print("digraph includes {")
        for source, targets in sorted(arrows.items()):
            for target in sorted(targets - {source}):
                print(f'  "{source}" -> "{target}";')
        print("}")
        return
    for source in FLOORS + sorted(ADAPTERS):
        if source in arrows:
            print(f"{source}: {' '.join(sorted(arrows[source] - {source})) or '-'}")


sys.exit(main())
