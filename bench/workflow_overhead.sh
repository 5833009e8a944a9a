#!/usr/bin/env bash
# What the Snakemake workflow costs per file: the three files of the workflow test (BSA1 and two
# cut-down copies) run by corvid directly, one after the other, against the workflow on the same
# files with one core and with two. Also prints the installed size.
#   bench/workflow_overhead.sh [build dir]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
corvid=$(realpath "$build/corvid")
bsa1=${CORVID_BSA1:-$HOME/.cache/corvid/pkg/usr/share/doc/openms/examples/BSA/BSA1.mzML}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/data"
cp "$bsa1" "$work/data/BSA1.mzML"
python3 tests/scripts/cut_mzml.py "$bsa1" "$work/data/BSA1_early.mzML" 1500 1900 >/dev/null
python3 tests/scripts/cut_mzml.py "$bsa1" "$work/data/BSA1_late.mzML" 2000 2300 >/dev/null
printf 'inputs:\n  - "data/*.mzML"\nresults: "results"\ncorvid: "%s"\n' "$corvid" >"$work/config.yaml"
now() { date +%s.%N; }

direct() {
  rm -rf "$work/direct"
  mkdir -p "$work/direct"
  local start
  start=$(now)
  for file in BSA1 BSA1_early BSA1_late; do
    mkdir -p "$work/direct/$file"
    (cd "$work/direct/$file" && "$corvid" -D "$work/data/$file.mzML" --outputpath=. --logfilepath=. \
      --extract_path=x --strict_exit=1 >/dev/null && rm -rf x)
  done
  echo "$(now) - $start" | bc
}
workflow() {  # <cores>
  rm -rf "$work/results" "$work/.snakemake"
  local start
  start=$(now)
  snakemake --snakefile workflow/Snakefile --configfile "$work/config.yaml" --directory "$work" \
    --cores "$1" --quiet >/dev/null 2>&1
  echo "$(now) - $start" | bc
}

best() { sort -n | head -1; }
direct_s=$(for _ in 1 2 3; do direct; done | best)
one_s=$(for _ in 1 2 3; do workflow 1; done | best)
two_s=$(for _ in 1 2 3; do workflow 2; done | best)
printf 'direct, 3 files in turn:   %.2f s\n' "$direct_s"
printf 'workflow --cores 1:        %.2f s  (overhead %.2f s per file)\n' "$one_s" "$(echo "($one_s - $direct_s) / 3" | bc -l)"
printf 'workflow --cores 2:        %.2f s\n' "$two_s"
prefix="$work/prefix"
cmake --install "$build" --prefix "$prefix" >/dev/null
printf 'installed size:            %s KiB (%s)\n' "$(du -sk "$prefix" | cut -f1)" "$(cd "$prefix" && find . -type f | sort | tr '\n' ' ')"
