#pragma once
// The fixed-order feature vector of one candidate precursor. The order is part of the scoring
// models' data: their coefficient tables address features by position.
#include <array>
#include <cstddef>
#include <string_view>
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

// The features' names, in feature order, as the precursor table's header and the precision
// model's inputs spell them.
inline constexpr std::array<std::string_view, kDetectedFeatureCount> kDetectedFeatureNames = {
    "f_charge",
    "f_max_similarity",
    "f_mz_spread",
    "f_mono_plus_one_cosine",
    "f_isotope_share",
    "f_minus_one_mono_cosine",
    "f_isotope_peaks_in_window",
    "f_isotope_length",
    "f_charge_times_mz",
    "f_elution_boundaries",
    "f_precursor_ion_fraction",
    "f_shifted_similarity_one",
    "f_shifted_similarity_two"};
inline constexpr std::string_view kWindowShareFeatureName = "f_window_share";

}  // namespace corvid
