#!/usr/bin/env bash
# The Snakemake workflow end to end on three mzML files (BSA1 and two cut-down copies) with two
# cores, with the MultiQC report of the three QC reports; then a re-run that does nothing; then one
# changed input that re-runs exactly one job. Exit status 77 (skipped) when snakemake or BSA1 is
# missing.
#   workflow_test.sh <source dir> <corvid executable> <BSA1.mzML>
set -euo pipefail
source_dir=$1 corvid=$2 bsa1=$3
command -v snakemake >/dev/null || { echo "snakemake not installed (Debian package snakemake): skipped"; exit 77; }
command -v multiqc >/dev/null || { echo "multiqc not installed (Debian package multiqc): skipped"; exit 77; }
[ -f "$bsa1" ] || { echo "BSA1.mzML not cached at $bsa1: skipped"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

mkdir -p "$work/data"
cp "$bsa1" "$work/data/BSA1.mzML"
python3 "$source_dir/tests/scripts/cut_mzml.py" "$bsa1" "$work/data/BSA1_early.mzML" 1500 1900
python3 "$source_dir/tests/scripts/cut_mzml.py" "$bsa1" "$work/data/BSA1_late.mzML" 2000 2300
chmod a-w "$work/data"  # inputs on a read-only store: the workflow extracts elsewhere
cat >"$work/config.yaml" <<CONFIG
inputs:
  - "data/*.mzML"
results: "results"
corvid: "$corvid"
settings:
  output_mgf: 1
CONFIG

workflow() {
  snakemake --snakefile "$source_dir/workflow/Snakefile" --configfile "$work/config.yaml" \
    --directory "$work" --cores 2 "$@"
}
# Jobs a dry run plans, as "rule count" lines of its job table.
planned() { workflow --dry-run --quiet 2>&1 | awk '$1 ~ /^(corvid|summary|all)$/ && $2 ~ /^[0-9]+$/ {print $1, $2}'; }

workflow >"$work/first.txt" 2>&1 || { cat "$work/first.txt"; fail "first run"; }
summary="$work/results/summary.tsv"
[ "$(head -1 "$summary")" = "$(printf 'sample\tms2_scans\tprecursors\tmgf_blocks\tseconds')" ] || fail "summary header"
[ "$(wc -l <"$summary")" -eq 4 ] || fail "summary rows: $(cat "$summary")"
for sample in BSA1 BSA1_early BSA1_late; do
  row=$(awk -F'\t' -v s="$sample" '$1 == s' "$summary")
  [ -n "$row" ] || fail "no row for $sample"
  awk -F'\t' '{ exit !($2 > 0 && $3 > 0 && $4 > 0) }' <<<"$row" || fail "empty counts for $sample: $row"
done
[ "$(ls "$work/data")" = "$(printf 'BSA1.mzML\nBSA1_early.mzML\nBSA1_late.mzML')" ] || fail "files written beside the inputs"
[ -f "$work/results/BSA1/corvid/BSA1_scans.csv" ] || fail "no extraction summary with the results"
[ ! -e "$work/results/BSA1/corvid/extract" ] || fail "extracted text left behind"

# The batch report: built from the three mzQC files, listing every sample.
report="$work/results/multiqc_report.html"
[ -s "$report" ] || { cat "$work/results/multiqc.txt" 2>/dev/null; fail "no MultiQC report"; }
for section in corvid_summary corvid_classes corvid_per_scan corvid_coisolated; do
  grep -q "$section" "$report" || fail "MultiQC report without the section $section"
done
for sample in BSA1 BSA1_early BSA1_late; do
  [ -s "$work/results/$sample/corvid/$sample.mzQC" ] || fail "no mzQC file for $sample"
  [ -s "$work/results/$sample/corvid/$sample.qc.html" ] || fail "no QC page for $sample"
  grep -q "\"$sample\"" "$work/results/multiqc_data/multiqc_data.json" || fail "MultiQC data lack $sample"
  grep -q "^$sample"$'\t' "$work/results/multiqc_input/corvid_summary_mqc.tsv" || fail "no summary row for $sample"
done

# The workflow's results equal a direct run's.
mkdir -p "$work/direct"
(cd "$work/direct" && "$corvid" -D "$work/data/BSA1.mzML" -O "$work/direct" --extract_path="$work/direct/x" >/dev/null)
cmp -s "$work/direct/BSA1_CIDIT.mgf" "$work/results/BSA1/corvid/BSA1_CIDIT.mgf" || fail "MGF differs from a direct run"
direct_blocks=$(grep -c "BEGIN IONS" "$work/direct/BSA1_CIDIT.mgf")
awk -F'\t' -v b="$direct_blocks" '$1 == "BSA1" { exit !($4 == b) }' "$summary" || fail "MGF block count"
cat "$summary"

# Nothing changed: nothing to do.
[ -z "$(planned)" ] || fail "a re-run plans jobs: $(planned)"
workflow >"$work/second.txt" 2>&1 || fail "second run"
grep -q "Nothing to be done" "$work/second.txt" || { cat "$work/second.txt"; fail "second run did work"; }

# One input changed: its job and the summary re-run, nothing else.
chmod u+w "$work/data"
before_other=$(stat -c %Y "$work/results/BSA1_late/benchmark.tsv")
sleep 1
python3 "$source_dir/tests/scripts/cut_mzml.py" "$bsa1" "$work/data/BSA1_early.mzML" 1500 1800 >/dev/null
plan=$(planned)
[ "$plan" = "$(printf 'all 1\ncorvid 1\nsummary 1')" ] || fail "plan after one change: $plan"
workflow >"$work/third.txt" 2>&1 || { cat "$work/third.txt"; fail "third run"; }
[ "$(stat -c %Y "$work/results/BSA1_late/benchmark.tsv")" = "$before_other" ] || fail "an unchanged file was re-run"
[ "$report" -nt "$work/results/BSA1_late/benchmark.tsv" ] || fail "MultiQC report not rebuilt after the change"
echo "workflow: 3 jobs and their MultiQC report, no-op re-run, one changed input re-ran one job"
