#pragma once
// The mass analyzers of the PSI-MS vocabulary and the analyzer family Corvid's MS1/MS2 text names
// for each. A term's family follows its is_a relations up to the nearest family term, so an analyzer
// the vocabulary files under orbitrap, time-of-flight or ion trap reads as its parent does.
#include <span>
#include <string_view>

#include "spectra/open_format_spectrum.h"

namespace corvid {

// One is_a relation of a term below "mass analyzer type"; a term with two parents has two rows.
struct MassAnalyzerTerm {
  std::string_view accession;
  std::string_view name;
  std::string_view parent;
};

std::span<const MassAnalyzerTerm> massAnalyzerTerms();

// The family of an analyzer term by its is_a relations; Unknown for a term that reaches none of
// the families (quadrupole, magnetic sector ...) and for accessions not in the table.
AnalyzerKind analyzerKindOfTerm(std::string_view accession);

// The term's name, empty for accessions not in the table.
std::string_view massAnalyzerTermName(std::string_view accession);

}  // namespace corvid
