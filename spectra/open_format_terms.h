#pragma once
// Controlled-vocabulary terms and vendor texts of open formats mapped to what MS1/MS2 text needs:
// analyzer family, activation name, retention time in seconds.
#include <string>
#include <string_view>

#include "spectra/open_format_spectrum.h"

namespace corvid {

// Analyzer family of a PSI-MS analyzer accession (orbitrap, ion trap ...), Unknown otherwise.
AnalyzerKind analyzerFromAccession(std::string_view accession);
// Analyzer family of an mzXML msMassAnalyzer value ("FTMS", "Orbitrap", "ITMS", "TOF" ...).
AnalyzerKind analyzerFromName(std::string_view name);
// Analyzer family from the start of a Thermo filter line ("FTMS + p ...", "ITMS + c ...").
AnalyzerKind analyzerFromFilter(std::string_view filter);
// "FTMS", "ITMS", "QTOF"; Unknown is written as "ITMS" by the caller's choice.
const char* analyzerText(AnalyzerKind kind);

// Activation name of a PSI-MS dissociation accession: "CID", "ETD", "HCD" (beam-type collision),
// "PQD", "ECD", "IRM" (IRMPD), "UVP" (UVPD), "UNK" for any other dissociation term; "" when the
// accession is not a dissociation method.
std::string_view activationFromAccession(std::string_view accession);
// Activation name from an mzXML activationMethod attribute; beam-type CID is HCD.
std::string activationFromMethodName(std::string_view method);
// Activation name from a Thermo filter line ("...@cid35.00 ...", "@hcd", "@etd"); "" when none.
std::string_view activationFromFilter(std::string_view filter);

// Seconds of an xs:duration such as "PT1503.96S", "PT25.5M" or "PT1H2M3S"; false when malformed.
bool parseDurationSeconds(std::string_view text, double& seconds);
// Number of a text attribute or cvParam value (std::from_chars); false when not a whole number
// text.
bool parseReal(std::string_view text, double& value);
bool parseInteger(std::string_view text, long long& value);

}  // namespace corvid
