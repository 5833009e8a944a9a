#pragma once
// The fixed-order feature vector of one candidate precursor. The order is part of the scoring
// models' data: their coefficient tables address features by position.
#include <cstddef>
#include <vector>

namespace corvid {

// 13 values after detection, 14 after scoring (the score is appended last), 15 in precision mode.
using PrecursorFeatures = std::vector<double>;

enum FeaturePosition : std::size_t {
  kFeatureCharge = 0,
  kFeatureMaxSim = 1,
  kFeatureMzSpread = 2,
  kFeatureMonoPlusOneCosine = 3,     // M / M+1 elution cosine
  kFeatureIsotopeShare = 4,
  kFeatureMinusOneMonoCosine = 5,    // M-1 / M elution cosine
  kFeatureIsoPeakInWindow = 6,
  kFeatureIsoLen = 7,
  kFeatureChargeTimesMz = 8,
  kFeatureElutionBoundaryCount = 9,
  kFeaturePif = 10,
  kFeatureShiftedSimilarityOne = 11,  // one leading zero
  kFeatureShiftedSimilarityTwo = 12,  // two leading zeros
  kFeatureScore = 13,
  // Precision mode only, appended after the score: the share of the window's current in the MS1
  // scan before the MS2 scan that lies on the candidate's isotopes 0..3.
  kFeatureWindowShare = 14,
};

inline constexpr std::size_t kDetectedFeatureCount = 13;

}  // namespace corvid
