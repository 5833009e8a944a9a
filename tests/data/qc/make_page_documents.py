#!/usr/bin/env python3
"""Writes the QC page fixtures: page_document.json, a run like BSA1 with every kind of plot (the
seven plots of Corvid's QC page, 20 000 points in the scatter), and empty_page_document.json, the
same plots without data. Deterministic: run again to get the same files."""
import json
import math
import random
from pathlib import Path

HERE = Path(__file__).resolve().parent
COUNT_AXIS = "Precursors (count)"


def plots(rng, empty):
    charges = ["unknown", "1", "2", "3", "4", "5+"]
    classes = {"kept as recorded": [0, 210, 3120, 1460, 290, 60],
               "m/z refined": [0, 95, 2480, 1310, 240, 45],
               "charge corrected": [1180, 40, 310, 220, 70, 25],
               "co-isolated added": [0, 30, 1650, 980, 260, 90]}
    edges = [round(-10 + 0.5 * i, 2) for i in range(41)]
    ppm = [round(3900 * math.exp(-((e + 0.25 - 1.2) / 2.1) ** 2 / 2)) + rng.randint(0, 12) for e in edges[:-1]]
    heat = [[x, y, n] for x, row in enumerate([[0, 420, 610, 120, 22, 6], [205, 3, 0, 0, 0, 0],
                                                [30, 5860, 140, 18, 2, 0], [8, 96, 3790, 52, 9, 1],
                                                [2, 11, 64, 790, 21, 3], [0, 2, 9, 36, 170, 41]])
            for y, n in enumerate(row) if n]
    rt = list(range(0, 61))
    share = [None if t < 5 or t > 57 else round(min(1, 0.25 + 0.35 * math.sin(t / 9) ** 2 + rng.uniform(-0.05, 0.05)), 3)
             for t in rt]
    pif = [None if s is None else round(max(0, min(1, 0.92 - 0.4 * s + rng.uniform(-0.04, 0.04))), 3) for s in share]
    score_edges = [round(0.025 * i, 3) for i in range(41)]
    scores = [round(1800 * math.exp(-i / 3.5) + 420 * math.exp(-((i - 30) / 5) ** 2) + rng.randint(0, 30))
              for i in range(40)]
    points = []
    while len(points) < 20000:
        t = rng.uniform(6, 57)
        mz = rng.gauss(560 + 9 * t, 120)
        if 350 <= mz <= 1600:
            points.append([round(t, 2), round(mz, 4)])
    return [
        {"id": "correction_classes", "kind": "stacked_bars", "title": "Correction classes per recorded charge",
         "caption": "Each bar is one recorded charge; its parts are how Corvid treated those precursors.",
         "x_title": "Recorded charge", "y_title": COUNT_AXIS,
         "categories": [] if empty else charges,
         "series": [] if empty else [{"name": name, "values": values} for name, values in classes.items()]},
        {"id": "mz_change", "kind": "histogram", "title": "Refined m/z change",
         "caption": "How far Corvid moved each refined precursor m/z; a narrow peak near 0 means a well calibrated run.",
         "x_title": "m/z change (ppm)", "y_title": COUNT_AXIS,
         "bin_edges": [] if empty else edges, "counts": [] if empty else ppm},
        {"id": "charge_heatmap", "kind": "heatmap", "title": "Recorded vs Corvid charge",
         "caption": "Darker cells hold more precursors; cells off the diagonal are charges Corvid changed.",
         "x_title": "Recorded charge", "y_title": "Corvid charge",
         "x_labels": charges, "y_labels": ["1", "2", "3", "4", "5", "6"], "cells": [] if empty else heat},
        {"id": "precursors_per_scan", "kind": "bars", "title": "Precursors per MS2 scan",
         "caption": "How many precursors Corvid exported per MS2 scan; more than one means co-isolation.",
         "x_title": "Precursors in the scan (count)", "y_title": "MS2 scans (count)",
         "categories": [] if empty else ["0", "1", "2", "3", "4", "5", "6+"],
         "values": [] if empty else [112, 5240, 2010, 640, 190, 48, 17]},
        {"id": "co_isolation_over_rt", "kind": "lines", "title": "Co-isolation over retention time",
         "caption": "Per minute: the share of MS2 scans with co-isolated precursors, and the first precursor's PIF.",
         "x_title": "Retention time (min)", "y_title": "Share or PIF (fraction)", "y_max": 1,
         "x": [] if empty else rt,
         "series": [] if empty else [{"name": "Co-isolated share", "values": share},
                                     {"name": "First precursor's PIF", "values": pif}]},
        {"id": "score_histogram", "kind": "histogram", "title": "Precursor scores",
         "caption": "Scores of the candidate precursors; those right of the threshold are exported.",
         "x_title": "Score (probability)", "y_title": "Candidates (count)",
         "bin_edges": [] if empty else score_edges, "counts": [] if empty else scores,
         "marker": {"value": 0.2, "label": "threshold 0.2"}},
        {"id": "precursor_map", "kind": "scatter", "title": "Precursor m/z over retention time",
         "caption": "Each point is one exported precursor.",
         "x_title": "Retention time (min)", "y_title": "Precursor m/z (Th)",
         "points": [] if empty else points,
         "note": "0 precursors" if empty else "20 000 of 65 112 precursors shown"},
    ]


def document(empty):
    rng = random.Random(20261125)
    name = "EMPTY" if empty else "BSA1"
    summary = [("Input file", f"{name}.mzML", "input_file"), ("MS2 scans", "0" if empty else "8 257", "ms2_scans"),
               ("Precursors exported", "0" if empty else "12 415", "precursors"),
               ("Co-isolated share", "-" if empty else "33.1 %", "co_isolated_share"),
               ("Score threshold", "0.2", "threshold"), ("Corvid version", "2.0.8", None)]
    rows = [dict({"label": label, "value": value}, **({"key": key} if key else {})) for label, value, key in summary]
    return {"title": f"Corvid QC: {name}", "summary": rows, "plots": plots(rng, empty)}


def write(name, content):
    (HERE / name).write_text(json.dumps(content, separators=(",", ":")) + "\n", encoding="utf-8")


if __name__ == "__main__":
    write("page_document.json", document(False))
    write("empty_page_document.json", document(True))
