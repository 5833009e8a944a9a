#!/usr/bin/env bash
# svmrunner against Debian's svm-train / svm-predict (package libsvm-tools) on the same SVMlight
# files: wall time of "svm-train -b 1 TRAIN" and "svm-predict -b 1 TEST MODEL OUT" for each, and
# whether the model files and the prediction files are byte-identical.
#
# usage: bench/svmrunner_bench.sh [--build DIR] [--repeat N] [training_file test_file]
#   --build   build folder holding svmrunner (default ./build; $SVMRUNNER overrides the path)
#   --repeat  runs of each command; the fastest is reported (default 3)
#   --train-lines N / --test-lines N   size of the generated pair (default 400 / 4000)
# Without files it generates a pair shaped like corvid's: 13 features scaled 0..1 (the last 0 or
# 1), two overlapping classes, CR LF line ends and the trailing blank corvid writes.
set -euo pipefail

source_dir=$(cd "$(dirname "$0")/.." && pwd)
build_dir="$source_dir/build"
repeat=3
train_lines=400
test_lines=4000
files=()
while [[ $# -gt 0 ]]; do
  case "$1" in
    --build) build_dir="$2"; shift 2 ;;
    --repeat) repeat="$2"; shift 2 ;;
    --train-lines) train_lines="$2"; shift 2 ;;
    --test-lines) test_lines="$2"; shift 2 ;;
    -*) echo "unknown option $1" >&2; exit 2 ;;
    *) files+=("$(realpath "$1")"); shift ;;
  esac
done
[[ ${#files[@]} -eq 0 || ${#files[@]} -eq 2 ]] || { echo "give both a training file and a test file, or neither" >&2; exit 2; }

svmrunner="${SVMRUNNER:-$build_dir/svmrunner}"
[[ -x "$svmrunner" ]] || { echo "svmrunner not found at $svmrunner (build it: cmake --build $build_dir --target svmrunner)" >&2; exit 1; }
svmrunner=$(realpath "$svmrunner")  # the runs below change folder
debian_train=$(command -v svm-train || true)
debian_predict=$(command -v svm-predict || true)
[[ -n "$debian_train" && -n "$debian_predict" ]] || { echo "svm-train/svm-predict not found (package libsvm-tools)" >&2; exit 1; }

work=$(mktemp -d /tmp/corvid_svm_bench.XXXXXX)
trap 'rm -rf "$work"' EXIT

# Deterministic synthetic set: awk's srand with a fixed seed.
generate() {  # lines seed labelled > file
  awk -v n="$1" -v seed="$2" -v labelled="$3" 'BEGIN {
    srand(seed)
    for (i = 0; i < n; i++) {
      positive = rand() < 0.4
      label = labelled ? (positive ? "1" : "-1") : "0"
      line = label
      for (f = 1; f <= 13; f++) {
        v = 0.6 * rand() + (positive ? 0.3 * rand() : 0)
        if (f == 13) v = (rand() < (positive ? 0.7 : 0.3)) ? 1 : 0
        line = line sprintf(" %d:%.8f", f, v)
      }
      printf "%s \r\n", line
    }
  }'
}

if [[ ${#files[@]} -eq 0 ]]; then
  generate "$train_lines" 11 1 > "$work/SVMlightTrainingSet.txt"
  generate "$test_lines" 12 0 > "$work/SVMlightTestSet.txt"
  train="$work/SVMlightTrainingSet.txt"
  test="$work/SVMlightTestSet.txt"
  echo "generated pair: $train_lines training lines, $test_lines test lines (13 features, CR LF)"
else
  train="${files[0]}"
  test="${files[1]}"
  echo "files: $train ($(wc -l < "$train") lines), $test ($(wc -l < "$test") lines)"
fi

# Each tool works in its own folder on its own copy, so default file names cannot collide.
mkdir -p "$work/ours" "$work/theirs"
for side in ours theirs; do
  cp "$train" "$work/$side/train.txt"
  cp "$test" "$work/$side/test.txt"
done

# Fastest wall time in seconds of `repeat` runs of a command, run in the given folder.
best_time() {  # folder command...
  local folder="$1"; shift
  local best=""
  for ((run = 0; run < repeat; run++)); do
    local start end elapsed
    start=$(date +%s.%N)
    (cd "$folder" && "$@" > /dev/null) || { echo "failed: $*" >&2; return 1; }
    end=$(date +%s.%N)
    elapsed=$(echo "$end - $start" | bc -l)
    if [[ -z "$best" ]] || (( $(echo "$elapsed < $best" | bc -l) )); then best=$elapsed; fi
  done
  printf '%.3f' "$best"
}

command -v bc > /dev/null || { echo "bc not found" >&2; exit 1; }
ours_train=$(best_time "$work/ours" "$svmrunner" svm-train -b 1 train.txt)
theirs_train=$(best_time "$work/theirs" "$debian_train" -b 1 train.txt)
ours_predict=$(best_time "$work/ours" "$svmrunner" svm-predict -b 1 test.txt train.txt.model out.txt)
theirs_predict=$(best_time "$work/theirs" "$debian_predict" -b 1 test.txt train.txt.model out.txt)

same() { cmp -s "$work/ours/$1" "$work/theirs/$1" && echo "identical" || echo "DIFFERENT"; }
echo "libsvm: $("$svmrunner" --version)"
printf '%-28s %12s %12s\n' "step (best of $repeat, s)" svmrunner debian
printf '%-28s %12s %12s\n' "svm-train -b 1" "$ours_train" "$theirs_train"
printf '%-28s %12s %12s\n' "svm-predict -b 1" "$ours_predict" "$theirs_predict"
echo "model file  (train.txt.model): $(same train.txt.model)"
echo "output file (out.txt):         $(same out.txt)"
