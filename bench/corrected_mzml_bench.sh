#!/usr/bin/env bash
# Time and peak memory of writing the corrected mzML (output_mzml), for BSA1 and a generated 1 GB
# mzML, next to OpenMS's HighResPrecursorMassCorrector writing its mzML of the same file.
# The cost of the mzML is the difference between a run with and without output_mzml (the
# extraction is reused, so both runs do the same detection work).
#   bench/corrected_mzml_bench.sh [build dir] [size in bytes of the generated file]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
size=${2:-1000000000}
corvid=$(realpath "$build/corvid")
bsa1=${CORVID_BSA1:-$HOME/.cache/corvid/pkg/usr/share/doc/openms/examples/BSA/BSA1.mzML}
work=${CORVID_BENCH_DIR:-$(mktemp -d)}
mkdir -p "$work"
trap '[ -z "${CORVID_BENCH_DIR:-}" ] && rm -rf "$work"' EXIT

# "<seconds> <peak MiB>" of a command.
measure() {
  /usr/bin/time -f "%e %M" -o "$work/time.txt" "$@" >/dev/null 2>&1 || true
  tail -1 "$work/time.txt" | awk '{printf "%.2f %.0f", $1, $2 / 1024}'
}
best_of() {  # <runs> <command...>: the fastest run
  local runs=$1
  shift
  for _ in $(seq "$runs"); do measure "$@"; echo; done | sort -n | head -1
}

bench_file() {  # <label> <mzML>
  local label=$1 input=$2 out="$work/out-$1"
  mkdir -p "$out"
  "$corvid" -D "$input" --outputpath="$out/" --extract_path="$out/x" >/dev/null  # extraction made once
  local without with corrector
  without=$(best_of 3 "$corvid" -D "$input" --outputpath="$out/" --extract_path="$out/x" -r 1)
  with=$(best_of 3 "$corvid" -D "$input" --outputpath="$out/" --extract_path="$out/x" -r 1 --output_mzml=1)
  # Its nearest-peak method (10 ppm) is the one that needs no feature finding first.
  corrector=$(best_of 1 HighResPrecursorMassCorrector -in "$input" -out "$out/openms.mzML" -threads 1 \
    -nearest_peak:mz_tolerance 10)
  read -r t0 m0 <<<"$without"
  read -r t1 m1 <<<"$with"
  read -r tc mc <<<"$corrector"
  printf '%-8s %6.0f MB | corvid run %6.2f s %5s MiB | with output_mzml %6.2f s %5s MiB (mzML: +%.2f s) | HighResPrecursorMassCorrector %6.2f s %5s MiB\n' \
    "$label" "$(du -m "$input" | cut -f1)" "$t0" "$m0" "$t1" "$m1" "$(echo "$t1 - $t0" | bc)" "$tc" "$mc"
}

bench_file BSA1 "$bsa1"
if [ ! -s "$work/large.mzML" ]; then python3 bench/make_large_mzml.py "$bsa1" "$work/large.mzML" "$size" >/dev/null; fi
bench_file large "$work/large.mzML"
