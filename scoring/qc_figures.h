#pragma once
// The QC report's figures (extension key `output_qc`): computed once per input file from the
// precursors the output step exported, plus facts about the run. The QC page, the mzQC file and
// the batch report are all rendered from these figures; none of them computes anything again.
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvid {

// What one row stands for: one exported precursor of a scan, or a scan that exported nothing.
enum class QcRowKind : std::uint8_t {
  kOwn,              // a precursor Corvid found (rank from 1)
  kRecordedStandIn,  // nothing accepted: the instrument's precursor was exported unchanged
  kNothingExported,  // the scan's spectrum was not exported (rows out of scan order)
};

// One exported precursor (one MGF block) as the precursor table lists it.
struct QcPrecursorRow {
  std::uint32_t scan = 0;
  double retentionTime = 0.0;  // as the MS2 file gives it
  std::string activation;      // "CID", "ETD", "HCD" or empty
  std::string analyzer;        // "IT", "FT" or empty
  double recordedMz = 0.0;
  std::int32_t recordedCharge = 0;  // 0 or below: the instrument recorded none
  double mz = 0.0;                  // the exported precursor (the recorded one for a stand-in)
  std::int32_t charge = 0;
  std::int32_t rank = 0;              // 1 = best of the scan; 0 for the two kinds without a score
  double score = 0.0;                 // NaN when unscored
  double precursorIonFraction = 0.0;  // f_precursor_ion_fraction, NaN when unknown
  QcRowKind kind = QcRowKind::kOwn;
};

// Facts about the run that the rows do not hold.
struct QcRunFacts {
  std::string label;           // the input's stem
  std::string inputPath;       // the input file as the user gave it (mzML, RAW, ...)
  std::string inputFormat;     // "mzML", "mzXML", "RAW", "WIFF", "MS1"
  std::string inputSha1;       // 40 hexadecimal digits, empty when the file could not be read
  std::string instrument;      // the MS1 file's analyzer name ("FTMS")
  std::string version;         // Corvid's version
  std::string completionTime;  // ISO 8601, UTC
  std::vector<std::pair<std::string, std::string>> nonDefaultSettings;
  double runSeconds = 0.0;
  std::int64_t ms1Spectra = 0;
  std::int64_t ms2Spectra = 0;
  // FAIMS runs: the MS2 scans of each compensation voltage (V); empty for runs without FAIMS.
  std::map<double, std::int64_t> ms2ScansByVoltage;
  double scoreThreshold = 0.0;
  bool thresholdApplies = true;  // false when every candidate is kept
};

// How Corvid's first precursor of an MS2 scan relates to the instrument's, in report order.
enum QcCorrectionClass : std::size_t {
  kQcSame = 0,
  kQcMovedMinus3,
  kQcMovedMinus2,
  kQcMovedMinus1,
  kQcMovedPlus1,
  kQcMovedPlus2,
  kQcMovedPlus3,
  kQcRefined,
  kQcChargeChanged,
  kQcNoneRecorded,
  kQcNoOwnPrecursor,
  kQcClassCount,
};

// The classes' names, as the page, the mzQC file and the batch report show them.
extern const std::array<const char*, kQcClassCount> kQcClassNames;
// Short machine names for table columns ("same", "iso_minus_3", ...).
extern const std::array<const char*, kQcClassCount> kQcClassKeys;

inline constexpr double kQcSamePpm = 10.0;
inline constexpr double kQcIsotopeSpacing = 1.0033548;
inline constexpr std::size_t kQcMaxScatterPoints = 20000;
inline constexpr std::size_t kQcRetentionBins = 50;

// The class of a scan's first exported precursor (row.kind decides kQcNoOwnPrecursor).
QcCorrectionClass classifyFirstPrecursor(const QcPrecursorRow& row);

using QcClassCounts = std::array<std::int64_t, kQcClassCount>;

struct QcHistogram {
  std::vector<double> binEdges;  // counts.size() + 1 edges, empty with no values
  std::vector<std::int64_t> counts;
};

// count equal-width bins over [min, max] of values (one bin of width 1 when all are equal).
QcHistogram histogramOf(const std::vector<double>& values, std::size_t binCount);

// The positions of at most `limit` of `total` items, evenly spread and always the same.
std::vector<std::size_t> thinnedPositions(std::size_t total, std::size_t limit);

// Retention time in bins: each scan's bin, and the bins' centres.
struct QcTimeBins {
  std::vector<double> centres;  // in the unit of the retention times
  double start = 0.0;
  double width = 1.0;
  std::size_t binOf(double time) const;
};
QcTimeBins timeBinsOver(double first, double last, std::size_t binCount);

// The median of values (NaN for none).
double medianOf(std::vector<double> values);

struct QcFigures {
  QcRunFacts facts;
  std::vector<std::string> analyzers;  // as found in the rows, sorted
  std::vector<std::string> activations;
  std::int64_t ms2Scans = 0;            // scans with a row in the CSV report
  std::int64_t exportedPrecursors = 0;  // spectrum blocks (precursor table rows)
  std::int64_t coIsolatedScans = 0;     // scans with two or more exported precursors
  QcClassCounts classes{};
  std::map<std::int32_t, QcClassCounts> classesByRecordedCharge;  // charge <= 0 as 0
  std::vector<std::int64_t> scansByPrecursorCount;                // [n] = scans exporting n precursors
  std::map<std::pair<std::int32_t, std::int32_t>, std::int64_t> recordedVsCorvidCharge;
  std::map<std::int32_t, std::int64_t> exportedCharges;  // charge -> precursors exported with it
  double meanExportedCharge = 0.0;
  double medianExportedCharge = 0.0;
  QcHistogram refinedPpm;  // m/z change of refined first precursors
  std::vector<double> refinedPpmValues;
  QcHistogram scores;                  // Corvid's own precursors
  std::vector<double> firstPifValues;  // first own precursor of each scan, finite only
  QcTimeBins timeBins;
  std::vector<std::optional<double>> coIsolatedShareOverTime;
  std::vector<std::optional<double>> medianPifOverTime;
  std::vector<std::pair<double, double>> scatter;  // (retention time, m/z), thinned
  std::int64_t scatterTotal = 0;
  double firstRetentionTime = 0.0;
  double lastRetentionTime = 0.0;
};

// The figures of one input file: rows in any order of scans, the rows of one scan in rank order.
QcFigures computeQcFigures(std::vector<QcPrecursorRow> rows, const QcRunFacts& facts);

// The share of MS2 scans that exported two or more precursors (0 with no scan).
double coIsolatedShare(const QcFigures& figures);

}  // namespace corvid
