#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
#
# check_schema_is_sharp.py SCHEMA FILE: adds an unknown key to each object of FILE and takes each
# key out of it, one at a time. Prints what SCHEMA does not notice, a line each, and exits with 1
# then.
import json
import sys

import jsonschema


def objects(value, path):
    """Every object in value, the first element of each list alone, with its path."""
    if isinstance(value, dict):
        yield value, path
        for key in list(value):
            yield from objects(value[key], path + [key])
    elif isinstance(value, list) and value:
        yield from objects(value[0], path + ["0"])


with open(sys.argv[1], encoding="utf-8") as source:
    validator = jsonschema.Draft7Validator(json.load(source))
with open(sys.argv[2], encoding="utf-8") as source:
    document = json.load(source)
unnoticed = []
for part, path in list(objects(document, [])):
    for key in list(part):
        value = part.pop(key)
        if validator.is_valid(document):
            unnoticed.append("/".join(path + [key]) + " may be missing")
        part[key] = value
    part["no such key"] = 0
    if validator.is_valid(document):
        unnoticed.append("/".join(path) + " may hold an unknown key")
    del part["no such key"]
print("\n".join(unnoticed))
sys.exit(1 if unnoticed else 0)
