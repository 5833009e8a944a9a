#!/bin/sh
# Splits an MS2 text file larger than the 3 GiB split threshold and reports the time.
# Generates the file deterministically in a private temporary folder, runs the split benchmark
# on it and removes everything again. Needs about 7 GB of free space in the temporary folder.
#
#   bench/split_large_ms2.sh [build folder]      (default: build; configure with
#                                                 -DCORVID_BUILD_BENCH=ON first)
# Environment: CORVID_SPLIT_BYTES  size of the generated file (default 3400000000 bytes)
#              TMPDIR              where the temporary folder is made
set -eu

build=${1:-build}
bench="$build/bench/split_ms2_bench"
if [ ! -x "$bench" ]; then
  echo "missing $bench: cmake -S . -B $build -DCORVID_BUILD_BENCH=ON && make -C $build split_ms2_bench" >&2
  exit 1
fi
bytes=${CORVID_SPLIT_BYTES:-3400000000}

work=$(mktemp -d "${TMPDIR:-/tmp}/corvid_split_XXXXXX")
trap 'rm -rf "$work"' EXIT INT TERM
file="$work/large.ms2"

echo "generating $bytes bytes of MS2 text in $work ..."
start=$(date +%s)
# One scan: header lines, Z line and 100 peak lines with CR LF line ends; numbers depend only on
# the scan number, so the file is the same on every run.
mawk -v target="$bytes" 'BEGIN {
  ORS = "\r\n"
  print "H\tCreationDate\tMon Jan 01 00:00:00 2024"
  print "H\tExtractor\tQuarry"
  written = 0
  for (scan = 1; written < target; scan++) {
    center = 400 + (scan * 7919) % 1000 + 0.123456
    block = sprintf("S\t%d\t%d\t%.6f\r\nI\tRetTime\t%.4f\r\nI\tActivationType\tHCD\r\nI\tInstrumentType\tFTMS\r\nI\tActivationCenter\t%.6f\r\nZ\t2\t%.6f\r\n", scan, scan, center, scan * 0.037, center, 2 * center - 1.007276)
    for (k = 0; k < 100; k++) {
      block = block sprintf("%.6f %.1f\r\n", 150 + k * 13.37 + (scan % 97) * 0.001, 1000 + (scan * 31 + k * 17) % 90000)
    }
    printf "%s", block
    written += length(block)
  }
}' > "$file"
echo "generated $(wc -c < "$file") bytes in $(( $(date +%s) - start )) s"

CORVID_SPLIT_MS2="$file" "$bench" --benchmark_counters_tabular=true
echo "parts removed; removing $work"
