#!/usr/bin/env bash
# Coverage-guided fuzzing of Corvid's fuzz targets (tests/fuzz/fuzz_targets.h) with clang's
# libFuzzer under AddressSanitizer + UndefinedBehaviorSanitizer.
#
#   tools/fuzz.sh [SECONDS] [TARGET...]
#
# SECONDS per target (default 60), the targets one after another (default: every one in
# tests/fuzz/libfuzzer/, named after its corpus folder: gzip_input, mgf, ms1, ms2, mzxml, open_format,
# parameter_file, reference_list, xml_stream). Everything is built in build-fuzz/ with clang; each target runs
# as one process seeded from tests/fuzz/corpus/<target>/ (read only). New corpus entries are kept
# in build-fuzz/corpus/<target>/, crashing inputs in build-fuzz/crashes/<target>/, the fuzzer's
# output in build-fuzz/logs/<target>.log. Copy the small, valuable new entries into the committed
# corpus by hand: the ordinary test run replays it (tests/fuzz/fuzz_replay_test.cpp).
# Exit status 1 when a target crashed.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)

seconds=${1:-60}
[ $# -gt 0 ] && shift
if [ $# -gt 0 ]; then
  targets=("$@")
else
  targets=()
  for stub in tests/fuzz/libfuzzer/*.cc; do targets+=("$(basename "$stub" .cc)"); done
fi
jobs=${FUZZ_BUILD_JOBS:-1}
build=$root/build-fuzz

command -v clang++ >/dev/null || { echo "clang++ is needed (Debian: apt-get install clang)" >&2; exit 2; }

sanitize="-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer -g"

# The library, instrumented for coverage but without libFuzzer's main.
cmake -S . -B "$build" -DCMAKE_CXX_COMPILER=clang++ \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORVID_BUILD_TESTS=OFF -DCORVID_BUILD_SVMRUNNER=OFF \
  -DCMAKE_CXX_FLAGS="$sanitize -fsanitize=fuzzer-no-link" >/dev/null
cmake --build "$build" --target corvid_core -j "$jobs" >/dev/null

# The fuzz targets and one executable per target.
mkdir -p "$build/fuzz"
compile=(clang++ -std=c++20 -O1 $sanitize -fsanitize=fuzzer-no-link -I"$root" -I"$build/generated"
         -DCORVID_SOURCE_DIR="\"$root\"" -DCORVID_EXE="\"$build/corvid\""
         -DCORVID_GOLDEN_DIR="\"$root/tests/golden\"")
objects=()
for source in tests/fuzz/*_fuzz.cpp; do
  object=$build/fuzz/$(basename "$source" .cpp).o
  "${compile[@]}" -c "$source" -o "$object"
  objects+=("$object")
done
for target in "${targets[@]}"; do
  stub=tests/fuzz/libfuzzer/$target.cc
  [ -f "$stub" ] || { echo "no fuzz target \"$target\" (tests/fuzz/libfuzzer/$target.cc)" >&2; exit 2; }
  "${compile[@]}" -c "$stub" -o "$build/fuzz/$target.o"
  clang++ $sanitize -fsanitize=fuzzer "$build/fuzz/$target.o" "${objects[@]}" "$build/libcorvid_core.a" \
    -lexpat -lz -lmsnumpress -lgtest -lpthread -o "$build/fuzz/fuzz_$target"
done

# One target after another, each for the given time.
# The targets write their inputs to files: a folder in memory keeps that cheap.
scratch_tmp=${FUZZ_TMPDIR:-/dev/shm}
[ -d "$scratch_tmp" ] && [ -w "$scratch_tmp" ] || scratch_tmp=$build
export TMPDIR=$scratch_tmp
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
crashed=0
printf "%-16s %12s %8s %8s %10s %8s\n" target executions cov ft "new inputs" crashes
for target in "${targets[@]}"; do
  corpus=$build/corpus/$target
  crashes=$build/crashes/$target
  log=$build/logs/$target.log
  mkdir -p "$corpus" "$crashes" "$(dirname "$log")" "tests/fuzz/corpus/$target"
  before=$(find "$corpus" -type f | wc -l)
  crashesBefore=$(find "$crashes" -type f | wc -l)
  "$build/fuzz/fuzz_$target" "$corpus" "tests/fuzz/corpus/$target" -max_total_time="$seconds" \
    -timeout=20 -rss_limit_mb=2048 -max_len=65536 -print_final_stats=1 -close_fd_mask=1 \
    -artifact_prefix="$crashes/" >"$log" 2>&1 || true
  executions=$(grep -o 'stat::number_of_executed_units: [0-9]*' "$log" | tail -n 1 | awk '{print $2}')
  status=$(grep -E '^#[0-9]+' "$log" | grep 'cov:' | tail -n 1 || true)
  cov=$(sed -n 's/.* cov: \([0-9]*\).*/\1/p' <<<"$status")
  ft=$(sed -n 's/.* ft: \([0-9]*\).*/\1/p' <<<"$status")
  found=$(($(find "$crashes" -type f | wc -l) - crashesBefore))
  after=$(find "$corpus" -type f | wc -l)
  printf "%-16s %12s %8s %8s %10s %8s\n" "$target" "${executions:-?}" "${cov:-?}" "${ft:-?}" \
    "$((after - before))" "$found"
  if [ "$found" -gt 0 ]; then
    crashed=1
    ls -t "$crashes" | head -n "$found" | sed "s|^|    $crashes/|"
    grep -m 1 -E 'ERROR: (AddressSanitizer|libFuzzer)|runtime error' "$log" | sed 's/^/    /' || true
  fi
done
exit "$crashed"
