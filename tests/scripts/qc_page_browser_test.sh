#!/usr/bin/env bash
# The QC page in a real browser (headless Chromium, every host name unresolvable so nothing can
# come from the network): every plot of the fixture document is drawn on a canvas that is not
# blank, no error is caught and the console stays silent; the page without data draws nothing,
# shows "No data" on every card and stays silent too. Leaves qc_page.html and the screenshot
# qc_page.png in the artefact folder and prints the page's size and load time.
# Exit status 77 (skipped) when Chromium is missing or cannot start here.
#   qc_page_browser_test.sh <corvid_qc_page_render> <folder holding qc/> <fixture folder> <artefact folder>
set -euo pipefail
render=$1 library_folder=$2 fixtures=$3 artefacts=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }
source "$(dirname "$0")/chromium_support.sh"

plot_count() { python3 -c 'import json, sys; print(len(json.load(open(sys.argv[1]))["plots"]))' "$1"; }

mkdir -p "$artefacts"
page="$artefacts/qc_page.html"
"$render" "$fixtures/page_document.json" "$page" "$library_folder" || fail "rendering the fixture document"
plots=$(plot_count "$fixtures/page_document.json")
[ "$plots" -gt 0 ] || fail "the fixture document has no plots"
open_page "$page"
[ "$(body_value plots-drawn)" = "$plots" ] || fail "plots drawn: '$(body_value plots-drawn)', expected $plots"
[ "$(body_value blank-canvases)" = "0" ] || fail "blank canvases: '$(body_value blank-canvases)'"
load_ms=$(body_value load-ms)
[ -n "$load_ms" ] || fail "the page did not record its load time"

screenshot="$artefacts/qc_page.png"
take_screenshot "$page" "$screenshot" 4200

empty_page="$work/empty.html"
"$render" "$fixtures/empty_page_document.json" "$empty_page" "$library_folder" || fail "rendering the empty document"
open_page "$empty_page"
[ "$(body_value plots-drawn)" = "0" ] || fail "plots drawn without data: '$(body_value plots-drawn)'"
notes=$(grep -o 'class="no-data"' "$work/dom.html" | wc -l)
[ "$notes" -eq "$(plot_count "$fixtures/empty_page_document.json")" ] || fail "'No data' notes: $notes"

echo "QC page: $plots plots drawn, no error, no blank canvas, silent console"
echo "page size: $(wc -c <"$page") bytes ($page)"
echo "load time: $load_ms ms (performance.now() when the drawing script ends)"
echo "screenshot: $screenshot"
