#!/bin/bash
# Retrains precision_mode's classifier from simulated runs with known truth.
#   tools/precision_model/retrain.sh CORVID SIM_DIR [RUN ...]        (default runs: dev1 dev2 dev3)
# SIM_DIR holds one folder per run as the simulated-truth yardstick's make.sh writes them
# (RUN/RUN.mzML and RUN/RUN.truth.tsv); the shipped model was trained on
#   make.sh SIM_DIR dev1:300:101 dev2:300:202 dev3:300:303
# Corvid writes every candidate of each run with its features, detected as precision mode detects
# them (output_all_mars_y keeps them all);
# the training script labels them against the truth and writes data/precision_model.txt and the
# test fixture tests/data/precision/check.tsv. The same runs give the same bytes.
set -euo pipefail
corvid="$(realpath "${1:?usage: retrain.sh CORVID SIM_DIR [RUN ...]}")"
sims="$(realpath "${2:?usage: retrain.sh CORVID SIM_DIR [RUN ...]}")"
shift 2
runs=("$@")
[ ${#runs[@]} -gt 0 ] || runs=(dev1 dev2 dev3)
here="$(cd "$(dirname "$0")" && pwd)"
repo="$(cd "$here/../.." && pwd)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
python=/usr/bin/python3  # Debian's, where python3-sklearn installs
"$python" -c 'import sklearn' 2>/dev/null || { echo "retrain.sh: needs python3-sklearn (apt-get install python3-sklearn)" >&2; exit 1; }
runs_and_tables=()
for run in "${runs[@]}"; do
  [ -f "$sims/$run/$run.mzML" ] && [ -f "$sims/$run/$run.truth.tsv" ] || { echo "retrain.sh: $sims/$run lacks $run.mzML or $run.truth.tsv" >&2; exit 1; }
  mkdir -p "$work/$run"
  "$corvid" "$sims/$run/$run.mzML" --outputpath="$work/$run/" --extract_path="$work/$run/" --threads=1 \
    --precision_mode=1 --output_all_mars_y=1 --output_table=1 --output_mgf=0 --output_kx=0 >"$work/$run/console.txt"
  runs_and_tables+=("$sims/$run:$work/$run/$run.precursors.tsv")
done
"$python" "$here/train_precision_model.py" "$repo/data/precision_model.txt" "${runs_and_tables[@]}" \
  --check "$repo/tests/data/precision/check.tsv" 30
