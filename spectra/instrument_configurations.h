#pragma once
// The instrument configurations of an mzML file and the analyzer family each names, so that a
// spectrum's analyzer follows its scan's configuration, else the run's default one.
#include <string>
#include <string_view>
#include <unordered_map>

#include "spectra/open_format_spectrum.h"

namespace corvid {

struct InstrumentConfigurations {
  std::unordered_map<std::string, AnalyzerKind> families;  // configuration id -> analyzer family
  std::unordered_map<std::string, std::string> unknown;    // configuration id -> analyzer term without a family
  std::string current;                                     // the configuration being read
  std::string runDefault;                                  // the run's defaultInstrumentConfigurationRef
};

void startConfiguration(InstrumentConfigurations& configurations, std::string id);

// An analyzer cvParam of the current configuration: a term with a family sets it (the last such
// analyzer wins, the TOF of a quadrupole-TOF); one without is kept to be named in an Alert.
void addAnalyzerTerm(InstrumentConfigurations& configurations, std::string_view accession);

// The spectrum's analyzer from its scan's configuration (empty: none named), else the run's
// default; when neither has a family, unknownTerm names what the file gave.
AnalyzerKind configuredAnalyzer(const InstrumentConfigurations& configurations, const std::string& scanConfiguration,
                                std::string& unknownTerm);

}  // namespace corvid
