#!/usr/bin/env python3
"""Puts the faults of scripts/mutations.txt into the sources, one at a time, and shows which the tests notice.

scripts/mutate.py [--build | --run] [--only TEXT] [--out FILE]

All of them are compiled into one build of a copy, build/mutations, each behind a switch that the environment turns
on. --build only makes that build, --run goes on with it; --only tries those whose names hold the text.
"""

import argparse
import collections
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import time
import zlib

ROOT = pathlib.Path(__file__).resolve().parent.parent
COPY = ROOT / "build" / "mutations"
RESULTS = COPY / "build" / "dev" / "results.xml"
SWITCH = "SORN_MUTATION"
LONG = 2.0  # seconds; longer tests run when no other has noticed
LIMIT = 900  # seconds for the tests of one fault; what takes longer hangs, which nobody overlooks

# Stands before every source that has a fault; its lines keep their numbers, and the other sources come from the
# compiler's cache.
PRELUDE = f"""#ifndef {SWITCH}
#define {SWITCH}
#include <cstdlib>
inline bool sornMutation(long id) {{
  static const long chosen = std::getenv("{SWITCH}") ? std::atol(std::getenv("{SWITCH}")) : 0;
  return id == chosen;
}}
#endif
#line 1
"""


class Mutation:
    def __init__(self, number, entry):
        self.number = number
        heading, _, body = entry.partition("\n")
        self.name, _, self.gap = heading[1:].partition("]")
        self.id = zlib.crc32(self.name.encode())  # stays when others come and go, so that nothing is built anew
        self.original, self.replacement = re.split(r"\n=>[ ]?", body, maxsplit=1)
        # However the text is broken into lines.
        self.pattern = re.compile(r"\s+".join(re.escape(word) for word in self.original.split()))

    def switched(self):
        if self.original.endswith(";"):
            return f"if (::sornMutation({self.id})) {{ {self.replacement} }} else {{ {self.original} }}"
        return f"(::sornMutation({self.id}) ? {self.replacement} : {self.original})"


def read_mutations():
    text = (ROOT / "scripts" / "mutations.txt").read_text(encoding="utf-8")
    entries = [entry.strip() for entry in text.split("\n\n") if not entry.startswith("#")]
    return [Mutation(number, entry) for number, entry in enumerate(entries, 1)]


def is_mutable(path):
    return re.match(r"(src|tools(?!/sorn-emulator))/.*\.(cpp|h)$", path)


def put_in(mutations, sources):
    """Changes the texts of the sources; gives what could not be put in, with the reason."""
    misplaced, changed = {}, set()
    for mutation in mutations:
        found = [(path, match) for path, text in sources.items() for match in mutation.pattern.finditer(text)]
        if len(found) != 1:
            misplaced[mutation] = f"stands {len(found)} times in the sources"
            continue
        path, match = found[0]
        sources[path] = sources[path][:match.start()] + mutation.switched() + sources[path][match.end():]
        changed.add(path)
    for path in changed:
        sources[path] = PRELUDE + sources[path]
    return misplaced


def copied(mutations):
    """What the copy consists of, by path, and what could not be put in."""
    listed = subprocess.run(["git", "ls-files", "-z"], cwd=ROOT, capture_output=True, check=True).stdout
    contents = {path: (ROOT / path).read_bytes() for path in listed.decode().split("\0") if (ROOT / path).is_file()}
    sources = {path: content.decode() for path, content in contents.items() if is_mutable(path)}
    misplaced = put_in(mutations, sources)
    contents.update({path: text.encode() for path, text in sources.items()})
    return contents, misplaced


def outdated(contents):
    """The files of the copy that are missing or not as they should be."""
    return [path for path, content in contents.items()
            if not (COPY / path).is_file() or (COPY / path).read_bytes() != content]


def build(contents):
    for path in outdated(contents):
        target = COPY / path
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_bytes(contents[path])
        shutil.copymode(ROOT / path, target)
    wanted = {COPY / path for path in contents}
    for file in [file for file in COPY.rglob("*") if COPY / "build" not in file.parents]:
        if file.is_file() and file not in wanted:
            file.unlink()
    subprocess.run(["cmake", "--preset", "dev"], cwd=COPY, stdout=subprocess.DEVNULL, check=True)
    subprocess.run(["cmake", "--build", "--preset", "dev", "--", "--quiet"], cwd=COPY, check=True)


def run_tests(mutation_id, *selection):
    """The names of the tests that failed; None when they did not come to an end."""
    command = ["ctest", "--preset", "dev", "-j2", "--label-exclude", "soak", "--output-junit", str(RESULTS), *selection]
    # By their costs the longest would come first.
    (COPY / "build" / "dev" / "Testing" / "Temporary" / "CTestCostData.txt").unlink(missing_ok=True)
    tests = subprocess.Popen(command, cwd=COPY, env={**os.environ, SWITCH: str(mutation_id)}, text=True,
                             errors="replace", stdout=subprocess.PIPE, stderr=subprocess.STDOUT, start_new_session=True)
    try:
        output, _ = tests.communicate(timeout=LIMIT)
    except subprocess.TimeoutExpired:
        os.killpg(tests.pid, signal.SIGKILL)
        tests.communicate()
        return None
    failed = re.findall(r"Test +#\d+: (.+?) \.*.*\*\*\*", output)
    if tests.returncode != 0 and not failed:
        sys.exit(output)
    return failed


def exactly(names):
    return "^(" + "|".join(re.escape(name) for name in names) + ")$"


def noticed_by(mutation, long):
    """The test that notices the fault, twice; None when there is none."""
    unsteady = []
    for selection in (lambda: ["-E", exactly(long + unsteady)],
                      lambda: ["-R", exactly(long), "-E", exactly(unsteady)]):
        while failed := run_tests(mutation.id, "--stop-on-failure", *selection()):
            if run_tests(mutation.id, "-R", exactly(failed[:1])) != []:
                return failed[0]
            unsteady.append(failed[0])
        if failed is None:
            return "a test that does not end"
    return None


def outcome_of(mutation, misplaced, long):
    """What kind of outcome, and what the table says of it."""
    if mutation in misplaced:
        return "misplaced", misplaced[mutation]
    if test := noticed_by(mutation, long):
        return "noticed", test
    return ("known gap", "nobody," + mutation.gap) if mutation.gap else ("not noticed", "NOBODY")


def try_all(mutations, misplaced, out):
    if (failed := run_tests(0)) != []:
        sys.exit(f"Without a fault the tests fail: {failed}")
    cases = re.findall(r'<testcase name="([^"]+)"[^>]* time="([^"]+)"', RESULTS.read_text(encoding="utf-8"))
    long = [name for name, seconds in cases if float(seconds) > LONG]
    counts = collections.Counter()
    print("  # | fault | noticed by | seconds", file=out)
    for mutation in mutations:
        begin = time.monotonic()
        kind, told = outcome_of(mutation, misplaced, long)
        counts[kind] += 1
        print(f"{mutation.number:3} | {mutation.name} | {told} | {time.monotonic() - begin:.0f}", file=out, flush=True)
    print(", ".join(f"{count} {kind}" for kind, count in sorted(counts.items())), file=out)
    return 1 if counts["not noticed"] or counts["misplaced"] else 0


def main():
    parser = argparse.ArgumentParser(usage=__doc__.splitlines()[2])
    parser.add_argument("--build", action="store_true")
    parser.add_argument("--run", action="store_true")
    parser.add_argument("--only", default="")
    parser.add_argument("--out", type=argparse.FileType("w"), default=sys.stdout)
    options = parser.parse_args()
    mutations = read_mutations()
    contents, misplaced = copied(mutations)
    if not options.run:
        build(contents)
    elif outdated(contents):
        sys.exit("The copy is not as it should be: --build first.")
    if options.build:
        for mutation, reason in misplaced.items():
            print(f"{mutation.number:3} | {mutation.name} | {reason}")
        return 1 if misplaced else 0
    return try_all([each for each in mutations if options.only in each.name], misplaced, options.out)


if __name__ == "__main__":
    sys.exit(main())
