#!/usr/bin/env bash
# Fails, printing the fix as a diff, when a line of C++ changed since .clang-format was added
# (committed or not) is not laid out as .clang-format says. tools/format_changed.sh applies the fix.
set -euo pipefail
cd "$(dirname "$0")/.."
source tools/format_scope.sh
require_git_clang_format
base=$(format_base)
# Debian's git clang-format 14 exits with 0 whether or not it finds something, so its output decides.
diff=$(git clang-format --diff --extensions "$format_extensions" "$base" -- "${format_paths[@]}")
if grep -q '^diff ' <<<"$diff"; then
  echo "$diff"
  echo "check_format: the lines above are not formatted (base $base); bash tools/format_changed.sh fixes them" >&2
  exit 1
fi
echo "check_format: every changed line is formatted (base $base)"
