#pragma once
// Scoring and choosing one activation group's candidates: the SVM or the MARS model, the
// reference-list reports around scoring, then the threshold or precision mode's classifier.
#include "startup/pair_run.h"

namespace corvid {

// "Check <n><closing>": how many entries of the reference list the candidates found.
void reportFoundCount(const ReferencePrecursorList& reference, const char* closing);

// Scores the group's candidates (run.context's features and records) and keeps the chosen ones in
// run.context.records; with the precursor table or the corrected mzML, their features go to
// run.keptFeatures.
void scoreAndFilterGroup(PairRun& run, int group);

}  // namespace corvid
