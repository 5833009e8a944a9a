"""Per-file counts of a workflow run, one row per input file, tab-separated.

Columns: sample, ms2_scans (rows of Corvid's CSV report, one per MS2 scan), precursors (the
precursors exported, summed over the report), mgf_blocks (spectra in the MGF files), seconds
(the job's wall time as Snakemake measured it).
"""
import csv
import glob
import os
import sys


def report_counts(path):
    scans = precursors = 0
    with open(path, newline="") as report:
        rows = csv.reader(report, skipinitialspace=True)
        header = next(rows, None)
        if header is None:
            return 0, 0
        column = header.index("TotleNumOfPrecursor")
        for row in rows:
            if len(row) > column:
                scans += 1
                precursors += int(row[column])
    return scans, precursors


def mgf_blocks(folder):
    count = 0
    for path in glob.glob(os.path.join(folder, "*.mgf")):
        with open(path, "rb") as mgf:
            count += sum(1 for line in mgf if line.startswith(b"BEGIN IONS"))
    return count


def seconds(path):
    with open(path, newline="") as table:
        return float(next(csv.DictReader(table, delimiter="\t"))["s"])


def collect(results, samples):
    lines = ["sample\tms2_scans\tprecursors\tmgf_blocks\tseconds"]
    for sample in samples:
        folder = os.path.join(results, sample, "corvid")
        scans, precursors = report_counts(os.path.join(folder, sample + ".csv"))
        elapsed = seconds(os.path.join(results, sample, "benchmark.tsv"))
        lines.append(f"{sample}\t{scans}\t{precursors}\t{mgf_blocks(folder)}\t{elapsed:.3f}")
    return "\n".join(lines) + "\n"


if __name__ == "__main__" and "snakemake" not in globals():
    sys.exit("run through the workflow: snakemake --snakefile workflow/Snakefile ...")

job = snakemake  # noqa: F821 (provided by Snakemake)
with open(job.output[0], "w") as table:
    table.write(collect(job.params.results, job.params.samples))
