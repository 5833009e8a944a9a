#include "scoring/score_candidates.h"

#include <span>
#include <string>

#include "scoring/mars_model.h"

namespace corvid {

void scoreCandidates(MarsModelChoice choice, std::vector<PrecursorFeatures>& features,
                     std::vector<double>& scores) {
  for (PrecursorFeatures& candidate : features) {
    const double score = scoreByChoice(choice, std::span<const double>(candidate));
    candidate.push_back(score);
    scores.push_back(score);
  }
}

}  // namespace corvid
