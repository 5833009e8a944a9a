#include "scoring/score_candidates.h"

#include <span>
#include <string>

#include "scoring/mars_model.h"

namespace corvid {

void scoreCandidates(const ParameterTable& parameters, std::vector<PrecursorFeatures>& features,
                     std::vector<double>& scores) {
  if (features.empty()) return;
  // The table is not changed while a group is scored, so the choice made here is the one every
  // candidate would get by looking the key up again.
  static const std::string kNoValue;
  const auto found = parameters.find("mars_model");
  const MarsModelChoice choice = selectMarsModel(found == parameters.end() ? kNoValue : found->second);
  for (PrecursorFeatures& candidate : features) {
    const double score = scoreByChoice(choice, std::span<const double>(candidate));
    candidate.push_back(score);
    scores.push_back(score);
  }
}

}  // namespace corvid
