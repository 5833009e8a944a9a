#pragma once
// What the pepXML and mzIdentML readers hand on: the rank-1 PSM of every spectrum query, and
// which score and q-value they were read with.
#include <optional>
#include <string>
#include <vector>

#include "tools/reference_list/psm.h"
#include "tools/reference_list/score_catalog.h"

namespace corvid::reflist {

struct ReadSettings {
  std::string decoyPrefix = "DECOY_";
  // The score written as the fourth value and used by the FDR cut; empty = the format's defaults.
  std::optional<ScoreName> score;
};

struct SearchResults {
  SearchFormat format = SearchFormat::PepXml;
  std::vector<Psm> psms;     // one per spectrum query that has a rank-1 hit, in file order
  long queries = 0;          // spectrum queries (pepXML) / identification results (mzIdentML)
  int runs = 0;              // msms_run_summary / SpectraData elements
  std::optional<ScoreName> score;   // the score the PSMs carry, once one was found
  std::optional<ScoreName> qValue;  // the q-value the PSMs carry, once one was found
};

}  // namespace corvid::reflist
