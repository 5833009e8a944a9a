# Sourced by check_format.sh and format_changed.sh: what is formatted and since when.
# Only lines changed since the style was introduced are held to it, so old code is reformatted
# as it is touched rather than all at once.

# The C++ sources held to .clang-format: the product folders and the tests.
format_paths=(platform spectra scoring detection startup tests)
format_extensions=cpp,h

# The commit that added .clang-format. A shallow clone may not hold it (its oldest commit seems to
# add every file), so there the previous commit is the base, or HEAD itself in a one-commit clone.
format_base() {
  if [ "$(git rev-parse --is-shallow-repository)" = true ]; then
    if git rev-parse -q --verify HEAD~1 >/dev/null; then echo HEAD~1; else echo HEAD; fi
    return
  fi
  git log --diff-filter=A --format=%H -- .clang-format | tail -1
}

# git clang-format comes with Debian's clang-format package.
require_git_clang_format() {
  command -v git-clang-format >/dev/null || bash tools/install_dependencies.sh
}
