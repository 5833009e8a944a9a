#!/usr/bin/env bash
# Comet on BSA1 three ways, one target-decoy FDR each (the search-check yardstick's settings and
# FDR): the original mzML, Corvid's corrected mzML, and Corvid's MGF next to the instrument's MGF
# (the yardstick's own bsa1.sh). A spectrum searched from mzML is one query over all its
# selected ions: Comet reads every selected ion of a precursor as a (m/z, charge) to search.
#   bench/comet_corrected_mzml.sh <search-check folder> [build dir]
set -euo pipefail
cd "$(dirname "$0")/.."
yardstick=$(realpath "$1")
build=${2:-build}
corvid=$(realpath "$build/corvid")
bsa1=${CORVID_BSA1:-$HOME/.cache/corvid/pkg/usr/share/doc/openms/examples/BSA/BSA1.mzML}
cache=${CORVID_YARDSTICK_CACHE:-$HOME/.cache/corvid-yardsticks}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

(cd "$work" && "$corvid" -D "$bsa1" --outputpath=./ --extract_path=x --output_mzml=1 >/dev/null)
bash "$yardstick/bsa1.sh" "$cache" "$work/BSA1_CIDIT.mgf" | grep FDR | sed 's/^given/Corvid MGF/; s/^instrument/instrument MGF (msconvert)/'

sed -e "s|@TOL@|10|" -e "s|@ISO@|0|" -e "s|@MASSOFF@||" -e "s|@CAM@|57.021464|" -e "s|@THREADS@|2|" -e "s|@NL@|0|" \
  "$yardstick/comet.params.iontrap.template" >"$work/comet.params"
cp "$bsa1" "$work/original.mzML"
mv "$work/BSA1.corrected.mzML" "$work/corrected.mzML"
spectra=$(grep -c "<spectrum " "$work/original.mzML")
for name in original corrected; do
  comet-ms -P"$work/comet.params" -D"$cache/bsa1.td.fasta" -N"$work/$name" "$work/$name.mzML" >"$work/$name.log" 2>&1
  # Comet numbers mzML spectra by position: block n is spectrum n.
  { printf 'block\trun\tscan\tk\tcharge\tpepmass\tscan_source\ttitle\n'
    seq "$spectra" | awk '{printf "%d\tBSA1\t%d\t0\t0\t0\tindex\tindex=%d\n", $1, $1, $1}'; } >"$work/$name.blocks.tsv"
done
for q in 0.01 0.05; do
  for name in original corrected; do
    python3 "$yardstick/fdr.py" --fdr "$q" --label "$name mzML" "$work/$name.txt"
  done
done
echo "Comet result rows per corrected spectrum (one per selected ion charge searched):"
awk -F'\t' 'NR > 2 {print $1}' "$work/corrected.txt" | sort | uniq -c | awk '{print $1}' | sort -n | uniq -c |
  awk '{printf "  %d spectra with %d\n", $1, $2}'
