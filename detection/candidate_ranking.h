#pragma once
// Per-scan ranking of the surviving candidates and the per-scan limit.
#include <array>
#include <vector>

#include "detection/detection_context.h"

namespace corvid {

// Row of the per-scan ranking: 0 recalibrated m/z, 1 charge, 2 MaxSim, 3 m/z spread,
// 4 M/M+1 cosine, 5 isotope share, 6 M-1/M cosine, 7 PIF, 8 position (from 1) among the run's
// accepted candidates, 9..14 the dense ranks of values 2..7, 15 the rank product.
using RankingRow = std::array<double, 16>;

// Sorts each of values 2..7 (descending for 2, 4, 5, 7; ascending for 3, 6), stores the dense
// ranks in slots 9..14, slot 15 = r9^3 x r11 x r13 x r14^3, then orders the rows by slot 15.
void rankCandidateRows(std::vector<RankingRow>& rows);

// Applies the ranking and the limit of the settings to scratch.scanCandidates and appends the
// kept candidates to the output's feature and record lists; returns the number kept.
std::size_t finishScanCandidates(const DetectionSettings& settings, DetectionScratch& scratch, DetectionOutput& output);

}  // namespace corvid
