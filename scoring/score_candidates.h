#pragma once
// Scores every candidate of one activation group with the chosen MARS model.
#include <vector>

#include "scoring/mars_model.h"
#include "spectra/precursor_features.h"

namespace corvid {

// For each candidate in order: evaluates the selected model on its features and appends the score
// both to the candidate's own vector (which becomes one longer) and to scores. No candidates: no
// change.
void scoreCandidates(MarsModelChoice model, std::vector<PrecursorFeatures>& features,
                     std::vector<double>& scores);

}  // namespace corvid
