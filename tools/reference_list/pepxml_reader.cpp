#include "tools/reference_list/pepxml_reader.h"

#include "tools/reference_list/errors.h"
#include "tools/reference_list/number_text.h"
#include "tools/reference_list/spectrum_numbers.h"
#include "tools/reference_list/xml_file_reader.h"

namespace corvid::reflist {

namespace {

// Corvid's proton mass: the m/z written must match the one Corvid computes.
constexpr double kProtonMass = 1.007276;

class PepXmlHandler : public XmlHandler {
 public:
  PepXmlHandler(const ReadSettings& settings, SearchResults& results)
      : settings_(settings),
        results_(results),
        scores_(settings.score ? std::vector<ScoreName>{*settings.score} : defaultScores(SearchFormat::PepXml)),
        qValues_(qValueNames(SearchFormat::PepXml)) {}

  void startElement(std::string_view name, const XmlAttributes& attributes) override {
    if (name == "msms_run_summary") {
      ++results_.runs;
    } else if (name == "spectrum_query") {
      startQuery(attributes);
    } else if (name == "search_hit") {
      startHit(attributes);
    } else if (!inHit_) {
      return;
    } else if (name == "alternative_protein") {
      if (!isDecoyProtein(attributes.get("protein"))) hit_.isDecoy = false;
    } else if (name == "search_score") {
      scores_.offer(attributes.get("name"), "", attributes.get("value"));
      qValues_.offer(attributes.get("name"), "", attributes.get("value"));
    } else if (name == "analysis_result") {
      ++analysisDepth_;
    } else if (analysisDepth_ > 0) {
      offerAnalysisValues(name, attributes);
    }
  }

  void endElement(std::string_view name) override {
    if (name == "search_hit" && inHit_) {
      finishHit();
    } else if (name == "analysis_result" && analysisDepth_ > 0) {
      --analysisDepth_;
    } else if (name == "spectrum_query") {
      inQuery_ = false;
    }
  }

 private:
  bool isDecoyProtein(std::string_view protein) const {
    return !settings_.decoyPrefix.empty() && protein.substr(0, settings_.decoyPrefix.size()) == settings_.decoyPrefix;
  }

  void startQuery(const XmlAttributes& attributes) {
    ++results_.queries;
    inQuery_ = true;
    queryHasRankOne_ = false;
    query_ = Psm{};
    const std::string_view spectrum = attributes.get("spectrum");
    query_.nativeId = std::string(attributes.get("spectrumNativeID"));
    const auto startScan = parseInteger(attributes.get("start_scan"));
    query_.scan = startScan && *startScan > 0 ? *startScan : scanFromTitle(spectrum);
    const auto charge = parseInteger(attributes.get("assumed_charge"));
    if (!charge || *charge < 1 || *charge > 1000) {
      throw InputError("spectrum_query \"" + std::string(spectrum) + "\" has no usable assumed_charge");
    }
    const auto neutralMass = parseReal(attributes.get("precursor_neutral_mass"));
    if (!neutralMass) {
      throw InputError("spectrum_query \"" + std::string(spectrum) + "\" has no usable precursor_neutral_mass");
    }
    query_.charge = static_cast<int>(*charge);
    query_.precursorMz = (*neutralMass + query_.charge * kProtonMass) / query_.charge;
    // The name without its trailing ".CHARGE", so the queries of one spectrum share a key.
    std::string_view stem = spectrum.substr(0, spectrum.rfind('.'));
    if (!query_.nativeId.empty()) {
      query_.spectrumKey = query_.nativeId;
    } else if (!stem.empty()) {
      query_.spectrumKey = std::string(stem);
    } else {
      query_.spectrumKey = "scan " + std::to_string(query_.scan);
    }
  }

  void startHit(const XmlAttributes& attributes) {
    if (!inQuery_ || queryHasRankOne_) return;
    // Tied hits share rank 1; the first one written is the engine's pick.
    const auto rank = parseInteger(attributes.get("hit_rank"));
    if (!rank || *rank != 1) return;
    inHit_ = true;
    analysisDepth_ = 0;
    hit_ = query_;
    hit_.isDecoy = isDecoyProtein(attributes.get("protein"));
    scores_.startHit();
    qValues_.startHit();
  }

  // Percolator and similar post-processors put their q-value into analysis_result, either as an
  // attribute of their result element or as a <parameter name=... value=...>.
  void offerAnalysisValues(std::string_view name, const XmlAttributes& attributes) {
    if (name == "parameter") {
      qValues_.offer(attributes.get("name"), "", attributes.get("value"));
      return;
    }
    for (const char* key : {"qvalue", "q-value", "q_value"}) {
      if (const char* value = attributes.find(key)) qValues_.offer(key, "", value);
    }
  }

  void finishHit() {
    inHit_ = false;
    queryHasRankOne_ = true;
    hit_.score = scores_.finishHit();
    hit_.qValue = qValues_.finishHit();
    results_.psms.push_back(std::move(hit_));
    if (!results_.score && scores_.chosen()) results_.score = *scores_.chosen();
    if (!results_.qValue && qValues_.chosen()) results_.qValue = *qValues_.chosen();
  }

  const ReadSettings& settings_;
  SearchResults& results_;
  ValuePicker scores_;
  ValuePicker qValues_;
  Psm query_;
  Psm hit_;
  bool inQuery_ = false;
  bool queryHasRankOne_ = false;
  bool inHit_ = false;
  int analysisDepth_ = 0;
};

}  // namespace

SearchResults readPepXml(const std::string& path, const ReadSettings& settings) {
  SearchResults results;
  results.format = SearchFormat::PepXml;
  PepXmlHandler handler(settings, results);
  readXmlFile(path, handler);
  return results;
}

}  // namespace corvid::reflist
