#!/usr/bin/env bash
# Formats in place the C++ lines changed since .clang-format was added, committed or not: what
# tools/check_format.sh would report. Other lines are left as they are.
set -euo pipefail
cd "$(dirname "$0")/.."
source tools/format_scope.sh
require_git_clang_format
git clang-format --force --extensions "$format_extensions" "$(format_base)" -- "${format_paths[@]}"
