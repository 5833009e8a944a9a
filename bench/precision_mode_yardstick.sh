#!/usr/bin/env bash
# precision_mode against the default: simulated runs with known truth (P, R_10, top1, n/scan with
# --zmin 2) and BSA1 (Comet identifications at 1 % / 5 % FDR, MGF blocks per MS2 scan), with the
# wall time of both modes.
#   bench/precision_mode_yardstick.sh [CORVID_BINARY] [CACHE]
# CORVID_BINARY defaults to build/corvid (IPV.txt and precision_model.txt must lie beside it);
# CACHE (default ~/.cache/corvid-sim, outside the repository) keeps the simulated runs, which take
# several minutes each to make and are made only once: dev1, dev2 (the yardstick's defaults) and
# dev3, the classifier's training runs, and held4 and held5, seeds it never saw.
set -euo pipefail
HERE="$(cd "$(dirname "$0")/.." && pwd)"
BIN="$(realpath "${1:-$HERE/build/corvid}")"
CACHE="${2:-${HOME:-/root}/.cache/corvid-sim}"
SIM=/work/shared/yardsticks/simulated-truth
SEARCH=/work/shared/yardsticks/search-check
RUNS="dev1:300:101 dev2:300:202 dev3:300:303 held4:300:404 held5:300:505"
mkdir -p "$CACHE"
[ -x "$BIN" ] && [ -s "$(dirname "$BIN")/IPV.txt" ] && [ -s "$(dirname "$BIN")/precision_model.txt" ] ||
  { echo "no corvid with IPV.txt and precision_model.txt at $BIN" >&2; exit 2; }

# Runs corvid on one input in one mode; prints the wall time in seconds.
run_mode() {  # INPUT OUTDIR MODE
  local input="$1" out="$2" mode="$3"
  rm -rf "$out"; mkdir -p "$out"
  printf 'datapath = %s\noutputpath = %s/\nprecision_mode = %s\n' "$input" "$out" "$mode" > "$out.para"
  /usr/bin/time -f "%e" -o "$out.time" "$BIN" "$out.para" > "$out.log" 2>&1
  cat "$out.time"
}

echo "== simulated runs (score.py --zmin 2)"
for spec in $RUNS; do
  name="${spec%%:*}"
  [ -s "$CACHE/$name/$name.truth.tsv" ] || bash "$SIM/make.sh" "$CACHE" "$spec" > "$CACHE/make_$name.log" 2>&1
  for mode in 0 1; do
    out="$CACHE/out/$name.mode$mode"
    t="$(run_mode "$CACHE/$name/$name.mzML" "$out" "$mode")"
    echo "$name precision_mode=$mode time=${t}s"
    python3 "$SIM/score.py" --zmin 2 "$CACHE/$name/$name.truth.tsv" "$out/$name.csv" | tail -1
  done
done

echo "== BSA1"
BSA1="$(bash "$HERE/tools/fetch_bsa1.sh")"
for mode in 0 1; do
  out="$CACHE/out/BSA1.mode$mode"
  t="$(run_mode "$BSA1" "$out" "$mode")"
  scans="$(grep -c '^CID' "$out/BSA1.csv")"
  blocks="$(grep -c 'BEGIN IONS' "$out/BSA1_CIDIT.mgf")"
  echo "BSA1 precision_mode=$mode time=${t}s MS2 scans=$scans MGF blocks=$blocks per scan=$(python3 -c "print(round($blocks/$scans,3))")"
  bash "$SEARCH/bsa1.sh" "$out/BSA1_CIDIT.mgf"
done
