#!/usr/bin/env bash
# Open-format extraction benchmark: throughput (MB of mzML per second) and peak memory of Corvid's
# extractor against ProteoWizard's msconvert (--ms1 and --ms2 runs) on BSA1 and on a large mzML
# generated from BSA1's spectra. With --readers it also times reading alone with Corvid's reader,
# MSToolkit and ProteoWizard lite (compiled on the fly when their development packages exist).
#
# usage: bench/mzml_extract_bench.sh [--size BYTES] [--readers] [--levels] [--build DIR]
#   --size     size of the generated file (default 1.05e9)
#   --readers  add the reader comparison
#   --levels   also extract a large file in BSA1's layout (MS1 first, levels numbered apart),
#              which makes the extractor renumber and rewrite everything
#   --build    build folder configured with -DCORVID_BUILD_BENCH=ON (default ./build)
# BSA1 is taken from $CORVID_BSA1 or the OpenMS example folder. Everything generated goes to a
# temporary folder under /tmp, removed at the end.
set -euo pipefail

source_dir=$(cd "$(dirname "$0")/.." && pwd)
build_dir="$source_dir/build"
size=1.05e9
readers=0
levels=0
while [[ $# -gt 0 ]]; do
  case "$1" in
    --size) size="$2"; shift 2 ;;
    --readers) readers=1; shift ;;
    --levels) levels=1; shift ;;
    --build) build_dir="$2"; shift 2 ;;
    *) echo "unknown option $1" >&2; exit 2 ;;
  esac
done
bsa1="${CORVID_BSA1:-/root/.cache/corvid/pkg/usr/share/doc/openms/examples/BSA/BSA1.mzML}"
driver="$build_dir/bench/mzml_extract_bench"
[[ -f "$bsa1" ]] || { echo "BSA1.mzML not found (set CORVID_BSA1)" >&2; exit 1; }
[[ -x "$driver" ]] || { echo "build $driver first: cmake -DCORVID_BUILD_BENCH=ON, make mzml_extract_bench" >&2; exit 1; }
command -v msconvert > /dev/null || { echo "msconvert not found (package libpwiz-tools)" >&2; exit 1; }

work=$(mktemp -d /tmp/corvid_mzml_bench.XXXXXX)
trap 'rm -rf "$work"' EXIT

# Runs a command under /usr/bin/time -v and prints "wall cpu peakMB" for it.
measure() {
  local log="$work/time.log"
  /usr/bin/time -v "$@" > "$work/out.log" 2> "$log" || { cat "$work/out.log" "$log" >&2; return 1; }
  awk -F': ' '
    /Elapsed \(wall clock\)/ { n = split($2, t, ":"); wall = (n == 3) ? t[1] * 3600 + t[2] * 60 + t[3] : t[1] * 60 + t[2] }
    /User time/ { cpu += $2 } /System time/ { cpu += $2 }
    /Maximum resident set size/ { mem = $2 / 1024 }
    END { printf "%.2f %.2f %.1f\n", wall, cpu, mem }' "$log"
}

row() {  # file sizeMB tool wall cpu mem
  awk -v f="$1" -v s="$2" -v t="$3" -v w="$4" -v c="$5" -v m="$6" 'BEGIN {
    printf "| %-22s | %8.1f | %-26s | %7.2f | %7.2f | %8.1f | %8.1f | %8.1f |\n", f, s, t, w, c, s / w, s / c, m }'
}

header() {
  echo "| file                   |  size MB | tool                       |  wall s |   CPU s | MB/s wall | MB/s CPU | peak MB |"
  echo "|------------------------|----------|----------------------------|---------|---------|----------|----------|----------|"
}

extract_rows() {  # label path
  local label="$1" file="$2" mb out
  mb=$(awk -v b="$(stat -c %s "$file")" 'BEGIN { printf "%.1f", b / 1e6 }')
  out="$work/out_corvid"; rm -rf "$out"; mkdir -p "$out"
  read -r w c m < <(measure "$driver" "$file" "$out")
  row "$label" "$mb" "corvid (.ms1+.ms2+summary)" "$w" "$c" "$m"
  rm -rf "$out"
  out="$work/out_msconvert"; rm -rf "$out"; mkdir -p "$out"
  read -r w1 c1 m1 < <(measure msconvert --ms1 -o "$out" "$file")
  row "$label" "$mb" "msconvert --ms1" "$w1" "$c1" "$m1"
  read -r w2 c2 m2 < <(measure msconvert --ms2 -o "$out" "$file")
  row "$label" "$mb" "msconvert --ms2" "$w2" "$c2" "$m2"
  local ws cs ms
  ws=$(awk -v a="$w1" -v b="$w2" 'BEGIN { print a + b }')
  cs=$(awk -v a="$c1" -v b="$c2" 'BEGIN { print a + b }')
  ms=$(awk -v a="$m1" -v b="$m2" 'BEGIN { print (a > b) ? a : b }')
  row "$label" "$mb" "msconvert --ms1 + --ms2" "$ws" "$cs" "$ms"
  rm -rf "$out"
}

echo "machine: $(nproc) cores, $(awk '/MemTotal/ { printf "%.0f GB", $2 / 1048576 }' /proc/meminfo), $(uname -sr), load $(cut -d' ' -f1-3 /proc/loadavg)"
echo "generating a ${size}-byte mzML from $(basename "$bsa1") ..."
large="$work/BSA1_large.mzML"
python3 "$source_dir/bench/make_large_mzml.py" "$bsa1" "$large" "$size" acquisition

echo
echo "Extraction (corvid writes both .ms1 and .ms2 in one run; msconvert needs one run per format)"
echo
header
extract_rows "BSA1.mzML" "$bsa1"
extract_rows "large (acquisition)" "$large"
if [[ $levels -eq 1 ]]; then
  rm -f "$large"
  levels_file="$work/BSA1_levels.mzML"
  python3 "$source_dir/bench/make_large_mzml.py" "$bsa1" "$levels_file" "$size" levels
  mb=$(awk -v b="$(stat -c %s "$levels_file")" 'BEGIN { printf "%.1f", b / 1e6 }')
  out="$work/out_levels"; mkdir -p "$out"
  read -r w c m < <(measure "$driver" "$levels_file" "$out")
  row "large (renumbered)" "$mb" "corvid (.ms1+.ms2+summary)" "$w" "$c" "$m"
  rm -rf "$out" "$levels_file"
  python3 "$source_dir/bench/make_large_mzml.py" "$bsa1" "$large" "$size" acquisition
fi

if [[ $readers -eq 1 ]]; then
  echo
  echo "Reading only (every spectrum decoded, fields Corvid needs taken, nothing written)"
  echo
  compare="$source_dir/bench/reader_comparison"
  g++ -O2 -std=c++20 -I"$source_dir" "$compare/corvid_reader.cpp" -o "$work/corvid_reader" \
    "$build_dir/libcorvid_core.a" -lexpat -lz -lmsnumpress
  tools=(corvid_reader)
  if g++ -O2 -std=c++17 -D__LINUX__ -D_LARGEFILE_SOURCE -D_FILE_OFFSET_BITS=64 "$compare/mstoolkit_reader.cpp" \
       -o "$work/mstoolkit_reader" -lmstoolkit 2> /dev/null; then tools+=(mstoolkit_reader); fi
  if g++ -O2 -std=c++17 -I/usr/include/pwizlite "$compare/pwizlite_reader.cpp" -o "$work/pwizlite_reader" \
       -lpwizlite -lboost_filesystem -lboost_iostreams -lboost_thread -lz 2> /dev/null; then tools+=(pwizlite_reader); fi
  header
  for pair in "BSA1.mzML:$bsa1" "large (acquisition):$large"; do
    label="${pair%%:*}"; file="${pair#*:}"
    mb=$(awk -v b="$(stat -c %s "$file")" 'BEGIN { printf "%.1f", b / 1e6 }')
    for tool in "${tools[@]}"; do
      read -r w c m < <(measure "$work/$tool" "$file" quiet)
      row "$label" "$mb" "$tool" "$w" "$c" "$m"
    done
  done
fi
