#!/usr/bin/env bash
# Builds Corvid and runs the whole test suite.
#   tools/run_tests.sh              release build in build/
#   tools/run_tests.sh --sanitize   AddressSanitizer + UndefinedBehaviorSanitizer build in build-asan/
#   tools/run_tests.sh --threads    ThreadSanitizer build in build-tsan/
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/install_dependencies.sh

build_dir=build
options=(-DCMAKE_BUILD_TYPE=Release -DCORVID_WERROR=ON)
if [ "${1:-}" = "--sanitize" ]; then
  build_dir=build-asan
  options=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORVID_WERROR=ON -DCORVID_SANITIZE=ON)
  export ASAN_OPTIONS=detect_leaks=1:abort_on_error=0
  export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
elif [ "${1:-}" = "--threads" ]; then
  build_dir=build-tsan
  options=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORVID_WERROR=ON -DCORVID_TSAN=ON)
  export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1
fi

# Real data for the end-to-end tests, cached outside the repository.
bash tools/fetch_bsa1.sh >/dev/null || echo "BSA1 not available: tests that need it are skipped"

# ThreadSanitizer of GCC 12 cannot start on kernels that randomise addresses with more bits than
# it expects ("unexpected memory mapping"); the suite then runs with address randomisation off.
run_suite=(ctest --test-dir "$build_dir" --output-on-failure -j "$(nproc)")
if [ "$build_dir" = build-tsan ]; then
  probe_dir=$(mktemp -d)
  printf 'int main() { return 0; }\n' >"$probe_dir/probe.cpp"
  g++ -fsanitize=thread "$probe_dir/probe.cpp" -o "$probe_dir/probe"
  if ! "$probe_dir/probe" >/dev/null 2>&1; then
    if setarch "$(uname -m)" -R "$probe_dir/probe" >/dev/null 2>&1; then
      echo "ThreadSanitizer needs address randomisation off here: the suite runs under setarch -R"
      run_suite=(setarch "$(uname -m)" -R "${run_suite[@]}")
    else
      echo "ThreadSanitizer cannot run on this machine: the thread-sanitized suite is skipped"
      rm -rf "$probe_dir"
      exit 0
    fi
  fi
  rm -rf "$probe_dir"
fi

cmake -S . -B "$build_dir" "${options[@]}" >/dev/null
cmake --build "$build_dir" -j "$(nproc)"
"${run_suite[@]}"
