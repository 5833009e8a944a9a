#!/usr/bin/env bash
# Regenerates the real search-result fixtures of corvid-reference-list in tests/data/search/:
#   BSA1.pep.xml.gz    Comet's pepXML for BSA1.mzML (Debian's openms-doc example run) searched against
#                      its 18-protein FASTA plus reversed decoys (DECOY_ prefix), two hits per spectrum
#   BSA1.mzid.gz       the same identifications as mzIdentML, converted by OpenMS's IDFileConverter
#   BSA1_scans.csv.gz  Corvid's extraction summary of BSA1.mzML (for --scan-map)
#   BSA1.*.reflist     the expected reference lists (written by the freshly built corvid-reference-list)
# usage: make_reference_fixtures.sh BUILD_DIR     (a build folder holding corvid and corvid-reference-list)
# Needs comet-ms and topp (IDFileConverter) from Debian; both are installed when missing.
# The search: trypsin, 2 missed cleavages, fixed carbamidomethyl C, variable Met oxidation,
# 10 ppm precursor tolerance, isotope error off, ion-trap fragment bins.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
repo="$(cd "$here/.." && pwd)"
build="$(cd "${1:?usage: make_reference_fixtures.sh BUILD_DIR}" && pwd)"
out="$repo/tests/data/search"
need=""
command -v comet-ms >/dev/null || need="$need comet-ms"
command -v IDFileConverter >/dev/null || need="$need topp"
[ -z "$need" ] || { apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $need >/dev/null; }

mzml="$(bash "$here/fetch_bsa1.sh")"
fasta="$(dirname "$mzml")/../TOPPAS/data/BSA_Identification/18Protein_SoCe_Tr_detergents_trace.fasta"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

# Target-decoy database: every protein, then every protein reversed as DECOY_<accession>.
awk -v decoys="$work/decoys.fasta" '
  function flush() { if (name != "") { rev = ""; for (i = length(seq); i > 0; --i) rev = rev substr(seq, i, 1);
                       print ">DECOY_" name > decoys; for (i = 1; i <= length(rev); i += 60) print substr(rev, i, 60) > decoys } }
  /^>/ { flush(); split(substr($0, 2), words, " "); name = words[1]; seq = ""; print; next }
  { gsub(/[ \r]/, ""); seq = seq $0; print }
  END { flush() }' "$fasta" > "$work/td.fasta"
cat "$work/decoys.fasta" >> "$work/td.fasta"

cat > "$work/comet.params" <<'PARAMS'
# comet_version 2019.01 rev. 5
database_name = /unused.fasta
decoy_search = 0
num_threads = 2
peptide_mass_tolerance = 10
peptide_mass_units = 2
mass_type_parent = 1
mass_type_fragment = 1
precursor_tolerance_type = 1
isotope_error = 0
search_enzyme_number = 1
num_enzyme_termini = 2
allowed_missed_cleavage = 2
variable_mod01 = 15.9949 M 0 3 -1 0 0 0.0
max_variable_mods_in_peptide = 3
fragment_bin_tol = 1.0005
fragment_bin_offset = 0.4
theoretical_fragment_ions = 1
use_B_ions = 1
use_Y_ions = 1
output_sqtfile = 0
output_txtfile = 0
output_pepxmlfile = 1
output_percolatorfile = 0
print_expect_score = 1
num_output_lines = 2
max_duplicate_proteins = 20
decoy_prefix = DECOY_
equal_I_and_L = 1
digest_mass_range = 600.0 5000.0
max_precursor_charge = 6
max_fragment_charge = 3
add_C_cysteine = 57.021464
[COMET_ENZYME_INFO]
0.  No_enzyme              0      -           -
1.  Trypsin                1      KR          P
PARAMS

cp "$mzml" "$work/BSA1.mzML"
(cd "$work" && comet-ms -Pcomet.params -Dtd.fasta BSA1.mzML > comet.log 2>&1) || {
  cat "$work/comet.log" >&2; exit 1; }
# Paths of this machine would make the fixture differ from one run to the next.
sed -e "s|$work/||g" "$work/BSA1.pep.xml" > "$work/BSA1.clean.pep.xml"
mv "$work/BSA1.clean.pep.xml" "$work/BSA1.pep.xml"
IDFileConverter -in "$work/BSA1.pep.xml" -out "$work/BSA1.mzid" -no_progress > "$work/convert.log" 2>&1 || {
  cat "$work/convert.log" >&2; exit 1; }
sed -i -e "s|$work/||g" "$work/BSA1.mzid"

# Corvid's own numbering of BSA1: extract it and keep the summary.
mkdir -p "$work/out"
"$build/corvid" -D "$work/BSA1.mzML" -O "$work/out/" -L "$work/out/" > "$work/corvid.log" 2>&1 || {
  cat "$work/corvid.log" >&2; exit 1; }

gzip -9nc "$work/BSA1.pep.xml" > "$out/BSA1.pep.xml.gz"
gzip -9nc "$work/BSA1.mzid" > "$out/BSA1.mzid.gz"
gzip -9nc "$work/BSA1_scans.csv" > "$out/BSA1_scans.csv.gz"

# The expected lists: 1 % FDR by target-decoy counting on Comet's expect, Corvid's scan numbers.
for input in BSA1.pep.xml BSA1.mzid; do
  "$build/corvid-reference-list" --fdr 0.01 --scan-map "$out/BSA1_scans.csv.gz" \
    -o "$out/$input.reflist" "$out/$input.gz"
done
ls -l "$out"
