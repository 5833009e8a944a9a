#pragma once
// One peptide-spectrum match as corvid-reference-list keeps it: the rank-1 hit of one spectrum
// query, reduced to what a reference list and the target-decoy cut need.
#include <cmath>
#include <string>

namespace corvid::reflist {

struct Psm {
  // Identifies the spectrum across several queries of it (one per assumed charge): the native id
  // when the file names one, otherwise the spectrum title or the scan number as text.
  std::string spectrumKey;
  // The spectrum's native id ("controllerType=0 controllerNumber=1 scan=7", "spectrum=2442"), or
  // empty when the file gives none; the scan map matches it first.
  std::string nativeId;
  // The scan number the file gives (0 when it gives none); becomes Corvid's number through a map.
  long scan = 0;
  double precursorMz = 0.0;
  int charge = 0;
  // NaN when the hit lacks the chosen score or any q-value.
  double score = std::nan("");
  double qValue = std::nan("");
  // Every protein of the hit is a decoy one.
  bool isDecoy = false;
};

inline bool hasValue(double value) { return !std::isnan(value); }

}  // namespace corvid::reflist
