#include "spectra/mass_analyzer_terms.h"

#include <array>
#include <utility>

#include "spectra/cv_accessions.h"

namespace corvid {
namespace {

// Rows printed by tools/make_mass_analyzer_terms.py from psi-ms.obo (data-version 4.1.257); a
// test checks them against the vocabulary in tests/data/qc.
constexpr std::array<MassAnalyzerTerm, 12> kTerms = {{
    {"MS:1000078", "axial ejection linear ion trap", "MS:1000291"},
    {"MS:1000079", "fourier transform ion cyclotron resonance", "MS:1000443"},
    {"MS:1000080", "magnetic sector", "MS:1000443"},
    {"MS:1000081", "quadrupole", "MS:1000443"},
    {"MS:1000082", "quadrupole ion trap", "MS:1000264"},
    {"MS:1000083", "radial ejection linear ion trap", "MS:1000291"},
    {"MS:1000084", "time-of-flight", "MS:1000443"},
    {"MS:1000254", "electrostatic energy analyzer", "MS:1000443"},
    {"MS:1000264", "ion trap", "MS:1000443"},
    {"MS:1000291", "linear ion trap", "MS:1000264"},
    {"MS:1000484", "orbitrap", "MS:1000443"},
    {"MS:1003379", "asymmetric track lossless time-of-flight analyzer", "MS:1000084"},
}};

// The terms that name a family. The Astral analyzer is filed under time-of-flight, but it is read
// like the Orbitrap it is paired with (high resolution, isotopes resolved), so it is a family
// term of its own and is met before its time-of-flight parent.
constexpr std::array<std::pair<std::string_view, AnalyzerKind>, 5> kFamilies = {{
    {cv::kOrbitrap, AnalyzerKind::FourierTransform},
    {cv::kFourierTransformIonCyclotronResonance, AnalyzerKind::FourierTransform},
    {cv::kAsymmetricTrackLosslessTimeOfFlight, AnalyzerKind::FourierTransform},
    {cv::kTimeOfFlight, AnalyzerKind::TimeOfFlight},
    {cv::kIonTrap, AnalyzerKind::IonTrap},
}};

AnalyzerKind familyTerm(std::string_view accession) {
  for (const auto& [term, kind] : kFamilies)
    if (term == accession) return kind;
  return AnalyzerKind::Unknown;
}

// Depth-first up the is_a relations; the table is shallow and free of cycles, and the depth bound
// keeps a damaged table from looping.
AnalyzerKind familyAbove(std::string_view accession, int depth) {
  const AnalyzerKind own = familyTerm(accession);
  if (own != AnalyzerKind::Unknown || depth > 16) return own;
  for (const MassAnalyzerTerm& term : kTerms) {
    if (term.accession != accession) continue;
    const AnalyzerKind kind = familyAbove(term.parent, depth + 1);
    if (kind != AnalyzerKind::Unknown) return kind;
  }
  return AnalyzerKind::Unknown;
}

}  // namespace

std::span<const MassAnalyzerTerm> massAnalyzerTerms() { return kTerms; }

AnalyzerKind analyzerKindOfTerm(std::string_view accession) { return familyAbove(accession, 0); }

std::string_view massAnalyzerTermName(std::string_view accession) {
  for (const MassAnalyzerTerm& term : kTerms)
    if (term.accession == accession) return term.name;
  return {};
}

}  // namespace corvid
