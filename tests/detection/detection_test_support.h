#pragma once
// Builders shared by the detection tests: small MS1 files, parameter tables with the defaults,
// one worker's detection state, and a console capture for the debug traces (folders and files
// come from tests/support).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <unistd.h>
#include <vector>

#include "detection/candidate_detection.h"
#include "detection/detection_context.h"
#include "detection/isotope_pattern_table.h"
#include "detection/ms1_peak_gathering.h"
#include "startup/parameter_table.h"
#include "tests/support/table_adapters.h"
#include "tests/support/test_support.h"

namespace corvid::testing {

// Textbook two-pass Pearson correlation, written apart from the production formula so that
// tests compare against an independent computation; 0 where it is undefined.
inline double textbookPearson(const std::vector<double>& x, const std::vector<double>& y) {
  double mx = 0.0, my = 0.0;
  for (std::size_t i = 0; i < x.size(); ++i) {
    mx += x[i];
    my += y[i];
  }
  mx /= static_cast<double>(x.size());
  my /= static_cast<double>(x.size());
  double sxy = 0.0, sxx = 0.0, syy = 0.0;
  for (std::size_t i = 0; i < x.size(); ++i) {
    sxy += (x[i] - mx) * (y[i] - my);
    sxx += (x[i] - mx) * (x[i] - mx);
    syy += (y[i] - my) * (y[i] - my);
  }
  if (sxx == 0.0 || syy == 0.0) return 0.0;
  return sxy / std::sqrt(sxx * syy);
}

inline MS1Spectrum makeScan(std::uint32_t scanNumber, std::vector<Peak> peaks) {
  MS1Spectrum scan;
  scan.scanNumber = scanNumber;
  scan.peaks = std::move(peaks);
  return scan;
}

inline MS1File makeMs1File(std::vector<MS1Spectrum> scans) {
  MS1File file;
  file.spectra = std::move(scans);
  file.spectrumCount = static_cast<std::int64_t>(file.spectra.size());
  file.instrumentName = "FTMS";
  return file;
}

inline ParameterTable defaultParameters() {
  ParameterTable table;
  setDefaults(table);
  return table;
}

// One worker's detection over a small file: the input, its scratch and its output together.
struct Detection {
  DetectionInput input;
  DetectionScratch scratch;
  DetectionOutput output;
};

inline Detection makeDetection(const ParameterTable& parameters, const MS1File& ms1) {
  return {makeDetectionInput(parameters, ms1), makeDetectionScratch(), {}};
}

// The detection calls on the three parts of a Detection.
inline void gatherMS1Peaks(Detection& detection, std::int32_t ms2ScanNumber, double activationCenter,
                           std::vector<Peak>& gatheredPeaks) {
  corvid::gatherMS1Peaks(detection.input, detection.scratch, ms2ScanNumber, activationCenter, gatheredPeaks);
}
inline void detectCandidates(Detection& detection, double activationCenter, std::int32_t scanNumber,
                             std::vector<Peak>& gatheredPeaks) {
  corvid::detectCandidates(detection.input, detection.scratch, detection.output, activationCenter, scanNumber,
                           gatheredPeaks);
}

// Sets a value by moving a whole string in: GCC 12 warns falsely (-Wrestrict) about assigning a
// short literal to a map's string at -O2.
inline void setParameter(ParameterTable& table, const std::string& key, std::string value) {
  table[key] = std::move(value);
}

// Clears every row of the process-wide isotope table and sets the given ones.
inline void resetIsotopeTable() {
  for (IsotopePattern& row : runIsotopeTable().rows) row = IsotopePattern{};
}

// Captures what is printed on stdout between construction and text() by redirecting the
// descriptor; unlike StdoutCapture it restores stdout when it ends, so a capture whose text is not
// wanted can simply go out of scope before the next one starts.
class StdoutRedirect {
 public:
  StdoutRedirect() {
    std::fflush(stdout);
    file_ = std::tmpfile();
    saved_ = dup(fileno(stdout));
    dup2(fileno(file_), fileno(stdout));
  }
  ~StdoutRedirect() { restore(); if (file_ != nullptr) std::fclose(file_); }
  std::string text() {
    restore();
    std::string out;
    std::rewind(file_);
    char buffer[4096];
    std::size_t n = 0;
    while ((n = std::fread(buffer, 1, sizeof buffer, file_)) > 0) out.append(buffer, n);
    return out;
  }

 private:
  void restore() {
    if (saved_ < 0) return;
    std::fflush(stdout);
    dup2(saved_, fileno(stdout));
    close(saved_);
    saved_ = -1;
  }
  std::FILE* file_ = nullptr;
  int saved_ = -1;
};

}  // namespace corvid::testing
