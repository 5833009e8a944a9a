"""MultiQC's custom-content files from the samples' mzQC files, one row per sample.

Every figure is read from the mzQC file Corvid wrote for the sample (nothing is recomputed):
  corvid_summary_mqc.tsv      a table of the summary figures
  corvid_classes_mqc.tsv      bar graph: how the first precursor of each MS2 scan was corrected
  corvid_per_scan_mqc.tsv     bar graph: MS2 scans by the number of precursors exported
  corvid_coisolated_mqc.tsv   bar graph: the share of MS2 scans with two or more precursors
"""
import json
import os
import sys

CLASSES = "CORVID:0000001"
CLASS_NAMES = "CORVID:0000011"
SCAN_COUNTS = "CORVID:0000012"
PER_SCAN = "CORVID:0000003"
PRECURSOR_COUNTS = "CORVID:0000013"
SUMMARY_COLUMNS = [  # (accession, column title, format)
    ("MS:4000059", "MS1 spectra", "{:d}"),
    ("MS:4000060", "MS2 spectra", "{:d}"),
    ("CORVID:0000007", "MS2 scans processed", "{:d}"),
    ("CORVID:0000005", "Precursors exported", "{:d}"),
    ("CORVID:0000006", "Precursors per MS2 scan", "{:.3f}"),
    ("CORVID:0000008", "Co-isolated MS2 scans", "{:d}"),
    ("CORVID:0000002", "Co-isolated share", "{:.4f}"),
    ("MS:4000173", "Mean precursor charge", "{:.3f}"),
]


def metrics_of(path):
    """The label and accession -> value of one mzQC file's first run."""
    with open(path, encoding="utf-8") as mzqc:
        run = json.load(mzqc)["mzQC"]["runQualities"][0]
    return run["metadata"]["label"], {metric["accession"]: metric.get("value") for metric in run["qualityMetrics"]}


def header(section_id, name, description, plot_type, ylab=None):
    lines = [f"# id: '{section_id}'", f"# section_name: '{name}'", f"# description: '{description}'",
             f"# plot_type: '{plot_type}'"]
    if ylab is not None:
        lines += ["# pconfig:", f"#     id: '{section_id}_plot'", f"#     title: 'Corvid: {name}'", f"#     ylab: '{ylab}'"]
    return lines


def summary_table(samples):
    lines = header("corvid_summary", "Corvid summary", "Figures of each file from its mzQC file.", "table")
    lines.append("Sample\t" + "\t".join(title for _, title, _ in SUMMARY_COLUMNS))
    for label, metrics in samples:
        cells = [form.format(metrics[accession]) if metrics.get(accession) is not None else ""
                 for accession, _, form in SUMMARY_COLUMNS]
        lines.append(label + "\t" + "\t".join(cells))
    return lines


def table_bars(samples, accession, key_column, section_id, name, description, ylab, title=str):
    keys = []
    for _, metrics in samples:
        for key in (metrics.get(accession) or {}).get(key_column, []):
            if title(key) not in keys:
                keys.append(title(key))
    lines = header(section_id, name, description, "bargraph", ylab)
    lines.append("Sample\t" + "\t".join(keys))
    for label, metrics in samples:
        value = metrics.get(accession) or {}
        counts = dict(zip((title(key) for key in value.get(key_column, [])), value.get(SCAN_COUNTS, [])))
        lines.append(label + "\t" + "\t".join(str(counts.get(key, 0)) for key in keys))
    return lines


def coisolated_bars(samples):
    lines = header("corvid_coisolated", "Co-isolated share",
                   "Share of MS2 scans for which Corvid exported two or more precursors (percent).", "bargraph",
                   "MS2 scans (%)")
    lines.append("Sample\tCo-isolated (%)")
    for label, metrics in samples:
        lines.append(f"{label}\t{100.0 * (metrics.get('CORVID:0000002') or 0.0):.2f}")
    return lines


def write_all(mzqc_paths, folder):
    samples = [metrics_of(path) for path in mzqc_paths]
    os.makedirs(folder, exist_ok=True)
    files = {
        "corvid_summary_mqc.tsv": summary_table(samples),
        "corvid_classes_mqc.tsv": table_bars(
            samples, CLASSES, CLASS_NAMES, "corvid_classes", "First precursor correction",
            "How the first precursor Corvid exported for each MS2 scan relates to the recorded one.", "MS2 scans"),
        "corvid_per_scan_mqc.tsv": table_bars(
            samples, PER_SCAN, PRECURSOR_COUNTS, "corvid_per_scan", "Precursors per MS2 scan",
            "MS2 scans by the number of precursors Corvid exported for them.", "MS2 scans",
            title=lambda count: f"{count} precursor" + ("" if count == 1 else "s")),
        "corvid_coisolated_mqc.tsv": coisolated_bars(samples),
    }
    for name, lines in files.items():
        with open(os.path.join(folder, name), "w", encoding="utf-8") as out:
            out.write("\n".join(lines) + "\n")


if __name__ == "__main__" and "snakemake" not in globals():
    if len(sys.argv) < 3:
        sys.exit("usage: mzqc_to_multiqc.py OUTPUT_FOLDER FILE.mzQC [FILE.mzQC ...]")
    write_all(sys.argv[2:], sys.argv[1])
else:
    job = snakemake  # noqa: F821 (provided by Snakemake)
    write_all([os.path.join(folder, sample + ".mzQC") for folder, sample in zip(job.input, job.params.samples)],
              job.output[0])
