#include "detection/detection_context.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "platform/run_log.h"

namespace corvid {
namespace {

// Ascending and free of undefined m/z (with which no order is meaningful).
bool peaksAscending(const std::vector<Peak>& peaks) {
  for (std::size_t i = 0; i < peaks.size(); ++i) {
    if (std::isnan(peaks[i].mz) || (i > 0 && peaks[i].mz < peaks[i - 1].mz)) return false;
  }
  return true;
}

}  // namespace

DetectionInput makeDetectionInput(const DetectionSettings& settings, const MS1File& ms1,
                                  const IsotopePatternTable& isotopes) {
  DetectionInput input;
  input.settings = settings;
  input.isotopes = &isotopes;
  input.ms1 = &ms1;
  input.ms1ScansAscending =
      std::is_sorted(ms1.spectra.begin(), ms1.spectra.end(),
                     [](const MS1Spectrum& a, const MS1Spectrum& b) { return a.scanNumber < b.scanNumber; });

  // Gathering stops at the first peak above the window, so a scan listed out of m/z order loses
  // the peaks that follow; the behaviour is kept and reported once per file.
  input.ms1PeaksAscending.resize(ms1.spectra.size());
  std::size_t unordered = 0;
  for (std::size_t i = 0; i < ms1.spectra.size(); ++i) {
    input.ms1PeaksAscending[i] = peaksAscending(ms1.spectra[i].peaks) ? 1 : 0;
    if (input.ms1PeaksAscending[i] == 0) ++unordered;
  }
  if (unordered > 0) {
    char message[200];
    std::snprintf(message, sizeof message,
                  "%zu MS1 scans list peaks out of m/z order; peaks after the first one above a "
                  "gathering window are not used for them",
                  unordered);
    logMessage(LogLabel::kAlert, message);
  }
  return input;
}

void attachReferenceList(DetectionInput& input, const ReferencePrecursorList& reference) {
  input.reference = &reference;
  input.referenceIndex = indexReferenceByScan(reference);
}

DetectionScratch makeDetectionScratch() {
  DetectionScratch scratch;
  scratch.filteredGrid = makeProfileGrid(kFilteredGridRows, kFilteredGridCenterRow);
  scratch.wideGrid = makeProfileGrid(kWideGridRows, kWideGridCenterRow);
  scratch.contextPeaks.reserve(1024);
  scratch.takenPeaks.reserve(1024);
  scratch.valleys.reserve(kExtendedProfileSize);
  return scratch;
}

void clearGroupCandidates(DetectionOutput& output) {
  output.features.clear();
  output.records.clear();
  output.windowShares.clear();
  output.foundReferenceEntries.clear();
}

void markFoundEntries(const DetectionOutput& output, ReferencePrecursorList& reference) {
  if (reference.found.size() < reference.size()) reference.found.resize(reference.size(), 0);
  for (const std::size_t entry : output.foundReferenceEntries) reference.found[entry] = 1;
}

}  // namespace corvid
