#pragma once
// Scores every candidate of one activation group with the MARS model chosen by mars_model.
#include <vector>

#include "scoring/precursor_features.h"
#include "startup/parameter_table.h"

namespace corvid {

// For each candidate in order: evaluates the selected model on its features and appends the score
// both to the candidate's own vector (which becomes one longer) and to scores. No candidates: no
// change. A missing mars_model key reads as empty text and selects the fallback model.
void scoreCandidates(const ParameterTable& parameters, std::vector<PrecursorFeatures>& features,
                     std::vector<double>& scores);

}  // namespace corvid
