#include "tools/reference_list/mzidentml_reader.h"

#include <unordered_map>

#include "tools/reference_list/errors.h"
#include "tools/reference_list/number_text.h"
#include "tools/reference_list/spectrum_numbers.h"
#include "tools/reference_list/xml_file_reader.h"

namespace corvid::reflist {

namespace {

constexpr std::string_view kSpectrumTitle = "MS:1000796";
constexpr std::string_view kScanNumbers = "MS:1001115";

class MzIdentMlHandler : public XmlHandler {
 public:
  MzIdentMlHandler(const ReadSettings& settings, SearchResults& results)
      : settings_(settings),
        results_(results),
        scores_(settings.score ? std::vector<ScoreName>{*settings.score} : defaultScores(SearchFormat::MzIdentMl)),
        qValues_(qValueNames(SearchFormat::MzIdentMl)) {}

  void startElement(std::string_view name, const XmlAttributes& attributes) override {
    if (name == "DBSequence") {
      proteinIsDecoy_[std::string(attributes.get("id"))] = hasDecoyPrefix(attributes.get("accession"));
    } else if (name == "PeptideEvidence") {
      addPeptideEvidence(attributes);
    } else if (name == "SpectraData") {
      ++results_.runs;
    } else if (name == "SpectrumIdentificationResult") {
      startResult(attributes);
    } else if (name == "SpectrumIdentificationItem") {
      startItem(attributes);
    } else if (name == "PeptideEvidenceRef" && inItem_) {
      const auto found = evidenceIsDecoy_.find(std::string(attributes.get("peptideEvidence_ref")));
      hasEvidence_ = true;
      if (found == evidenceIsDecoy_.end() || !found->second) item_.isDecoy = false;
    } else if ((name == "cvParam" || name == "userParam") && inItem_) {
      scores_.offer(attributes.get("name"), attributes.get("accession"), attributes.get("value"));
      qValues_.offer(attributes.get("name"), attributes.get("accession"), attributes.get("value"));
    } else if (name == "cvParam" && inResult_ && itemDepth_ == 0) {
      readResultParam(attributes);
    }
  }

  void endElement(std::string_view name) override {
    if (name == "SpectrumIdentificationItem") {
      if (inItem_) finishItem();
      if (itemDepth_ > 0) --itemDepth_;
    } else if (name == "SpectrumIdentificationResult" && inResult_) {
      finishResult();
    }
  }

 private:
  bool hasDecoyPrefix(std::string_view accession) const {
    return !settings_.decoyPrefix.empty() &&
           accession.substr(0, settings_.decoyPrefix.size()) == settings_.decoyPrefix;
  }

  // The writer's own isDecoy flag wins over the accession prefix when it is there.
  void addPeptideEvidence(const XmlAttributes& attributes) {
    bool isDecoy = false;
    if (const char* flag = attributes.find("isDecoy")) {
      const std::string_view text(flag);
      isDecoy = text == "true" || text == "1";
    } else {
      const auto protein = proteinIsDecoy_.find(std::string(attributes.get("dBSequence_ref")));
      isDecoy = protein != proteinIsDecoy_.end() && protein->second;
    }
    evidenceIsDecoy_[std::string(attributes.get("id"))] = isDecoy;
  }

  void startResult(const XmlAttributes& attributes) {
    ++results_.queries;
    inResult_ = true;
    haveRankOne_ = false;
    spectrumId_ = std::string(attributes.get("spectrumID"));
    title_.clear();
    scanNumbers_ = 0;
  }

  void startItem(const XmlAttributes& attributes) {
    ++itemDepth_;
    if (!inResult_ || haveRankOne_) return;
    // Tied items share rank 1; the first one written is the engine's pick.
    const auto rank = parseInteger(attributes.get("rank"));
    if (!rank || *rank != 1) return;
    const auto charge = parseInteger(attributes.get("chargeState"));
    const auto mz = parseReal(attributes.get("experimentalMassToCharge"));
    if (!charge || *charge < 1 || *charge > 1000) {
      throw InputError("SpectrumIdentificationItem \"" + std::string(attributes.get("id")) +
                       "\" has no usable chargeState");
    }
    if (!mz || *mz <= 0.0) {
      throw InputError("SpectrumIdentificationItem \"" + std::string(attributes.get("id")) +
                       "\" has no usable experimentalMassToCharge");
    }
    inItem_ = true;
    hasEvidence_ = false;
    item_ = Psm{};
    item_.charge = static_cast<int>(*charge);
    item_.precursorMz = *mz;
    item_.isDecoy = true;  // until a target evidence shows up
    scores_.startHit();
    qValues_.startHit();
  }

  void finishItem() {
    inItem_ = false;
    haveRankOne_ = true;
    if (!hasEvidence_) item_.isDecoy = false;
    item_.score = scores_.finishHit();
    item_.qValue = qValues_.finishHit();
    if (!results_.score && scores_.chosen()) results_.score = *scores_.chosen();
    if (!results_.qValue && qValues_.chosen()) results_.qValue = *qValues_.chosen();
  }

  void readResultParam(const XmlAttributes& attributes) {
    const std::string_view accession = attributes.get("accession");
    if (accession == kSpectrumTitle) {
      title_ = std::string(attributes.get("value"));
    } else if (accession == kScanNumbers) {
      // "scan number(s)" may list several; the first one is the spectrum's own.
      const std::string_view value = attributes.get("value");
      const auto first = parseInteger(value.substr(0, value.find_first_of(", ")));
      scanNumbers_ = first && *first > 0 ? *first : 0;
    }
  }

  // The scan is settled only here: the title and scan-number cvParams follow the items.
  void finishResult() {
    inResult_ = false;
    if (!haveRankOne_) return;
    item_.nativeId = spectrumId_;
    if (scanNumbers_ > 0) {
      item_.scan = scanNumbers_;
    } else if (spectrumId_.find("scan=") != std::string::npos) {
      item_.scan = scanFromSpectrumId(spectrumId_);
    } else if (const long fromTitle = scanFromTitle(title_); fromTitle > 0) {
      item_.scan = fromTitle;
    } else {
      item_.scan = scanFromSpectrumId(spectrumId_);
    }
    item_.spectrumKey = !spectrumId_.empty() ? spectrumId_ : !title_.empty() ? title_ : "scan " + std::to_string(item_.scan);
    results_.psms.push_back(std::move(item_));
  }

  const ReadSettings& settings_;
  SearchResults& results_;
  ValuePicker scores_;
  ValuePicker qValues_;
  std::unordered_map<std::string, bool> proteinIsDecoy_;
  std::unordered_map<std::string, bool> evidenceIsDecoy_;
  Psm item_;
  std::string spectrumId_;
  std::string title_;
  long scanNumbers_ = 0;
  int itemDepth_ = 0;
  bool inResult_ = false;
  bool haveRankOne_ = false;
  bool inItem_ = false;
  bool hasEvidence_ = false;
};

}  // namespace

SearchResults readMzIdentMl(const std::string& path, const ReadSettings& settings) {
  SearchResults results;
  results.format = SearchFormat::MzIdentMl;
  MzIdentMlHandler handler(settings, results);
  readXmlFile(path, handler);
  return results;
}

}  // namespace corvid::reflist
