#pragma once
// In-memory forms of one extracted acquisition: the MS1 survey scans and the MS2 fragmentation
// scans of one file pair. Plain records held by value in growable arrays.
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace corvid {

// The compensation voltage of a scan that names none (all scans of a run without FAIMS).
inline constexpr double kNoCompensationVoltage = std::numeric_limits<double>::quiet_NaN();

// One centroided peak, values exactly as written in the input line.
struct Peak {
  double mz = 0.0;
  double intensity = 0.0;
};

struct MS1Spectrum {
  std::string label;                     // free slot, empty after loading
  std::uint32_t scanNumber = 0;
  double retentionTime = 0.0;            // 0 when the RetTime line is missing
  std::vector<Peak> peaks;               // input order (ascending m/z as the extractor writes)
  std::vector<std::uint64_t> workList;   // working space of the MS1 peak gathering
  double workValue = 0.0;                // per-scan noise level; 0 after loading
  std::string instrumentLetter;          // "F", "I", "U"; empty when the line is missing
  double compensationVoltage = kNoCompensationVoltage;  // FAIMS_CV line; NaN when there is none
};

struct MS1File {
  std::vector<MS1Spectrum> spectra;      // file order: position i is the (i+1)-th S block
  std::int64_t spectrumCount = 0;
  std::string instrumentName;            // "FTMS", "ITMS", "Unknown" from the first typed scan
  std::string rawName;                   // acquisition name, set by the per-file driver
};

// Activation groups: activationCode - 4 + 3 * instrumentCode with CID 1, ETD 2, HCD 3 and
// IT 1, FT 2. Group order is also the order of output file suffixes and of the scan loop.
inline constexpr int kActivationGroupCount = 6;
inline constexpr std::array<const char*, kActivationGroupCount> kGroupSuffixes = {
    "_CIDIT", "_ETDIT", "_HCDIT", "_CIDFT", "_ETDFT", "_HCDFT"};
inline constexpr std::array<const char*, 3> kActivationNames = {"CID", "ETD", "HCD"};
inline constexpr std::array<const char*, 2> kAnalyzerNames = {"IT", "FT"};

// The group of a scan whose activation is unknown: matches no output group, never processed.
inline constexpr int kNoActivationGroup = -1;

inline int activationGroupOf(int activationCode, int instrumentCode) {
  return activationCode - 4 + 3 * instrumentCode;
}

struct MS2Spectrum {
  std::int32_t activationGroup = 0;      // 0..5; outside that range the scan is never processed
  std::string sourceName;                // raw-file name from an MGF title; empty for .ms2 input
  double precursorMH = 0.0;              // [M+H]+ of the recorded precursor
  std::int32_t charge = 0;               // from the Z line; 2 when the line gives 0
  std::uint32_t scanNumber = 0;
  std::int32_t precursorScan = 0;
  double retentionTime = 0.0;
  double ionInjectionTime = 0.0;
  std::string activationType;            // the three characters after "I\tActivationType\t"
  std::int32_t activationCode = 0;       // 1 CID, 2 ETD, 3 HCD, -1 other
  std::string instrumentType;            // "FT" or "IT"
  std::int32_t instrumentCode = 0;       // 1 IT, 2 FT, -1 other
  double activationCenter = 0.0;         // isolation center m/z
  double isolationLower = 0.0;           // the stated isolation window below and above the center,
  double isolationUpper = 0.0;           // m/z; 0 when the text states none
  std::vector<Peak> peaks;               // file order
  std::vector<std::pair<double, double>> workPairs;
  std::int32_t precursorIndex = 0;       // k of an MGF title RAWName.scan.scan.charge.k.dta
  double compensationVoltage = kNoCompensationVoltage;  // FAIMS_CV line; NaN when there is none
};

// Scans in the fixed-size working table of the peak-difference statistics.
inline constexpr std::int32_t kScanTableSize = 200000;

struct MS2File {
  std::vector<MS2Spectrum> spectra;      // file order
  std::int32_t spectrumCount = -1;       // -1 before loading
  std::array<std::uint8_t, kActivationGroupCount> groupPresent{};
  std::vector<std::int32_t> scanTable;   // kScanTableSize zeros after loading
  std::int32_t scanTableSize = kScanTableSize;
};

// FAIMS runs: whether any MS2 scan names a compensation voltage.
inline bool anyCompensationVoltage(const MS2File& file) {
  for (const MS2Spectrum& spectrum : file.spectra)
    if (!std::isnan(spectrum.compensationVoltage)) return true;
  return false;
}

}  // namespace corvid
