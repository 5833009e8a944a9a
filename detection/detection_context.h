#pragma once
// Per-file detection state: the settings read once from the parameter table, the binned MS1
// elution profiles around the current activation center, the working vectors of candidate
// detection and the run's lists of accepted candidates.
#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "detection/isotope_pattern_table.h"
#include "spectra/precursor_features.h"
#include "spectra/reference_precursor_list.h"
#include "spectra/precursor_record.h"
#include "spectra/spectrum_records.h"

namespace corvid {

// Binned MS1 intensities around an activation center: row = MS1 scan, bin b of a row covers
// center - halfWidth + b / binsPerTh up to the next bin. matrix is rows x bins, row major.
struct ProfileGrid {
  double halfWidth = 3.0;
  std::int32_t binsPerTh = 100;
  std::int32_t rows = 0;
  std::int32_t bins = 600;
  std::int32_t centerRow = 0;
  std::vector<double> matrix;              // rows x bins, zero outside the cells listed below
  std::vector<std::int32_t> filledCells;   // cells written since the last clear (for a cheap clear)
};

// Ten MS1 scans (offsets -4..+5 around the related scan) feed candidate detection.
inline constexpr std::int32_t kFilteredGridRows = 10;
inline constexpr std::int32_t kFilteredGridCenterRow = 5;
// A hundred MS1 scans (offsets -49..+50) of unfiltered signal.
inline constexpr std::int32_t kWideGridRows = 100;
inline constexpr std::int32_t kWideGridCenterRow = 50;

ProfileGrid makeProfileGrid(std::int32_t rows, std::int32_t centerRow);
// Sets every cell to zero again (only the cells written since the last clear are touched).
void clearProfileGrid(ProfileGrid& grid);
// Adds intensity into (row, bin) when the cell lies inside the grid.
void addToProfileGrid(ProfileGrid& grid, std::int64_t row, std::int64_t bin, double intensity);

// "1": one typed scan with traces; "2": a list of scans, peak files only; anything else: off.
enum class DebugMode { kOff, kSingleScan, kScanList };

// The parameter values detection reads, converted once per file pair.
struct DetectionSettings {
  DebugMode debugMode = DebugMode::kOff;
  std::int32_t coElute = 1;             // 0: one precursor per scan, only pairs covering the center
  bool cutSimilarMono = true;           // merge gathered peaks closer than 20 ppm
  double isolationWidth = 2.0;          // W, m/z
  double recalibrateWindow = 7.0;       // ppm
  bool outputSvmLight = false;          // rank and keep at most six per scan
  bool checkActivationCenter = true;    // keep only the scan that holds the activation center
  // Precision mode: a start with only one isotope inside the window is let through (its next
  // isotope may lie just above the window), and each candidate's window share is measured.
  bool precisionCandidates = false;
  std::string dataPath;                 // folder of the debug peak files
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

struct DetectionContext {
  DetectionSettings settings;
  const MS1File* ms1 = nullptr;
  const IsotopePatternTable* isotopes = nullptr;  // the run's theoretical isotope patterns
  bool ms1ScansAscending = true;               // scan numbers never decrease along the file
  std::vector<std::uint8_t> ms1PeaksAscending; // per MS1 scan: peaks in ascending m/z

  ProfileGrid filteredGrid;                    // 10 rows, 2 % filtered peaks
  ProfileGrid wideGrid;                        // 100 rows, unfiltered peaks

  // Every peak taken within center +- 3 Th from the ten scans of the current gathering,
  // before filtering; ascending m/z once the gathering ends.
  std::vector<Peak> contextPeaks;
  std::array<std::int32_t, 3> gatheredCounts{};  // peaks from the preceding, related, following scan
  std::int64_t relatedScan = -1;

  // Working vectors of candidate detection, overwritten for every (peak, charge) pair.
  std::array<double, kIsotopeProfileSize> isotopeProfile{};
  std::array<double, kExtendedProfileSize> extendedProfile{};
  std::array<double, kExtendedProfileSize> extendedError{};     // mean |isotope m/z - bin m/z|
  std::array<std::int32_t, kExtendedProfileSize> extendedErrorCount{};
  std::vector<std::int32_t> valleys;
  std::vector<Peak> takenPeaks;                // one scan's peaks inside the gathering window
  std::vector<Peak> relatedWindowPeaks;        // precision mode: the related scan's window peaks
  std::vector<std::uint8_t> removalMarks;      // near-peak merging
  std::vector<std::size_t> scanReferenceEntries;  // reference entries of the current scan
  // (scan, entry) pairs of the reference list sorted by scan; rebuilt when the list or its size
  // changes.
  std::vector<std::pair<std::int32_t, std::size_t>> referenceByScan;
  const ReferencePrecursorList* indexedReference = nullptr;
  std::size_t indexedReferenceSize = 0;
  std::vector<PrecursorCandidate> scanCandidates;
  std::vector<std::array<double, 16>> rankingRows;
  std::vector<PrecursorCandidate> rankedCandidates;

  // Row (group index 0..10) of the best MaxSim correlation of the last pattern match.
  std::int32_t bestRow = 0;

  ReferencePrecursorList* reference = nullptr;  // training reference list, when one is loaded
  std::vector<PrecursorFeatures> features;      // run's accepted candidates ...
  std::vector<PrecursorRecord> records;         // ... and their records, parallel by index
  std::vector<double> windowShares;             // ... and, in precision mode, their window shares
  std::int64_t exportedPrecursorCount = 0;
  std::vector<std::int32_t> debugScans;         // scans inspected with debug mode "2"
};

// Reads the settings, creates both grids and checks the ordering of the MS1 file once.
DetectionContext makeDetectionContext(const DetectionSettings& settings, const MS1File& ms1,
                                      const IsotopePatternTable& isotopes);

}  // namespace corvid
