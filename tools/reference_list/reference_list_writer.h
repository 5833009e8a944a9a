#pragma once
// Writes the reference list Corvid reads with -T: one line per entry, "scan TAB m/z TAB charge
// TAB score" ended by LF, no header, sorted by scan (then m/z, then charge).
#include <string>
#include <vector>

namespace corvid::reflist {

struct ReferenceEntry {
  long scan = 0;
  double precursorMz = 0.0;
  int charge = 0;
  double score = 0.0;
};

// The list as text, printed with "%ld\t%.6f\t%d\t%g\n": plain decimal scan, charge and m/z (six
// decimals, finer than any instrument), the score in the shortest of fixed or exponent notation
// (1e-05 for tiny E-values), which Corvid's reader accepts.
std::string formatReferenceList(std::vector<ReferenceEntry> entries);

// Writes `text` to `path` through a temporary file in the same folder, renamed into place once
// complete, so an interrupted run never leaves a partial list. Throws InputError on failure.
void writeFileAtomically(const std::string& path, const std::string& text);

}  // namespace corvid::reflist
