#!/usr/bin/env python3
"""Types what the README says under "Use it" into a shell whose home is a scratch folder, and looks for the event.

usage: typeReadme.py cmake|compiler SOURCES BUILD

The README names two ways of building the host; this takes one of them. Everything is typed as it stands but for three
things: BUILD, which holds what was built already, takes the place of the release build; the port is a free one; and
the files that the README shows are written where a newcomer would write them.
"""

import json
import os
import pathlib
import re
import socket
import subprocess
import sys
import tempfile

BUILDING = "cmake --preset release && cmake --build --preset release\n"
PORT = "18080"
OTHER_WAY = {"cmake": "g++ ", "compiler": "cmake -B "}
FILES = {"cpp": "main.cpp", "cmake": "CMakeLists.txt"}


def blocks(readme):
    section = re.search(r"^## Use it$(.*?)^## ", readme, re.MULTILINE | re.DOTALL).group(1)
    return re.findall(r"^```(\w+)\n(.*?)^```$", section, re.MULTILINE | re.DOTALL)


def free_port():
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return str(listener.getsockname()[1])


def session(readme, way, build):
    """What is typed, as one script."""
    script = "set -e; trap 'kill $(jobs -p) || true' EXIT\n"
    for language, text in blocks(readme):
        if language in FILES:
            script += f"cat >{FILES[language]} <<'END OF FILE'\n{text}END OF FILE\n"
        elif OTHER_WAY[way] not in text:
            script += text
    for typed, instead in ((BUILDING, ""), ("build/release", f"'{build}'"), (PORT, free_port())):
        assert typed in script, f"the README does not say {typed}"
        script = script.replace(typed, instead)
    return script


def type_into_shell(script, sources, home):
    """What the shell printed, once the emulator in its background has ended too."""
    environment = {"HOME": home, "PATH": os.environ["PATH"], "LANG": "C.UTF-8"}
    shell = subprocess.run(["bash", "-c", script], cwd=sources, env=environment, text=True, stdout=subprocess.PIPE)
    print(shell.stdout)
    assert shell.returncode == 0, f"the shell ended with {shell.returncode}"
    return shell.stdout


def main():
    way, sources, build = sys.argv[1], pathlib.Path(sys.argv[2]), sys.argv[3]
    readme = (sources / "README.md").read_text(encoding="utf-8")
    example = (sources / "examples/minimal-host/main.cpp").read_text(encoding="utf-8")
    assert dict(blocks(readme))["cpp"] == example, "the README shows another host than examples/minimal-host"
    with tempfile.TemporaryDirectory() as home:
        printed = type_into_shell(session(readme, way, build), sources, home)
    events = [(event["category"], event["action"]) for event in json.loads(printed.splitlines()[-1])]
    assert events.count(("coffee", "cup poured")) == 1, f"the service has {events}"


main()
