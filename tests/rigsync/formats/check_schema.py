#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
#
# check_schema.py SCHEMA FILE: says where FILE departs from SCHEMA, a line each, and exits with 1
# when it does.
import json
import sys

import jsonschema

with open(sys.argv[1], encoding="utf-8") as source:
    schema = json.load(source)
with open(sys.argv[2], encoding="utf-8") as source:
    document = json.load(source)
jsonschema.Draft7Validator.check_schema(schema)
departures = list(jsonschema.Draft7Validator(schema).iter_errors(document))
for departure in departures:
    print("/".join(str(step) for step in departure.absolute_path) + ": " + departure.message)
sys.exit(1 if departures else 0)
