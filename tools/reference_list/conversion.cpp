#include "tools/reference_list/conversion.h"

#include <cstdio>

#include "tools/reference_list/errors.h"
#include "tools/reference_list/fdr_cut.h"
#include "tools/reference_list/mzidentml_reader.h"
#include "tools/reference_list/pepxml_reader.h"
#include "tools/reference_list/reference_list_writer.h"
#include "tools/reference_list/scan_map.h"
#include "tools/reference_list/xml_file_reader.h"

namespace corvid::reflist {

namespace {

std::string shortNumber(double value) {
  char text[64];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

std::string percent(double fraction) { return shortNumber(fraction * 100.0) + " %"; }

std::string describe(const ScoreName& score) {
  std::string text = score.name;
  if (!score.accession.empty() && score.accession != score.name) text += " (" + score.accession + ")";
  return text;
}

// The score the user names, with its direction from the catalogue or the command line.
std::optional<ScoreName> requestedScore(const Options& options) {
  if (options.scoreName.empty()) return std::nullopt;
  ScoreName score{options.scoreName, "", true};
  std::optional<bool> direction = options.lowerIsBetter;
  if (const auto known = knownScore(options.scoreName)) {
    score = *known;
    if (!direction) direction = known->lowerIsBetter;
  } else if (options.scoreName.rfind("MS:", 0) == 0) {
    score.accession = options.scoreName;
  }
  if (!direction && options.fdr) {
    throw UsageError("--score " + options.scoreName +
                     ": unknown score, say which way it is better with --lower-better or --higher-better");
  }
  score.lowerIsBetter = direction.value_or(true);
  return score;
}

SearchResults readSearchResults(const std::string& path, const ReadSettings& settings) {
  const std::string root = readRootElementName(path);
  if (root == "msms_pipeline_analysis") return readPepXml(path, settings);
  if (root == "MzIdentML") return readMzIdentMl(path, settings);
  throw InputError(path + ": neither pepXML nor mzIdentML (root element <" + root + ">)");
}

}  // namespace

Conversion convertSearchResults(const Options& options) {
  ReadSettings settings;
  settings.decoyPrefix = options.decoyPrefix;
  settings.score = requestedScore(options);
  // Read the scan map first: a wrong map should fail before a long read of the search results.
  std::optional<ScanMap> scanMap;
  if (!options.scanMapPath.empty()) scanMap = loadScanMap(options.scanMapPath);

  const SearchResults results = readSearchResults(options.inputPath, settings);
  Conversion conversion;
  conversion.summary.push_back(options.inputPath + ": " + formatName(results.format) + ", " +
                               std::to_string(results.queries) + " spectrum queries, " +
                               std::to_string(results.psms.size()) + " rank-1 PSMs");
  if (results.runs > 1) {
    conversion.summary.push_back("warning: the file holds " + std::to_string(results.runs) +
                                 " runs; their PSMs are merged, so scan numbers of different runs may collide");
  }

  const bool byQValue = options.qValueMax.has_value();
  if (byQValue && !results.qValue) {
    throw InputError(options.inputPath + ": no q-values in the file (looked for " +
                     (results.format == SearchFormat::PepXml
                          ? std::string("search_score or analysis_result qvalue, q-value, q_value, percolator_qvalue")
                          : std::string("MS:1002354, MS:1002054, MS:1001491, MS:1001868, userParam q-value")) +
                     "); use --fdr with target-decoy counting instead");
  }
  if (!byQValue && !results.score && !results.psms.empty()) {
    throw InputError(options.inputPath + ": no PSM carries the score " +
                     (settings.score ? describe(*settings.score) : std::string("of any known kind")) +
                     "; name one with --score");
  }
  const bool lowerIsBetter = results.score ? results.score->lowerIsBetter : true;
  const std::vector<Psm> spectra = bestPsmPerSpectrum(results.psms, byQValue, lowerIsBetter);

  std::size_t targets = 0;
  for (const Psm& psm : spectra) targets += psm.isDecoy ? 0 : 1;
  conversion.summary.push_back(std::to_string(spectra.size()) + " spectra with a PSM: " + std::to_string(targets) +
                               " targets, " + std::to_string(spectra.size() - targets) + " decoys (decoy prefix " +
                               options.decoyPrefix + ")");

  CutResult cut;
  const std::string scoreText =
      results.score ? describe(*results.score) + (lowerIsBetter ? ", lower is better" : ", higher is better")
                    : std::string("no score (no PSMs)");
  if (byQValue) {
    cut = cutAtQValue(spectra, *options.qValueMax);
    conversion.summary.push_back("cut: q-value " + describe(*results.qValue) + " <= " + shortNumber(*options.qValueMax) +
                                 "; score written: " + scoreText);
  } else {
    cut = cutAtFdr(spectra, *options.fdr, lowerIsBetter);
    std::string line = "cut: " + percent(*options.fdr) + " FDR by target-decoy counting on " + scoreText;
    if (!cut.kept.empty()) {
      line += "; kept score " + std::string(lowerIsBetter ? "<= " : ">= ") + shortNumber(cut.scoreThreshold);
    }
    conversion.summary.push_back(line);
  }
  if (cut.withoutValue > 0) {
    conversion.summary.push_back(std::to_string(cut.withoutValue) + " PSMs without the " +
                                 (byQValue ? "q-value" : "score") + " left out");
  }
  conversion.summary.push_back("kept " + std::to_string(cut.kept.size()) + " target PSMs");

  std::vector<ReferenceEntry> entries;
  std::size_t unmapped = 0;
  for (const Psm& psm : cut.kept) {
    long scan = psm.scan;
    if (scanMap) {
      const auto mapped = mapToCorvidScan(*scanMap, psm);
      if (!mapped) {
        ++unmapped;
        continue;
      }
      scan = *mapped;
    }
    entries.push_back({scan, psm.precursorMz, psm.charge, hasValue(psm.score) ? psm.score : 0.0});
  }
  if (scanMap) {
    if (!cut.kept.empty() && entries.empty()) {
      throw InputError(options.scanMapPath + ": none of the " + std::to_string(cut.kept.size()) +
                       " kept PSMs is in this scan map; is it the summary of the searched file?");
    }
    conversion.summary.push_back("scan map " + options.scanMapPath + ": " + std::to_string(entries.size()) +
                                 " mapped to Corvid's scan numbers, " + std::to_string(unmapped) +
                                 " not found and left out");
  }
  conversion.referenceList = formatReferenceList(std::move(entries));
  return conversion;
}

}  // namespace corvid::reflist
