#pragma once
// The scores and q-values corvid-reference-list knows by name: which way each one is better, and
// which ones a format uses when the user names none.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvid::reflist {

enum class SearchFormat { PepXml, MzIdentMl };

const char* formatName(SearchFormat format);

// A value a search result can carry, matched by its pepXML search_score name, its mzIdentML
// cvParam name or accession, or its mzIdentML userParam name.
struct ScoreName {
  std::string name;
  std::string accession;  // empty when there is none (pepXML names, userParams)
  bool lowerIsBetter = true;
};

// A known score named by its name or accession (with its direction); nullopt for an unknown one.
std::optional<ScoreName> knownScore(std::string_view nameOrAccession);

// The scores tried, in this order, when the user names none: the first one a hit carries becomes
// the score of the whole file.
std::vector<ScoreName> defaultScores(SearchFormat format);

// The q-value names tried, in this order, for --qvalue-max.
std::vector<ScoreName> qValueNames(SearchFormat format);

// Picks, hit by hit, one value out of the named ones a hit offers. The first hit that carries
// any of the candidates fixes which one is used, so every PSM of a file is ranked by the same
// score even when some hits carry several.
class ValuePicker {
 public:
  explicit ValuePicker(std::vector<ScoreName> candidates);
  void startHit();
  void offer(std::string_view name, std::string_view accession, std::string_view value);
  // The value of the fixed candidate for the hit just offered, or NaN.
  double finishHit();
  // The fixed candidate, once a hit has fixed it.
  const ScoreName* chosen() const;

 private:
  std::vector<ScoreName> candidates_;
  std::vector<double> hitValues_;
  int chosen_ = -1;
};

}  // namespace corvid::reflist
