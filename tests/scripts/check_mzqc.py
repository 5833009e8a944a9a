#!/usr/bin/env python3
"""Checks Corvid's mzQC files: each validates against the mzQC schema (formats included), and
every term it names (accession with name, and the column accessions of table values) exists in
the vocabularies given, with exactly that name.

usage: check_mzqc.py SCHEMA VOCABULARY.obo [VOCABULARY.obo ...] -- FILE.mzQC [FILE.mzQC ...]
"""
import json
import re
import sys

import jsonschema

ACCESSION = re.compile(r"^[A-Z]+:[A-Z0-9]+$")


def read_terms(paths):
    names = {}
    for path in paths:
        term_id = None
        with open(path, encoding="utf-8") as obo:
            for line in obo:
                line = line.rstrip("\n")
                if line.startswith("id: "):
                    term_id = line[4:].strip()
                elif line.startswith("name: ") and term_id is not None:
                    names[term_id] = line[6:].strip()
                    term_id = None
    return names


def named_terms(node, found):
    if isinstance(node, dict):
        if "accession" in node and "name" in node:
            found.append((node["accession"], node["name"]))
        value = node.get("value")
        if isinstance(value, dict):
            for key in value:
                if ACCESSION.match(key):
                    found.append((key, None))
        for child in node.values():
            named_terms(child, found)
    elif isinstance(node, list):
        for child in node:
            named_terms(child, found)
    return found


def main(arguments):
    split = arguments.index("--")
    schema_path, vocabularies, files = arguments[0], arguments[1:split], arguments[split + 1:]
    with open(schema_path, encoding="utf-8") as schema_file:
        schema = json.load(schema_file)
    names = read_terms(vocabularies)
    problems = []
    for path in files:
        with open(path, encoding="utf-8") as mzqc_file:
            document = json.load(mzqc_file)
        validator = jsonschema.Draft7Validator(schema, format_checker=jsonschema.FormatChecker())
        problems += [f"{path}: {error.message}" for error in validator.iter_errors(document)]
        for accession, name in named_terms(document, []):
            if accession not in names:
                problems.append(f"{path}: {accession} is in no vocabulary")
            elif name is not None and names[accession] != name:
                problems.append(f"{path}: {accession} is named '{names[accession]}', not '{name}'")
    for problem in problems:
        print(problem)
    print(f"{len(files)} mzQC files checked, {len(problems)} problems")
    return 1 if problems or not files else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
