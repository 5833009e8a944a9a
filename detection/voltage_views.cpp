#include "detection/voltage_views.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <unordered_map>
#include <utility>

#include "platform/run_log.h"

namespace corvid {
namespace {

// Scans without a voltage (NaN) form a voltage of their own.
bool sameVoltage(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

// Ascending, NaN last.
bool voltageBefore(double a, double b) { return !std::isnan(a) && (std::isnan(b) || a < b); }

// The position of voltage among the distinct voltages, or their count when it is not one of them.
std::size_t voltageIndex(const std::vector<double>& voltages, double voltage) {
  std::size_t index = 0;
  while (index < voltages.size() && !sameVoltage(voltages[index], voltage)) ++index;
  return index;
}

std::vector<double> distinctVoltages(const MS1File& ms1) {
  std::vector<double> voltages;
  for (const MS1Spectrum& spectrum : ms1.spectra) {
    if (voltageIndex(voltages, spectrum.compensationVoltage) == voltages.size())
      voltages.push_back(spectrum.compensationVoltage);
  }
  std::sort(voltages.begin(), voltages.end(), voltageBefore);
  return voltages;
}

void appendVoltage(std::string& out, double voltage) {
  if (std::isnan(voltage)) {
    out += "none";
    return;
  }
  char text[32];
  const auto [end, error] = std::to_chars(text, text + sizeof text, voltage);
  if (error == std::errc()) out.append(text, end);
}

// Each MS2 scan's view: its precursor scan's voltage, else its own; the empty view last when
// no MS1 scan has that voltage.
void assignMS2Views(const std::unordered_map<std::uint32_t, std::size_t>& viewOfMS1Scan, const MS2File& ms2,
                    VoltageViews& views) {
  const std::size_t noMS1 = views.voltages.size();
  views.ms2View.assign(ms2.spectra.size(), static_cast<std::uint32_t>(noMS1));
  views.ms2WithoutMS1 = 0;
  for (std::size_t i = 0; i < ms2.spectra.size(); ++i) {
    const MS2Spectrum& spectrum = ms2.spectra[i];
    const auto precursor = viewOfMS1Scan.find(static_cast<std::uint32_t>(spectrum.precursorScan));
    std::size_t view = spectrum.precursorScan > 0 && precursor != viewOfMS1Scan.end()
                           ? precursor->second
                           : voltageIndex(views.voltages, spectrum.compensationVoltage);
    if (view == noMS1) ++views.ms2WithoutMS1;
    views.ms2View[i] = static_cast<std::uint32_t>(view);
  }
}

}  // namespace

bool hasCompensationVoltages(const MS1File& ms1) {
  return std::any_of(ms1.spectra.begin(), ms1.spectra.end(),
                     [](const MS1Spectrum& spectrum) { return !std::isnan(spectrum.compensationVoltage); });
}

void splitByVoltage(const DetectionInput& whole, MS1File& ms1, const MS2File& ms2, VoltageViews& views) {
  views.voltages = distinctVoltages(ms1);
  const std::size_t viewCount = views.voltages.size() + 1;
  views.ms1.assign(viewCount, MS1File{});
  std::vector<std::vector<std::uint8_t>> peaksAscending(viewCount);
  std::unordered_map<std::uint32_t, std::size_t> viewOfMS1Scan;
  for (std::size_t i = 0; i < ms1.spectra.size(); ++i) {
    MS1Spectrum& spectrum = ms1.spectra[i];
    const std::size_t view = voltageIndex(views.voltages, spectrum.compensationVoltage);
    viewOfMS1Scan.emplace(spectrum.scanNumber, view);
    peaksAscending[view].push_back(i < whole.ms1PeaksAscending.size() ? whole.ms1PeaksAscending[i] : 0);
    views.ms1[view].spectra.push_back(std::move(spectrum));
  }
  ms1.spectra.clear();
  ms1.spectra.shrink_to_fit();
  assignMS2Views(viewOfMS1Scan, ms2, views);

  views.inputs.clear();
  views.inputs.reserve(viewCount);
  for (std::size_t view = 0; view < viewCount; ++view) {
    MS1File& file = views.ms1[view];
    file.spectrumCount = static_cast<std::int64_t>(file.spectra.size());
    file.instrumentName = ms1.instrumentName;
    file.rawName = ms1.rawName;
    DetectionInput& input = views.inputs.emplace_back(whole);
    input.ms1 = &file;
    input.ms1ScansAscending =
        std::is_sorted(file.spectra.begin(), file.spectra.end(),
                       [](const MS1Spectrum& a, const MS1Spectrum& b) { return a.scanNumber < b.scanNumber; });
    input.ms1PeaksAscending = std::move(peaksAscending[view]);
  }
}

void reportVoltageViews(const VoltageViews& views, const std::string& ms2Name) {
  std::string note = "FAIMS: " + std::to_string(views.voltages.size()) + " compensation voltage" +
                     (views.voltages.size() == 1 ? "" : "s") + " (";
  for (std::size_t i = 0; i < views.voltages.size(); ++i) {
    if (i > 0) note += ", ";
    appendVoltage(note, views.voltages[i]);
  }
  note += "); precursors are sought in MS1 scans of each MS2 scan's own voltage.";
  logMessage(LogLabel::kNote, note);
  if (views.ms2WithoutMS1 > 0)
    logMessage(LogLabel::kAlert, ms2Name + ": " + std::to_string(views.ms2WithoutMS1) +
                                     " MS2 scans have a compensation voltage that no MS1 scan has; no precursor "
                                     "is sought for them in the MS1 scans");
}

}  // namespace corvid
