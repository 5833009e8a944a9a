#pragma once
// Which PSMs make the reference list: one per spectrum, then the targets that pass the cut.
#include <cstddef>
#include <vector>

#include "tools/reference_list/psm.h"

namespace corvid::reflist {

// Keeps one PSM per spectrum key (a spectrum searched at several assumed charges yields one
// query per charge): the one with the best score, or the lowest q-value when `byQValue`. A PSM
// that lacks the value loses to one that has it; among equals the first in the file wins.
// The survivors keep their file order.
std::vector<Psm> bestPsmPerSpectrum(const std::vector<Psm>& psms, bool byQValue, bool lowerIsBetter);

struct CutResult {
  std::vector<Psm> kept;        // target PSMs that pass, in input order
  std::size_t targets = 0;      // among the PSMs that carry the value
  std::size_t decoys = 0;
  std::size_t withoutValue = 0; // PSMs left out because they lack the score or q-value
  // The worst score still kept (--fdr); NaN when nothing is kept.
  double scoreThreshold = 0.0;
};

// Target-decoy counting. PSMs are ranked best score first; PSMs of equal score form one step.
// After each step FDR = decoys / targets among all PSMs up to and including it (infinite while
// no target is in). A PSM's q-value is the lowest FDR of its own step and every worse step;
// targets whose q-value is at most `maxFdr` are kept.
CutResult cutAtFdr(const std::vector<Psm>& psms, double maxFdr, bool lowerIsBetter);

// Keeps the targets whose own q-value (as the file gives it) is at most `maxQValue`.
CutResult cutAtQValue(const std::vector<Psm>& psms, double maxQValue);

}  // namespace corvid::reflist
