#include "tools/reference_list/score_catalog.h"

#include <cmath>

#include "tools/reference_list/number_text.h"

namespace corvid::reflist {

namespace {

constexpr bool kLower = true;
constexpr bool kHigher = false;

// Engine scores whose direction is known. Expectation values and E-values are lower-is-better;
// correlation and hyper scores are higher-is-better.
const std::vector<ScoreName>& knownScores() {
  static const std::vector<ScoreName> scores = {
      {"expect", "", kLower},  // Comet, MSFragger, X!Tandem pepXML; OpenMS userParam
      {"xcorr", "", kHigher},
      {"hyperscore", "", kHigher},
      {"ionscore", "", kHigher},  // Mascot pepXML
      {"Comet:expectation value", "MS:1002257", kLower},
      {"Comet:xcorr", "MS:1002252", kHigher},
      {"MS-GF:SpecEValue", "MS:1002052", kLower},
      {"MS-GF:EValue", "MS:1002053", kLower},
      {"MS-GF:RawScore", "MS:1002049", kHigher},
      {"X!Tandem:expect", "MS:1001330", kLower},
      {"X!Tandem:hyperscore", "MS:1001331", kHigher},
      {"OMSSA:evalue", "MS:1001328", kLower},
      {"Mascot:score", "MS:1001171", kHigher},
      {"Mascot:expectation value", "MS:1001172", kLower},
      {"percolator:score", "MS:1001492", kHigher},
  };
  return scores;
}

ScoreName known(std::string_view name) {
  for (const ScoreName& score : knownScores()) {
    if (score.name == name) return score;
  }
  return {std::string(name), "", kLower};
}

bool matches(const ScoreName& candidate, std::string_view name, std::string_view accession) {
  if (!candidate.accession.empty() && candidate.accession == accession) return true;
  return !name.empty() && candidate.name == name;
}

}  // namespace

const char* formatName(SearchFormat format) { return format == SearchFormat::PepXml ? "pepXML" : "mzIdentML"; }

std::optional<ScoreName> knownScore(std::string_view nameOrAccession) {
  if (nameOrAccession.empty()) return std::nullopt;
  for (const ScoreName& score : knownScores()) {
    if (score.name == nameOrAccession || score.accession == nameOrAccession) return score;
  }
  return std::nullopt;
}

std::vector<ScoreName> defaultScores(SearchFormat format) {
  if (format == SearchFormat::PepXml) return {known("expect"), known("hyperscore"), known("xcorr"), known("ionscore")};
  return {known("Comet:expectation value"), known("MS-GF:SpecEValue"), known("X!Tandem:expect"),
          known("OMSSA:evalue"), known("Mascot:expectation value"), known("expect"),
          known("Comet:xcorr"), known("X!Tandem:hyperscore"), known("Mascot:score")};
}

std::vector<ScoreName> qValueNames(SearchFormat format) {
  if (format == SearchFormat::PepXml) {
    return {{"qvalue", "", kLower}, {"q-value", "", kLower}, {"q_value", "", kLower},
            {"percolator_qvalue", "", kLower}};
  }
  // PSM-level q-values first; the peptide-level one only when a file has nothing finer.
  return {{"PSM-level q-value", "MS:1002354", kLower},
          {"MS-GF:QValue", "MS:1002054", kLower},
          {"percolator:Q value", "MS:1001491", kLower},
          {"q-value", "", kLower},
          {"qvalue", "", kLower},
          {"q_value", "", kLower},
          {"distinct peptide-level q-value", "MS:1001868", kLower}};
}

ValuePicker::ValuePicker(std::vector<ScoreName> candidates)
    : candidates_(std::move(candidates)), hitValues_(candidates_.size(), std::nan("")) {}

void ValuePicker::startHit() {
  for (double& value : hitValues_) value = std::nan("");
}

void ValuePicker::offer(std::string_view name, std::string_view accession, std::string_view value) {
  for (std::size_t i = 0; i < candidates_.size(); ++i) {
    if (!matches(candidates_[i], name, accession)) continue;
    // A value that is not a number (a text userParam of the same name) is no score.
    if (const auto number = parseReal(value)) hitValues_[i] = *number;
    return;
  }
}

double ValuePicker::finishHit() {
  if (chosen_ < 0) {
    for (std::size_t i = 0; i < hitValues_.size(); ++i) {
      if (!std::isnan(hitValues_[i])) {
        chosen_ = static_cast<int>(i);
        break;
      }
    }
  }
  return chosen_ < 0 ? std::nan("") : hitValues_[static_cast<std::size_t>(chosen_)];
}

const ScoreName* ValuePicker::chosen() const {
  return chosen_ < 0 ? nullptr : &candidates_[static_cast<std::size_t>(chosen_)];
}

}  // namespace corvid::reflist
