#!/usr/bin/python3
"""The schema that `sorn-campaign schema` prints takes what the decoder takes and refuses what it refuses.

Usage: schema_test.py SORN_CAMPAIGN SAMPLES. Checked are the samples, and the one with every key with each key left
out and with each value replaced; the decoder's word is what `sorn-campaign validate` finds in them.
"""

import copy
import json
import pathlib
import subprocess
import sys
import tempfile

import jsonschema

SUBSTITUTES = [None, True, 0, -1.5, 2**63, 10**400, "", "all", "once", [], [1, 2.5, 3, 4], ["underline"], [None], {},
               {"a": "b"}, {"a": 1}, {"url": "u", "unknown": 1}]


def changed(document, value):
    """Every document with one value of this part replaced or one key left out; the part is put back after each."""
    steps = value.items() if isinstance(value, dict) else enumerate(value) if isinstance(value, list) else []
    for step, kept in list(steps):
        for substitute in SUBSTITUTES:
            value[step] = copy.deepcopy(substitute)
            yield document
        if isinstance(value, dict):
            del value[step]
            yield document
        value[step] = kept
        yield from changed(document, kept)


def main(program, samples):
    schema = json.loads(subprocess.run([program, "schema"], check=True, capture_output=True).stdout)
    jsonschema.Draft202012Validator.check_schema(schema)
    assert schema["$schema"] == "https://json-schema.org/draft/2020-12/schema" and len(schema["$defs"]) == 16
    validator = jsonschema.Draft202012Validator(schema)
    for sample in pathlib.Path(samples).glob("*.json"):
        validator.validate(json.loads(sample.read_text()))

    document = json.loads(pathlib.Path(samples, "every-key.json").read_text())
    with tempfile.TemporaryDirectory() as folder:
        taken = {}
        for number, each in enumerate(changed(document, document)):
            pathlib.Path(folder, str(number)).write_text(json.dumps(each))
            taken[str(number)] = validator.is_valid(each)
        run = subprocess.run([program, "validate", *taken], cwd=folder, capture_output=True, text=True)
    # A short padding is decoded, and then refused by the tool.
    faults = {line.split(":")[0]: line for line in run.stdout.splitlines()
              if ": never selected" not in line and ": expected four numbers" not in line}
    for name, is_taken in taken.items():
        assert is_taken == (name not in faults), f"document {name}: taken {is_taken}, {faults.get(name)}"
    refused = len(faults)
    print(f"{len(taken)} documents, {refused} of them refused")
    assert run.returncode == 1 and refused > 1000 and len(taken) - refused > 200


main(*sys.argv[1:])
