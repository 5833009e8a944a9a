#!/usr/bin/env bash
# Extraction time of gzip-compressed mzML against the same file uncompressed: BSA1 and a large mzML
# generated from it (bench/make_large_mzml.py, deterministic). Each file is extracted --runs times
# by build/bench/mzml_extract_bench; the best time counts. Prints both wall times and the throughput
# ratio (uncompressed time / compressed time; 1.0 means the compressed file reads as fast), and the
# best CPU times (user + system): inflating runs on a second thread, so on a machine whose cores
# are all busy the wall ratio falls toward the CPU ratio.
#
# usage: bench/gzip_throughput.sh [--size BYTES] [--runs N] [--level 1-9] [--build DIR]
#   --size   size of the generated mzML (default 1.1e8)
#   --runs   extractions per file (default 3)
#   --level  gzip compression level (default 6, gzip's own)
#   --build  build folder configured with -DCORVID_BUILD_BENCH=ON (default ./build)
# BSA1 is taken from $CORVID_BSA1 or the cache of tools/fetch_bsa1.sh. Everything generated goes
# to a temporary folder under /tmp that the script removes. Not part of the test suite.
set -euo pipefail

source_dir=$(cd "$(dirname "$0")/.." && pwd)
build_dir="$source_dir/build"
size=1.1e8
runs=3
level=6
while [[ $# -gt 0 ]]; do
  case "$1" in
    --size) size="$2"; shift 2 ;;
    --runs) runs="$2"; shift 2 ;;
    --level) level="$2"; shift 2 ;;
    --build) build_dir="$2"; shift 2 ;;
    *) echo "unknown option $1" >&2; exit 2 ;;
  esac
done
bsa1="${CORVID_BSA1:-$HOME/.cache/corvid/pkg/usr/share/doc/openms/examples/BSA/BSA1.mzML}"
driver="$build_dir/bench/mzml_extract_bench"
[[ -f "$bsa1" ]] || { echo "BSA1.mzML not found (bash tools/fetch_bsa1.sh, or set CORVID_BSA1)" >&2; exit 1; }
[[ -x "$driver" ]] || { echo "build $driver first: cmake -DCORVID_BUILD_BENCH=ON, make mzml_extract_bench" >&2; exit 1; }

work=$(mktemp -d /tmp/corvid_gzip_bench.XXXXXX)
trap 'rm -rf "$work"' EXIT

# Best wall time and best CPU time, in seconds, of extracting the file (the driver prints
# "... in S s ..."; /usr/bin/time the CPU seconds).
best_seconds() {
  local file="$1" best="" best_cpu="" seconds cpu
  for ((i = 0; i < runs; i++)); do
    rm -rf "$work/out"; mkdir -p "$work/out"
    seconds=$(/usr/bin/time -f "%U %S" -o "$work/cpu" "$driver" "$file" "$work/out" | sed -n 's/.* in \([0-9.]*\) s .*/\1/p')
    [[ -n "$seconds" ]] || { echo "extraction of $file failed" >&2; exit 1; }
    cpu=$(awk '{ print $1 + $2 }' "$work/cpu")
    best=$(awk -v a="$seconds" -v b="$best" 'BEGIN { print (b == "" || a < b) ? a : b }')
    best_cpu=$(awk -v a="$cpu" -v b="$best_cpu" 'BEGIN { print (b == "" || a < b) ? a : b }')
  done
  rm -rf "$work/out"
  echo "$best $best_cpu"
}

compare() {  # label plain-file
  local label="$1" plain="$2" packed="$2.gz"
  gzip -"$level" -n -c "$plain" > "$packed"
  local plain_s plain_cpu packed_s packed_cpu
  read -r plain_s plain_cpu < <(best_seconds "$plain")
  read -r packed_s packed_cpu < <(best_seconds "$packed")
  awk -v l="$label" -v p="$(stat -c %s "$plain")" -v g="$(stat -c %s "$packed")" -v a="$plain_s" -v b="$packed_s" \
    -v c="$plain_cpu" -v d="$packed_cpu" 'BEGIN {
      printf "| %-6s | %8.1f | %6.1f | %7.3f | %7.3f | %10.2f | %11.2f | %9.2f | %9.2f |\n",
             l, p / 1e6, g / 1e6, a, b, a / b, c, d, c / d }'
}

echo "machine: $(nproc) cores, $(uname -sr), load $(cut -d' ' -f1-3 /proc/loadavg); gzip -$level; best of $runs"
cp "$bsa1" "$work/BSA1.mzML"
python3 "$source_dir/bench/make_large_mzml.py" "$bsa1" "$work/large.mzML" "$size" acquisition
echo
echo "| file   | plain MB | .gz MB | plain s |   .gz s | wall ratio | plain CPU s | .gz CPU s | CPU ratio |"
echo "|--------|----------|--------|---------|---------|------------|-------------|-----------|-----------|"
compare "BSA1" "$work/BSA1.mzML"
compare "large" "$work/large.mzML"
