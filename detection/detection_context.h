#pragma once
// The state of detection, in three parts: what every worker reads and nobody writes (settings,
// the MS1 file, the isotope patterns, facts about the file computed once, the reference list's
// scan index), what one worker overwrites from scan to scan (grids, gathered peaks, profiles,
// candidate buffers), and what detection appends for its caller (the accepted candidates and the
// reference entries it found). Workers share one input and own their scratch and output.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "detection/isotope_pattern_table.h"
#include "detection/profile_grid.h"
#include "spectra/precursor_features.h"
#include "spectra/precursor_record.h"
#include "spectra/reference_index.h"
#include "spectra/reference_precursor_list.h"
#include "spectra/spectrum_records.h"

namespace corvid {

// "1": one typed scan with traces; "2": a list of scans, peak files only; anything else: off.
enum class DebugMode { kOff, kSingleScan, kScanList };

// The parameter values detection reads, converted once per file pair.
struct DetectionSettings {
  DebugMode debugMode = DebugMode::kOff;
  std::int32_t coElute = 1;             // 0: one precursor per scan, only pairs covering the center
  bool cutSimilarMono = true;           // merge gathered peaks closer than 20 ppm
  double isolationWidth = 2.0;          // W, m/z
  bool isolationFromFile = false;       // each scan's stated window, where it has one, instead of W
  double recalibrateWindow = 7.0;       // ppm
  bool outputSvmLight = false;          // rank and keep at most six per scan
  bool checkActivationCenter = true;    // keep only the scan that holds the activation center
  // Precision mode: a start with only one isotope inside the window is let through (its next
  // isotope may lie just above the window), and each candidate's window share is measured.
  bool precisionCandidates = false;
  std::string dataPath;                 // folder of the debug peak files
};

// An MS2 scan's isolation window as its file states it: target - lower to target + upper, m/z.
// Not stated (both 0, the default): the window is the isolation width centred on the target.
struct StatedIsolation {
  double lower = 0.0;
  double upper = 0.0;
  bool stated() const { return lower > 0.0 || upper > 0.0; }
};

// One (monoisotopic peak, charge) pair that passed the preliminary filters.
struct PrecursorCandidate {
  PrecursorFeatures features;
  PrecursorRecord record;
  // Precision mode: the share of the related MS1 scan's current inside the isolation window that
  // lies on the candidate's isotopes 0..3.
  double windowShare = 0.0;
};

// Isotope profile: 11 groups (group 0 stays empty, group r + 1 = grid row r) of 6 slots
// (isotopes -1..4); the extended profile has 12 slots per group (isotopes -7..4).
inline constexpr int kProfileGroups = 11;
inline constexpr int kIsotopeGroupSize = 6;
inline constexpr int kExtendedGroupSize = 12;
inline constexpr int kIsotopeProfileSize = kProfileGroups * kIsotopeGroupSize;    // 66
inline constexpr int kExtendedProfileSize = kProfileGroups * kExtendedGroupSize;  // 132

// Read-only during detection; shared by every worker.
struct DetectionInput {
  DetectionSettings settings;
  const MS1File* ms1 = nullptr;
  const IsotopePatternTable* isotopes = nullptr;  // the run's theoretical isotope patterns
  bool ms1ScansAscending = true;                  // scan numbers never decrease along the file
  std::vector<std::uint8_t> ms1PeaksAscending;    // per MS1 scan: peaks in ascending m/z
  // The training reference list, when one is loaded, and its entries by scan. Detection only
  // looks entries up; the entries it finds are reported in DetectionOutput.
  const ReferencePrecursorList* reference = nullptr;
  ReferenceIndex referenceIndex;
  std::vector<std::int32_t> debugScans;  // scans inspected with debug mode "2"
};

// One worker's working memory, overwritten for every scan and every (peak, charge) pair.
struct DetectionScratch {
  ProfileGrid filteredGrid;  // 10 rows, 2 % filtered peaks
  ProfileGrid wideGrid;      // 100 rows, unfiltered peaks

  // Every peak taken within center +- 3 Th from the ten scans of the current gathering,
  // before filtering; ascending m/z once the gathering ends.
  std::vector<Peak> contextPeaks;
  std::array<std::int32_t, 3> gatheredCounts{};  // peaks from the preceding, related, following scan
  std::int64_t relatedScan = -1;

  std::array<double, kIsotopeProfileSize> isotopeProfile{};
  std::array<double, kExtendedProfileSize> extendedProfile{};
  std::array<double, kExtendedProfileSize> extendedError{};  // mean |isotope m/z - bin m/z|
  std::array<std::int32_t, kExtendedProfileSize> extendedErrorCount{};
  std::vector<std::int32_t> valleys;
  std::vector<Peak> takenPeaks;            // one scan's peaks inside the gathering window
  std::vector<Peak> relatedWindowPeaks;    // precision mode: the related scan's window peaks
  std::vector<std::uint8_t> removalMarks;  // near-peak merging
  // Reference entries of the current scan, and which of them a pair of the scan matched.
  std::vector<std::size_t> scanReferenceEntries;
  std::vector<std::uint8_t> scanReferenceMatched;
  std::vector<PrecursorCandidate> scanCandidates;
  std::vector<std::array<double, 16>> rankingRows;
  std::vector<PrecursorCandidate> rankedCandidates;

  // Row (group index 0..10) of the best MaxSim correlation of the last pattern match.
  std::int32_t bestRow = 0;
};

// What detection appends, scan after scan.
struct DetectionOutput {
  std::vector<PrecursorFeatures> features;  // accepted candidates ...
  std::vector<PrecursorRecord> records;     // ... and their records, parallel by index
  std::vector<double> windowShares;         // ... and, in precision mode, their window shares
  std::int64_t exportedPrecursorCount = 0;
  // Reference entries matched by a detected pair: each at most once per scan, in scan order.
  std::vector<std::size_t> foundReferenceEntries;
};

// Copies the settings and checks the ordering of the MS1 file once.
DetectionInput makeDetectionInput(const DetectionSettings& settings, const MS1File& ms1,
                                  const IsotopePatternTable& isotopes);
// Lets detection look up the reference list's entries: builds the scan index once. The list must
// keep its entries while detection runs.
void attachReferenceList(DetectionInput& input, const ReferencePrecursorList& reference);
// Both grids and buffers sized for a typical scan.
DetectionScratch makeDetectionScratch();

// Empties the candidate lists for the next activation group; the exported count runs on.
void clearGroupCandidates(DetectionOutput& output);
// Sets the found flag of every reference entry the output reports.
void markFoundEntries(const DetectionOutput& output, ReferencePrecursorList& reference);

}  // namespace corvid
