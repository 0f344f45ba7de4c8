"""Reads src/floors.txt, for the check of the includes and for the drawing."""

import pathlib

ROOT = pathlib.Path(__file__).resolve().parent.parent


def read_floors():
    """For each folder, from the ground up, its library and the folders that it names."""
    floors = {}
    for line in (ROOT / "src/floors.txt").read_text(encoding="utf-8").splitlines():
        if line and not line.startswith("#"):
            name, below = line.split(":")
            tower, folder = name.split()
            floors[folder] = (tower, below.split())
    return floors
