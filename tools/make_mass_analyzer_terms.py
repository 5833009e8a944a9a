#!/usr/bin/env python3
"""Prints the mass-analyzer subtree of the PSI-MS vocabulary as the C++ table rows of
spectra/mass_analyzer_terms.cpp: every term below "mass analyzer type" (MS:1000443) by is_a, with
its name and its is_a parents, obsolete terms left out.

    python3 tools/make_mass_analyzer_terms.py tests/data/qc/psi-ms.obo

Paste the output between the table's braces when the vocabulary gains analyzer terms."""
import sys

ROOT = "MS:1000443"


def read_terms(path):
    terms, term = {}, None
    with open(path, encoding="utf-8") as obo:
        for line in obo:
            line = line.rstrip("\n")
            if line.startswith("["):
                term = {"is_a": [], "obsolete": False} if line == "[Term]" else None
            elif term is not None and line.startswith("id: "):
                terms[line[4:]] = term
            elif term is not None and line.startswith("name: "):
                term["name"] = line[6:]
            elif term is not None and line.startswith("is_a: "):
                term["is_a"].append(line[6:].split(" ")[0])
            elif term is not None and line == "is_obsolete: true":
                term["obsolete"] = True
    return terms


def below_root(terms, accession):
    pending, seen = [accession], set()
    while pending:
        for parent in terms.get(pending.pop(), {}).get("is_a", []):
            if parent == ROOT:
                return True
            if parent not in seen:
                seen.add(parent)
                pending.append(parent)
    return False


def main():
    terms = read_terms(sys.argv[1])
    for accession in sorted(terms):
        term = terms[accession]
        if term["obsolete"] or not below_root(terms, accession):
            continue
        for parent in term["is_a"]:
            print(f'    {{"{accession}", "{term["name"]}", "{parent}"}},')


if __name__ == "__main__":
    main()
