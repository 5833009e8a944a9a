#include "spectra/open_format_terms.h"

#include <array>
#include <charconv>
#include <utility>

#include "platform/text_pieces.h"
#include "spectra/cv_accessions.h"
#include "spectra/mass_analyzer_terms.h"

namespace corvid {

namespace {

bool containsIgnoringCase(std::string_view text, std::string_view word) {
  if (word.size() > text.size()) return false;
  for (std::size_t start = 0; start + word.size() <= text.size(); ++start) {
    std::size_t k = 0;
    while (k < word.size()) {
      char a = text[start + k];
      char b = word[k];
      if (a >= 'A' && a <= 'Z') a = static_cast<char>(a - 'A' + 'a');
      if (b >= 'A' && b <= 'Z') b = static_cast<char>(b - 'A' + 'a');
      if (a != b) break;
      ++k;
    }
    if (k == word.size()) return true;
  }
  return false;
}

// PSI-MS dissociation terms with the three letters MS2 text carries for them.
constexpr std::array<std::pair<std::string_view, std::string_view>, 14> kActivationTerms = {{
    {cv::kCollisionInducedDissociation, "CID"},
    {cv::kBeamTypeCollisionInducedDissociation, "HCD"},
    {cv::kHigherEnergyBeamTypeCollisionInducedDissociation, "HCD"},
    {cv::kTrapTypeCollisionInducedDissociation, "CID"},
    {cv::kElectronTransferDissociation, "ETD"},
    {cv::kPulsedQDissociation, "PQD"},
    {cv::kElectronCaptureDissociation, "ECD"},
    {cv::kInfraredMultiphotonDissociation, "IRM"},
    {cv::kUltravioletPhotodissociation, "UVP"},
    {cv::kPhotodissociation, "UNK"},
    {cv::kSurfaceInducedDissociation, "UNK"},
    {cv::kPlasmaDesorption, "UNK"},
    {cv::kPostSourceDecay, "UNK"},
    {cv::kDissociationMethod, "UNK"},  // unspecified
}};

}  // namespace

AnalyzerKind analyzerFromAccession(std::string_view accession) { return analyzerKindOfTerm(accession); }

AnalyzerKind analyzerFromName(std::string_view name) {
  if (containsIgnoringCase(name, "orbitrap") || containsIgnoringCase(name, "FT") ||
      containsIgnoringCase(name, "ICR"))
    return AnalyzerKind::FourierTransform;
  if (containsIgnoringCase(name, "TOF")) return AnalyzerKind::TimeOfFlight;
  if (containsIgnoringCase(name, "trap") || containsIgnoringCase(name, "IT") ||
      containsIgnoringCase(name, "LTQ"))
    return AnalyzerKind::IonTrap;
  return AnalyzerKind::Unknown;
}

AnalyzerKind analyzerFromFilter(std::string_view filter) {
  filter = trimmed(filter);
  if (filter.starts_with("FTMS")) return AnalyzerKind::FourierTransform;
  if (filter.starts_with("ITMS")) return AnalyzerKind::IonTrap;
  if (filter.starts_with("TOF")) return AnalyzerKind::TimeOfFlight;
  return AnalyzerKind::Unknown;
}

const char* analyzerText(AnalyzerKind kind) {
  switch (kind) {
    case AnalyzerKind::FourierTransform:
      return "FTMS";
    case AnalyzerKind::TimeOfFlight:
      return "QTOF";
    case AnalyzerKind::IonTrap:
      return "ITMS";
    case AnalyzerKind::Unknown:
      break;
  }
  return "ITMS";
}

std::string_view activationFromAccession(std::string_view accession) {
  for (const auto& [term, name] : kActivationTerms)
    if (term == accession) return name;
  return {};
}

std::string activationFromMethodName(std::string_view method) {
  method = trimmed(method);
  if (method.empty()) return {};
  if (containsIgnoringCase(method, "HCD") || containsIgnoringCase(method, "beam")) return "HCD";
  if (containsIgnoringCase(method, "ETD")) return "ETD";
  if (containsIgnoringCase(method, "CID") || containsIgnoringCase(method, "CAD")) return "CID";
  if (containsIgnoringCase(method, "PQD")) return "PQD";
  if (containsIgnoringCase(method, "ECD")) return "ECD";
  return "UNK";
}

std::string_view activationFromFilter(std::string_view filter) {
  // The activation follows the precursor m/z: "457.72@cid35.00"; the last one names the final step.
  std::size_t at = filter.rfind('@');
  if (at == std::string_view::npos) return {};
  std::string_view rest = filter.substr(at + 1);
  if (containsIgnoringCase(rest.substr(0, 3), "hcd")) return "HCD";
  if (containsIgnoringCase(rest.substr(0, 3), "etd")) return "ETD";
  if (containsIgnoringCase(rest.substr(0, 3), "cid")) return "CID";
  if (containsIgnoringCase(rest.substr(0, 3), "pqd")) return "PQD";
  if (containsIgnoringCase(rest.substr(0, 3), "ecd")) return "ECD";
  return "UNK";
}

bool parseReal(std::string_view text, double& value) {
  text = trimmed(text);
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  if (text.empty()) return false;
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  return ec == std::errc() && end == text.data() + text.size();
}

bool parseInteger(std::string_view text, long long& value) {
  text = trimmed(text);
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  if (text.empty()) return false;
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  return ec == std::errc() && end == text.data() + text.size();
}

bool parseDurationSeconds(std::string_view text, double& seconds) {
  text = trimmed(text);
  if (text.starts_with("-")) return false;
  if (!text.starts_with("PT")) return parseReal(text, seconds);  // bare seconds, seen in old files
  text.remove_prefix(2);
  if (text.empty()) return false;
  seconds = 0.0;
  while (!text.empty()) {
    std::size_t unit = text.find_first_of("HMS");
    if (unit == std::string_view::npos || unit == 0) return false;
    double part = 0.0;
    if (!parseReal(text.substr(0, unit), part)) return false;
    if (text[unit] == 'H') seconds += part * 3600.0;
    if (text[unit] == 'M') seconds += part * 60.0;
    if (text[unit] == 'S') seconds += part;
    text.remove_prefix(unit + 1);
  }
  return true;
}

}  // namespace corvid
