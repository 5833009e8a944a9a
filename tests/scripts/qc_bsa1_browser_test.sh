#!/usr/bin/env bash
# BSA1's QC page in a real browser: Corvid runs on BSA1 with output_qc = 1, headless Chromium opens
# the page from disk with every host name unresolvable, every plot is drawn on a canvas that is not
# blank, no error is caught, the console stays silent, and the summary figures the browser shows
# equal those counted from the CSV report and the MGF file. Leaves BSA1.qc.html and the screenshot
# BSA1.qc.png in the artefact folder and prints the page's size and load time.
# Exit status 77 (skipped) when BSA1 is not cached or Chromium is missing or cannot start.
#   qc_bsa1_browser_test.sh <corvid> <BSA1.mzML> <artefact folder>
set -euo pipefail
corvid=$1 bsa1=$2 artefacts=$3
[ -s "$bsa1" ] || { echo "BSA1.mzML not cached at $bsa1 (bash tools/fetch_bsa1.sh): skipped"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }
source "$(dirname "$0")/chromium_support.sh"

mkdir -p "$work/run" "$artefacts"
cp "$bsa1" "$work/run/BSA1.mzML"
(cd "$work/run" && "$corvid" -D BSA1.mzML --output_qc=1 --strict_exit=1 >"$work/console.txt" 2>&1) ||
  fail "corvid: $(tail -5 "$work/console.txt")"
page="$artefacts/BSA1.qc.html"
cp "$work/run/BSA1.qc.html" "$page"

open_page "$page"
plots=$(grep -o 'data-plot="[^"]*"' "$work/dom.html" | wc -l)
[ "$plots" -eq 7 ] || fail "plot cards: $plots, expected 7"
[ "$(body_value plots-drawn)" = "$plots" ] || fail "plots drawn: '$(body_value plots-drawn)', expected $plots"
[ "$(body_value blank-canvases)" = "0" ] || fail "blank canvases: '$(body_value blank-canvases)'"

# The summary as the browser shows it, against the CSV report (one row per MS2 scan, its precursor
# count in the sixth field) and the MGF (one block per exported precursor).
python3 - "$work/dom.html" "$work/run/BSA1.csv" "$work/run" <<'PY' || fail "summary figures differ from the CSV report"
import glob, re, sys
dom, csv_path, run = sys.argv[1:4]
shown = dict(re.findall(r'<td data-key="([a-z_0-9]+)">([^<]*)<', open(dom, encoding="utf-8").read()))
rows = [line.split(",") for line in open(csv_path, encoding="utf-8").read().splitlines()[1:]
        if line and not line.startswith("ActivationType,")]
scans = len(rows)
counts = [int(row[5]) for row in rows]
blocks = sum(open(path, encoding="utf-8").read().count("BEGIN IONS") for path in glob.glob(run + "/BSA1_*.mgf"))
co_isolated = sum(1 for n in counts if n >= 2)
expected = {
    "ms2_scans": str(scans),
    "precursors_exported": str(sum(counts)),
    "precursors_per_scan": f"{sum(counts) / scans:.3f}",
    "co_isolated_share": f"{100.0 * co_isolated / scans:.1f}% ({co_isolated} of {scans} MS2 scans)",
}
bad = {key: (shown.get(key), value) for key, value in expected.items() if shown.get(key) != value}
if sum(counts) != blocks:
    bad["mgf_blocks"] = (blocks, sum(counts))
for key, (page, counted) in bad.items():
    print(f"{key}: page shows {page!r}, counted {counted!r}", file=sys.stderr)
print("summary figures equal the CSV report's:", ", ".join(f"{k} {v}" for k, v in expected.items()))
sys.exit(1 if bad else 0)
PY

take_screenshot "$page" "$artefacts/BSA1.qc.png" 4400
echo "BSA1 QC page: $plots plots drawn, no error, no blank canvas, silent console"
echo "page size: $(wc -c <"$page") bytes ($page)"
echo "load time: $(body_value load-ms) ms; screenshot: $artefacts/BSA1.qc.png"
