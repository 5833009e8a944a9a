#include "startup/qc_collection.h"

#include <chrono>
#include <cmath>
#include <ctime>

#include "build_config.h"
#include "platform/paths.h"
#include "platform/sha1.h"
#include "platform/steady_clock.h"
#include "platform/text_file.h"
#include "scoring/qc_output.h"
#include "spectra/input_formats.h"

namespace corvid {
namespace {

// The file the user gave: the mzML/mzXML input, the vendor file, or the MS1 file itself.
void findInput(const InputJob& job, const std::string& stem, QcRunFacts& facts) {
  if (!job.openFormatFolder.empty()) {
    for (std::string_view spelling : openFormatSpellings()) {
      const std::string path = job.openFormatFolder + stem + std::string(spelling);
      if (canOpenForReading(path)) {
        facts.inputPath = path;
        facts.inputFormat = isMzXMLName(path) ? "mzXML" : "mzML";
        return;
      }
    }
  }
  const bool wiff = job.source == PairSource::kWiff;
  const std::string vendorFile = resolveLetterCase(job.folder + stem + (wiff ? ".wiff" : ".raw"));
  if (canOpenForReading(vendorFile)) {
    facts.inputPath = vendorFile;
    facts.inputFormat = wiff ? "WIFF" : "RAW";
    return;
  }
  facts.inputPath = job.folder + job.ms1Name;
  facts.inputFormat = "MS1";
}

std::string utcTimestamp() {
  const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  std::tm utc{};
  gmtime_r(&now, &utc);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
  return text;
}

}  // namespace

QcCollection startQcCollection(const RunSettings& settings, const InputJob& job, const std::string& stem) {
  QcCollection qc;
  qc.startMilliseconds = steadyMilliseconds();
  QcRunFacts& facts = qc.facts;
  facts.label = stem;
  findInput(job, stem, facts);
  if (!fileSha1(facts.inputPath, facts.inputSha1)) facts.inputSha1.clear();
  facts.version = build::kVersion;
  facts.nonDefaultSettings = settings.nonDefaultSettings;
  facts.scoreThreshold = settings.threshold.threshold;
  facts.thresholdApplies = !settings.keepEveryCandidate && !settings.precisionMode;
  return qc;
}

void noteQcSpectra(QcCollection& qc, const MS1File& ms1File, const MS2File& ms2File) {
  qc.facts.instrument = ms1File.instrumentName;
  qc.facts.ms1Spectra = static_cast<std::int64_t>(ms1File.spectra.size());
  qc.facts.ms2Spectra += static_cast<std::int64_t>(ms2File.spectra.size());
  for (const MS2Spectrum& spectrum : ms2File.spectra) {
    if (!std::isnan(spectrum.compensationVoltage)) ++qc.facts.ms2ScansByVoltage[spectrum.compensationVoltage];
  }
}

bool finishQcReport(QcCollection& qc, const std::string& resultStem, const std::string& programFolder) {
  qc.facts.runSeconds = static_cast<double>(steadyMilliseconds() - qc.startMilliseconds) / 1000.0;
  qc.facts.completionTime = utcTimestamp();
  const QcFigures figures = computeQcFigures(std::move(qc.rows), qc.facts);
  qc.rows.clear();
  return writeQcReport(resultStem, figures, programFolder);
}

}  // namespace corvid
