#!/usr/bin/env bash
# Corvid's whole job on a large generated mzML (fresh extraction, detection, CSV/MGF/KX2) for
# 1 and 2 threads, side by side with Debian's msconvert converting the same file to MGF: best of
# N runs each, wall time and peak memory.
#   bench/whole_job_vs_msconvert.sh [build dir] [bytes of the generated file] [runs]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
size=${2:-124000000}
runs=${3:-5}
corvid=$(realpath "$build/corvid")
command -v msconvert >/dev/null || { echo "msconvert missing: apt-get install libpwiz-tools" >&2; exit 2; }
bsa1="$(bash tools/fetch_bsa1.sh)"
work=${CORVID_BENCH_DIR:-$(mktemp -d)}
mkdir -p "$work"
trap '[ -z "${CORVID_BENCH_DIR:-}" ] && rm -rf "$work"' EXIT
mzml="$work/large.mzML"
[ -s "$mzml" ] || python3 bench/make_large_mzml.py "$bsa1" "$mzml" "$size" >/dev/null

best_of() {  # label, command...: the fastest of $runs, each in a fresh output folder
  local label=$1
  shift
  for _ in $(seq "$runs"); do
    rm -rf "$work/out" && mkdir -p "$work/out"
    /usr/bin/time -f "%e %M" -o "$work/time.txt" "$@" >/dev/null 2>&1
    cat "$work/time.txt"
  done | sort -n | head -1 | awk -v label="$label" '{printf "%-22s %6.2f s %6.0f MB\n", label, $1, $2 / 1024}'
}

echo "input: $(du -m "$mzml" | cut -f1) MB, $(grep -c '<spectrum ' "$mzml") spectra; best of $runs"
best_of "msconvert --mgf" msconvert --mgf -o "$work/out" "$mzml"
for threads in 1 2; do
  best_of "corvid threads=$threads" "$corvid" "$mzml" --outputpath="$work/out/" --extract_path="$work/out/" --threads="$threads"
done
