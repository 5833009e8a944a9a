#!/usr/bin/env bash
# Whole runs of Corvid with wall time and peak memory:
#   1. BSA1.mzML (Debian's openms-doc): extraction + detection + scoring + outputs;
#   2. a generated run of MS1 scans x MS2 scans (default 10 000 MS1 scans of 3 000 peaks, 10 MS2
#      scans each = 100 000 MS2 scans), as extracted MS1/MS2 text.
#   bench/run_end_to_end.sh [ms1 scans] [ms2 per ms1] [peaks per ms1]
set -euo pipefail
repo="$(cd "$(dirname "$0")/.." && pwd)"
cd "$repo"
bash tools/install_dependencies.sh
command -v /usr/bin/time >/dev/null || { apt-get install -y -qq time >/dev/null; }
cmake -S . -B build -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build -j "$(nproc)" --target corvid make_synthetic_run >/dev/null
work="$(mktemp -d /tmp/corvid_bench.XXXXXX)"
trap 'rm -rf "$work"' EXIT

measure() {  # label, command...
  local label="$1"; shift
  /usr/bin/time -f "%e %M" -o "$work/time.txt" "$@" > "$work/$label.log" 2>&1 || { tail -5 "$work/$label.log"; return 1; }
  read -r seconds kilobytes < "$work/time.txt"
  printf '%-28s %8.2f s  %8.1f MB peak\n' "$label" "$seconds" "$(echo "$kilobytes / 1024" | bc -l)"
}

echo "machine: $(nproc) cores, $(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2 | xargs)"
bsa1="$(bash tools/fetch_bsa1.sh)"
mkdir -p "$work/bsa1" "$work/bsa1_out"
cp "$bsa1" "$work/bsa1/"
measure "BSA1 extract+detect" ./build/corvid -D "$work/bsa1/BSA1.mzML" -O "$work/bsa1_out/"
grep -a "Exported " "$work/BSA1 extract+detect.log" | tail -1 || true
measure "BSA1 detect (extracted)" ./build/corvid -D "$work/bsa1/" -F ms1 -O "$work/bsa1_out/" -r 1
ms2_count=$(grep -c '^S' "$work/bsa1/BSA1.ms2" || true)
echo "BSA1 MS2 scans: $ms2_count"

ms1_scans="${1:-10000}"; per="${2:-10}"; peaks="${3:-3000}"
mkdir -p "$work/synthetic"
./build/tools/make_synthetic_run "$work/synthetic/run" "$ms1_scans" "$per" "$peaks"
echo "generated: $(du -m "$work/synthetic/run.ms1" | cut -f1) MB MS1, $(du -m "$work/synthetic/run.ms2" | cut -f1) MB MS2, $((ms1_scans * per)) MS2 scans"
measure "synthetic detect" ./build/corvid -D "$work/synthetic/" -F ms1
grep -a "Exported " "$work/synthetic detect.log" | tail -1 || true
