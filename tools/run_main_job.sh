#!/usr/bin/env bash
# Builds Corvid and runs its main job with the default settings on a real Orbitrap run
# (BSA1.mzML from Debian's openms-doc package): precursor detection for every MS2 scan, MGF and
# KX2 spectra with corrected precursors, and the CSV report.
#   tools/run_main_job.sh [output folder]     (default: ./corvid-output)
set -euo pipefail
repo="$(cd "$(dirname "$0")/.." && pwd)"
output="$(mkdir -p "${1:-corvid-output}" && cd "${1:-corvid-output}" && pwd)"
cd "$repo"
bash tools/install_dependencies.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build -j "$(nproc)" --target corvid
input="$(bash tools/fetch_bsa1.sh)"
echo "Running: build/corvid -D $input -O $output/ -L $output/"
status=0
./build/corvid -D "$input" -O "$output/" -L "$output/" || status=$?
echo
echo "Exit status: $status"
echo "Outputs in $output:"
ls -l "$output" | sed 1d
if [ -f "$output/BSA1.csv" ]; then
  echo "CSV report: $output/BSA1.csv ($(($(wc -l < "$output/BSA1.csv") - 1)) MS2 scans)"
fi
for mgf in "$output"/*.mgf; do
  [ -s "$mgf" ] && echo "MGF: $mgf ($(grep -c '^BEGIN IONS' "$mgf") spectra)"
done
echo "Log: $output/CorvidPlusLog.txt"
grep -a "Exported " "$output/CorvidPlusLog.txt" | tail -n 1 | sed 's/^/Last run: /' || true
exit "$status"
