#include "spectra/open_format_extractor.h"

#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>

#include "platform/paths.h"
#include "platform/run_log.h"
#include "platform/run_outcome.h"
#include "platform/text_file.h"
#include "spectra/extraction_marker.h"
#include "spectra/extraction_state.h"
#include "spectra/mzml_parser.h"
#include "spectra/mzxml_parser.h"
#include "spectra/spectrum_pipe.h"

namespace corvid {

namespace {

// Spectra between two updates of the progress counter.
constexpr std::size_t kProgressEvery = 1000;

void removeFile(const std::string& path) {
  std::error_code ignored;
  std::filesystem::remove(path, ignored);
}

}  // namespace

ExtractionPaths extractionPathsOf(const std::string& folder, const std::string& stem) {
  std::string base = folder + stem;
  return {base + ".ms1",      base + ".ms2",      base + std::string(kExtractionSummarySuffix),  base + ".quarry",
          base + ".ms1.part", base + ".ms2.part", base + ".scans.part", base + ".ids.part"};
}

void removeWorkFiles(const ExtractionPaths& paths) {
  for (const std::string* path : {&paths.ms1Work, &paths.ms2Work, &paths.recordWork, &paths.idWork})
    removeFile(*path);
}

void removeOutputs(const ExtractionPaths& paths) {
  removeFile(paths.marker);
  removeWorkFiles(paths);
}

namespace {

bool fail(const std::string& inputPath, const ExtractionPaths& paths, const std::string& problem) {
  removeOutputs(paths);
  logMessage(LogLabel::kError, "Cannot extract " + inputPath + ": " + problem);
  noteRunProblem(RunProblem::kInputUnreadable);
  return false;
}

// Precursors are detected in MS1 spectra: a file without any gives nothing to work from, so it
// fails with nothing written rather than handing an .ms2 without its .ms1 to the driver.
bool hasMS1Spectra(Extraction& x) {
  if (x.ms1Count > 0) return true;
  closeWorkFiles(x);
  removeOutputs(x.paths);
  logMessage(LogLabel::kError, "No MS1 spectra in " + x.inputPath + ": nothing to detect precursors from.");
  noteRunProblem(RunProblem::kInputUnreadable);
  return false;
}

// The marker goes last: its presence says the extraction is complete.
bool writeMarker(const Extraction& x, const InputIdentity& identity, std::string& error) {
  TextWriter marker;
  if (marker.open(x.paths.marker)) {
    marker.write(extractionMarkerText(fileNameOf(x.inputPath), identity));
    if (marker.close()) return true;
  }
  error = marker.error();
  return false;
}

// Streams every spectrum of the input into the working files: parsing and decoding on this
// thread, formatting and writing on a second one when allowed.
bool readSpectra(Extraction& x, unsigned threads, const OpenFormatLimits& limits, std::string& problem) {
  // A multi-gigabyte file takes a while: a counter on one console line shows it is moving.
  std::size_t extracted = 0;
  auto counted = [&extracted] {
    if (++extracted % kProgressEvery == 0) {
      std::printf("\r[Corvid] Extracting spectra: %zu", extracted);
      std::fflush(stdout);
    }
  };
  const std::string& inputPath = x.inputPath;
  const bool mzXML = containsExtension(fileNameOf(inputPath), InputFormat::kMzXML);
  // The progress is counted where the file is read, so it prints the same for any thread count.
  const SpectrumReader readFile = [&inputPath, mzXML, &counted, &limits](const SpectrumSink& sink, std::string& error) {
    const SpectrumSink countedSink = [&sink, &counted](const OpenSpectrum& spectrum, std::string& reason) {
      counted();
      return sink(spectrum, reason);
    };
    return mzXML ? readMzXMLFile(inputPath, countedSink, error, limits)
                 : readMzMLFile(inputPath, countedSink, error, limits);
  };
  const SpectrumSink write = [&x](const OpenSpectrum& spectrum, std::string& reason) {
    return writeExtractedSpectrum(spectrum, x, reason);
  };
  const bool read = threads > 1 ? readThroughPipe(readFile, write, problem) : readFile(write, problem);
  if (extracted >= kProgressEvery) std::printf("\n");
  return read;
}

}  // namespace

bool openFormatAlreadyExtracted(const std::string& inputPath, const std::string& folder,
                                const std::string& stem) {
  ExtractionPaths paths = extractionPathsOf(folder, stem);
  InputIdentity identity;
  const MarkerState state = readInputIdentity(inputPath, identity)
                                ? checkExtractionMarker(paths.marker, identity)
                                : MarkerState::kDiffers;
  if (state == MarkerState::kMissing) return false;
  const bool complete = canOpenForReading(paths.summary) && canOpenForReading(paths.ms1) &&
                        canOpenForReading(paths.ms2);
  if (state == MarkerState::kMatches && complete) return true;
  logMessage(LogLabel::kAlert, fileNameOf(inputPath) + (complete ? " is not the file that was extracted (size, time or content differ)"
                                                        : ": its earlier extraction is incomplete") +
                          ": extracting it again.");
  return false;
}

bool extractOpenFormat(const std::string& inputPath, const std::string& folder, const std::string& stem,
                       unsigned threads, LoadedPair* loaded, const OpenFormatLimits& limits) {
  Extraction x;
  x.inputPath = inputPath;
  x.loaded = loaded;
  if (loaded != nullptr) startLoadedPair(*loaded);
  x.paths = extractionPathsOf(folder, stem);
  removeFile(x.paths.marker);  // a stale marker must not survive a failed extraction
  std::error_code code;
  InputIdentity identity;
  if (!std::filesystem::is_regular_file(inputPath, code) || !canOpenForReading(inputPath) ||
      !readInputIdentity(inputPath, identity))
    return fail(inputPath, x.paths, "the file does not exist or cannot be opened");
  if (std::filesystem::file_size(inputPath, code) == 0 || code)
    return fail(inputPath, x.paths, "the file is empty");
  logMessage(LogLabel::kState, "Extracting spectra from " + inputPath);
  if (!openWorkFiles(x)) {
    closeWorkFiles(x);
    return fail(inputPath, x.paths, "the MS1/MS2 text files cannot be created in " + folder);
  }
  std::string problem;
  if (!readSpectra(x, threads, limits, problem)) {
    closeWorkFiles(x);
    return fail(inputPath, x.paths, problem);
  }
  if (!hasMS1Spectra(x)) return false;
  if (!finishExtraction(x, problem)) return fail(inputPath, x.paths, problem);
  reportExtractionAlerts(x);
  // The input must still be the file that was read: one rewritten meanwhile gives a mixture.
  InputIdentity after;
  if (!readInputIdentity(inputPath, after) || after.size != identity.size ||
      after.modified != identity.modified || after.checksum != identity.checksum)
    return fail(inputPath, x.paths, "the file changed while it was being extracted");
  std::string markerError;
  if (!writeMarker(x, identity, markerError))
    return fail(inputPath, x.paths, "the completion marker cannot be written (" + markerError + ")");
  logMessage(LogLabel::kNote, "Extracted " + std::to_string(x.ms1Count) + " MS1 and " +
                          std::to_string(x.keys.size() - x.ms1Count) + " MS2 spectra from " +
                          fileNameOf(inputPath));
  return true;
}

}  // namespace corvid
