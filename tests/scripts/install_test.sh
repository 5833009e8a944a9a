#!/usr/bin/env bash
# Installs the build into a temporary prefix and runs the installed corvid the ways a lab does:
# found through PATH from another folder, through a symlink in a third folder, with an absolute
# -I. Then packs the build as a Debian package and checks what it holds.
#   install_test.sh <build dir> <cmake> <cpack> <small mzML> [BSA1.mzML]
set -euo pipefail
build=$1 cmake=$2 cpack=$3 mzml=$4 bsa1=${5:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

"$cmake" --install "$build" --prefix "$work/prefix" >/dev/null
for file in bin/corvid bin/svmrunner share/corvid/IPV.txt share/corvid/qc/chart.min.js \
            share/corvid/qc/chartjs-chart-matrix.min.js; do
  [ -f "$work/prefix/$file" ] || fail "$file not installed"
done
echo "installed size: $(du -sk "$work/prefix" | cut -f1) KiB"

# The installed tree is found relative to the executable, wherever the prefix is.
check_run() {  # <label> <output folder> <command...>
  local label=$1 out=$2
  shift 2
  mkdir -p "$out"
  "$@" >"$out/console.txt" 2>&1 || fail "$label: exit status $? ($(tail -3 "$out/console.txt"))"
  grep -q "Please make sure the IPV.txt" "$out/console.txt" && fail "$label: IPV.txt not found"
  [ -s "$out/small.csv" ] || fail "$label: no CSV report"
  echo "$label: ok"
}

mkdir -p "$work/data" "$work/elsewhere" "$work/links"
cp "$mzml" "$work/data/small.mzML"
cd "$work/elsewhere"
check_run "from PATH" "$work/out-path" \
  env PATH="$work/prefix/bin:$PATH" corvid -D "$work/data/small.mzML" -O "$work/out-path" --strict_exit=1

# The main job, BSA1 with the defaults, from PATH in another folder.
if [ -f "$bsa1" ]; then
  cp "$bsa1" "$work/data/BSA1.mzML"
  mkdir -p "$work/out-bsa1"
  (cd "$work/elsewhere" && env PATH="$work/prefix/bin:$PATH" corvid -D "$work/data/BSA1.mzML" -O "$work/out-bsa1" \
    --strict_exit=1 >"$work/out-bsa1/console.txt" 2>&1) || fail "BSA1 from PATH: $(tail -3 "$work/out-bsa1/console.txt")"
  [ "$(grep -c "BEGIN IONS" "$work/out-bsa1/BSA1_CIDIT.mgf")" -gt 1000 ] || fail "BSA1 from PATH: too few MGF blocks"
  echo "BSA1 from PATH: ok"
fi

ln -s "$work/prefix/bin/corvid" "$work/links/corvid"
check_run "through a symlink" "$work/out-link" \
  "$work/links/corvid" -D "$work/data/small.mzML" -O "$work/out-link" --strict_exit=1

cp "$work/prefix/share/corvid/IPV.txt" "$work/table.txt"
check_run "absolute -I" "$work/out-ipv" \
  env PATH="$work/prefix/bin:$PATH" corvid -D "$work/data/small.mzML" -O "$work/out-ipv" -I "$work/table.txt" --strict_exit=1
mkdir -p "$work/out-missing"
if env PATH="$work/prefix/bin:$PATH" corvid -D "$work/data/small.mzML" -O "$work/out-missing" -I "$work/none.txt" \
    >"$work/out-missing/console.txt" 2>&1; then
  fail "a missing absolute -I table was not reported"
fi
grep -q "Please make sure the IPV.txt is with this Program" "$work/out-missing/console.txt" ||
  fail "a missing table does not give the usual message"
echo "missing absolute -I: usual message"

# Every run gives the same results.
cmp -s "$work/out-path/small_HCDFT.mgf" "$work/out-link/small_HCDFT.mgf" || fail "symlink run differs"
cmp -s "$work/out-path/small_HCDFT.mgf" "$work/out-ipv/small_HCDFT.mgf" || fail "absolute -I run differs"

if command -v dpkg-deb >/dev/null && command -v dpkg-shlibdeps >/dev/null; then
  (cd "$work" && "$cpack" -G DEB --config "$build/CPackConfig.cmake" -B "$work/package" >/dev/null)
  deb=$(ls "$work"/package/*.deb)
  listing=$(dpkg-deb -c "$deb")
  for file in ./usr/bin/corvid ./usr/bin/svmrunner ./usr/share/corvid/IPV.txt; do
    grep -q " $file\$" <<<"$listing" || fail "$file not in $(basename "$deb")"
  done
  echo "package $(basename "$deb"): $(du -k "$deb" | cut -f1) KiB, depends: $(dpkg-deb -f "$deb" Depends)"
else
  echo "dpkg-deb or dpkg-shlibdeps missing: Debian package not checked"
fi
