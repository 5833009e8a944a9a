#pragma once
// One spectrum as read from an open-format (mzML or mzXML) file, before it is written as MS1/MS2
// text. The readers refill one record per spectrum, so its vectors keep their capacity.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace corvid {

// Mass analyzer family, as Corvid's MS1/MS2 text names it ("FTMS", "ITMS", "QTOF").
enum class AnalyzerKind { Unknown, FourierTransform, IonTrap, TimeOfFlight };

struct OpenSpectrum {
  std::string nativeId;    // mzML spectrum id; mzXML "scan=" + num
  std::int64_t index = 0;  // position among the file's spectra, from 0
  int msLevel = 1;
  double retentionTime = 0.0;     // seconds
  double ionInjectionTime = 0.0;  // milliseconds, 0 when not given
  AnalyzerKind analyzer = AnalyzerKind::Unknown;
  std::string unknownAnalyzer;  // the analyzer the file names when Corvid knows no family for it
  std::string filterText;    // vendor filter line, empty when absent
  int centroided = -1;       // mzXML's centroided attribute: 1, 0, or -1 when absent
  std::string activation;    // "CID", "ETD", "HCD", another short name, or empty
  std::string precursorRef;  // native id of the precursor spectrum, empty when absent
  bool hasIsolationTarget = false;
  double isolationTarget = 0.0;  // m/z
  double isolationLower = 0.0;   // the window's offsets below and above the target, m/z; 0 when
  double isolationUpper = 0.0;   // the file states none
  bool hasSelectedMz = false;
  double selectedMz = 0.0;  // m/z
  int charge = 0;           // 0 when unknown
  bool hasCompensationVoltage = false;  // FAIMS runs: the voltage selecting the scan's ions
  double compensationVoltage = 0.0;     // volts
  std::vector<double> mz;   // same length as intensity
  std::vector<double> intensity;
};

// Resets everything but the id and the position for the next spectrum; the peak vectors keep their
// capacity.
inline void clearSpectrumContents(OpenSpectrum& s) {
  s.msLevel = 1;
  s.retentionTime = 0.0;
  s.ionInjectionTime = 0.0;
  s.analyzer = AnalyzerKind::Unknown;
  s.unknownAnalyzer.clear();
  s.filterText.clear();
  s.centroided = -1;
  s.activation.clear();
  s.precursorRef.clear();
  s.hasIsolationTarget = s.hasSelectedMz = false;
  s.isolationTarget = s.selectedMz = 0.0;
  s.isolationLower = s.isolationUpper = 0.0;
  s.charge = 0;
  s.hasCompensationVoltage = false;
  s.compensationVoltage = 0.0;
  s.mz.clear();
  s.intensity.clear();
}

// The most values one peak array of a spectrum may hold (extension key max_spectrum_values): far
// above any real spectrum, it stops a small file whose compressed arrays inflate to gigabytes
// before the memory is taken.
inline constexpr std::size_t kDefaultMaxSpectrumValues = 20000000;

struct OpenFormatLimits {
  std::size_t maxSpectrumValues = kDefaultMaxSpectrumValues;
};

// Receives each spectrum in file order; returns false (with a reason) to stop reading.
using SpectrumSink = std::function<bool(const OpenSpectrum& spectrum, std::string& error)>;

}  // namespace corvid
