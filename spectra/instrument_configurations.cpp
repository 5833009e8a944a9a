#include "spectra/instrument_configurations.h"

#include <utility>

#include "spectra/mass_analyzer_terms.h"
#include "spectra/open_format_terms.h"

namespace corvid {

void startConfiguration(InstrumentConfigurations& configurations, std::string id) {
  configurations.current = std::move(id);
  configurations.families.emplace(configurations.current, AnalyzerKind::Unknown);
}

void addAnalyzerTerm(InstrumentConfigurations& configurations, std::string_view accession) {
  const AnalyzerKind kind = analyzerFromAccession(accession);
  if (kind != AnalyzerKind::Unknown) {
    configurations.families[configurations.current] = kind;
  } else if (!accession.empty()) {
    const std::string_view name = massAnalyzerTermName(accession);
    configurations.unknown[configurations.current] =
        name.empty() ? std::string(accession) : std::string(accession) + " " + std::string(name);
  }
}

AnalyzerKind configuredAnalyzer(const InstrumentConfigurations& configurations, const std::string& scanConfiguration,
                                std::string& unknownTerm) {
  for (const std::string* id : {&scanConfiguration, &configurations.runDefault}) {
    if (id->empty() && id == &scanConfiguration) continue;
    const auto family = configurations.families.find(*id);
    if (family != configurations.families.end() && family->second != AnalyzerKind::Unknown) return family->second;
  }
  for (const std::string* id : {&scanConfiguration, &configurations.runDefault}) {
    const auto named = configurations.unknown.find(*id);
    if (named != configurations.unknown.end()) {
      unknownTerm = named->second;
      break;
    }
  }
  return AnalyzerKind::Unknown;
}

}  // namespace corvid
