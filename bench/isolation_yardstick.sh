#!/usr/bin/env bash
# isolation_from_file against a fixed isolation_width of the same size, on simulated runs whose
# stated isolation windows are re-written (0.7 Th, 3 Th, and an asymmetric 0.5 below / 1.5 above),
# with the truth re-made for each window by the yardstick's own truth.py; default and precision mode.
#   bench/isolation_yardstick.sh [CORVID_BINARY] [SIM_DIR] [RUN ...]
# SIM_DIR holds runs made by the yardstick's make.sh (default ~/.cache/corvid-sim); RUN defaults to
# dev1. Prints score.py's line (--zmin 2) for every window, mode and way of setting the window.
set -euo pipefail
HERE="$(cd "$(dirname "$0")/.." && pwd)"
BIN="$(realpath "${1:-$HERE/build/corvid}")"
SIMDIR="${2:-${HOME:-/root}/.cache/corvid-sim}"
shift $(( $# > 2 ? 2 : $# ))
RUNS="${*:-dev1}"
SIM=/work/shared/yardsticks/simulated-truth
WINDOWS="0.35:0.35 1.5:1.5 0.5:1.5"

# The run's mzML with every stated isolation window set to lower/upper.
rewrite_windows() {  # IN OUT LOWER UPPER
  sed -e "s/\(accession=\"MS:1000828\" name=\"isolation window lower offset\" value=\"\)[^\"]*/\1$3/" \
      -e "s/\(accession=\"MS:1000829\" name=\"isolation window upper offset\" value=\"\)[^\"]*/\1$4/" "$1" > "$2"
}

run_corvid() {  # INPUT OUTDIR OPTIONS...
  local input="$1" out="$2"; shift 2
  rm -rf "$out"; mkdir -p "$out"
  /usr/bin/time -f "%e" -o "$out.time" "$BIN" -D "$input" -O "$out/" "$@" > "$out.log" 2>&1
}

for name in $RUNS; do
  R="$SIMDIR/$name"
  for window in $WINDOWS; do
    lower="${window%%:*}"; upper="${window##*:}"
    width="$(python3 -c "print(f'{$lower + $upper:g}')")"
    W="$SIMDIR/isolation/$name-$lower-$upper"; mkdir -p "$W"
    if [ ! -s "$W/$name.truth.tsv" ]; then
      rewrite_windows "$R/$name.mzML" "$W/$name.mzML" "$lower" "$upper"
      python3 "$SIM/truth.py" "$W/$name.mzML" "$R/$name.featureXML" "$R/$name.picks.tsv" \
        "$R/$name.contaminants.featureXML" > "$W/$name.truth.tsv"
    fi
    for mode in 0 1; do
      run_corvid "$W/$name.mzML" "$W/fixed.mode$mode" "--isolation_width=$width" "--precision_mode=$mode"
      run_corvid "$W/$name.mzML" "$W/file.mode$mode" "--isolation_from_file=1" "--precision_mode=$mode"
      for how in fixed file; do
        printf '%s window -%s/+%s precision_mode=%s %-5s (%ss): ' "$name" "$lower" "$upper" "$mode" "$how" \
          "$(cat "$W/$how.mode$mode.time")"
        python3 "$SIM/score.py" --zmin 2 "$W/$name.truth.tsv" "$W/$how.mode$mode/$name.csv" | tail -1
      done
    done
  done
done
