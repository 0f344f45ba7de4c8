#!/usr/bin/env python3
"""Draws the include graph of the library's folders and fails on an arrow that src/floors.txt does not allow.

Prints one line for each folder with the folders it includes; `--dot` prints the graph for Graphviz, with the arrows
alone that no longer way explains.
"""

import re
import sys

from floors import ROOT, read_floors

# Headers of `include/sorn/` that belong to the facade; all others are the ground.
TOP_HEADERS = {"Sorn.h", "SornCustomEvents.h"}
INCLUDE = re.compile(r'^\s*#include\s+"([^"]+)"', re.MULTILINE)


def read_sight():
    """For each folder, from the ground up, what it sees: itself and everything below it."""
    sees = {}
    for folder, (_, below) in read_floors().items():
        sees[folder] = {folder}.union(*(sees[lower] for lower in below))
    return sees


SEES = read_sight()


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


def main():
    arrows, faults = {}, []
    for path, source in sources():
        if source not in SEES:
            faults.append(f"{path.relative_to(ROOT)}: the folder {source} has no floor")
            continue
        for include in INCLUDE.findall(path.read_text(encoding="utf-8")):
            target = folder_of_include(include)
            if target not in SEES:
                faults.append(f'{path.relative_to(ROOT)}: "{include}" leads out of the library')
                continue
            arrows.setdefault(source, set()).add(target)
            if target not in SEES[source]:
                faults.append(f"{path.relative_to(ROOT)}: {source} may not include {target} ({include})")
    show(arrows)
    for fault in faults:
        print(fault, file=sys.stderr)
    return 1 if faults else 0


def show(arrows):
    if "--dot" not in sys.argv:
        for folder in reversed(SEES):
            print(f"{folder}: {' '.join(sorted(arrows.get(folder, set()) - {folder})) or '-'}")
        return
    print("digraph includes {")
    for source, targets in sorted(arrows.items()):
        direct = targets - {source}
        for target in sorted(direct - set().union(*(SEES[other] - {other} for other in direct))):
            print(f'  "{source}" -> "{target}";')
    print("}")


sys.exit(main())
