#pragma once
// Field-by-field comparison of loaded MS1/MS2 records: the same numbers bit for bit, not merely
// close ones. Used to show that a file reads the same whatever its line ends.
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <string>
#include <vector>

#include "spectra/spectrum_records.h"

namespace corvid::testing {

// CR LF pairs become LF; every second line only, when alternate is set.
inline std::string withLineFeeds(const std::string& crlf, bool alternate = false) {
  std::string text;
  text.reserve(crlf.size());
  int line = 0;
  for (std::size_t i = 0; i < crlf.size(); ++i) {
    if (crlf[i] == '\r' && i + 1 < crlf.size() && crlf[i + 1] == '\n') {
      if (!alternate || line % 2 == 0) continue;  // the CR is dropped, the LF follows
      text += '\r';
      continue;
    }
    if (crlf[i] == '\n') ++line;
    text += crlf[i];
  }
  return text;
}

// Bit for bit: the same doubles, not merely close ones.
inline void expectSamePeaks(const std::vector<Peak>& a, const std::vector<Peak>& b, std::uint32_t scan) {
  ASSERT_EQ(a.size(), b.size()) << "scan " << scan;
  for (std::size_t i = 0; i < a.size(); ++i) {
    EXPECT_EQ(std::bit_cast<std::uint64_t>(a[i].mz), std::bit_cast<std::uint64_t>(b[i].mz)) << scan;
    EXPECT_EQ(std::bit_cast<std::uint64_t>(a[i].intensity), std::bit_cast<std::uint64_t>(b[i].intensity))
        << scan;
  }
}

inline void expectSameMs1(const MS1File& a, const MS1File& b) {
  EXPECT_EQ(a.spectrumCount, b.spectrumCount);
  EXPECT_EQ(a.instrumentName, b.instrumentName);
  ASSERT_EQ(a.spectra.size(), b.spectra.size());
  for (std::size_t i = 0; i < a.spectra.size(); ++i) {
    const MS1Spectrum& x = a.spectra[i];
    const MS1Spectrum& y = b.spectra[i];
    EXPECT_EQ(x.scanNumber, y.scanNumber);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(x.retentionTime), std::bit_cast<std::uint64_t>(y.retentionTime));
    EXPECT_EQ(x.instrumentLetter, y.instrumentLetter);
    expectSamePeaks(x.peaks, y.peaks, x.scanNumber);
  }
}

inline void expectSameMs2(const MS2File& a, const MS2File& b) {
  EXPECT_EQ(a.spectrumCount, b.spectrumCount);
  EXPECT_EQ(a.groupPresent, b.groupPresent);
  ASSERT_EQ(a.spectra.size(), b.spectra.size());
  for (std::size_t i = 0; i < a.spectra.size(); ++i) {
    const MS2Spectrum& x = a.spectra[i];
    const MS2Spectrum& y = b.spectra[i];
    EXPECT_EQ(x.scanNumber, y.scanNumber);
    EXPECT_EQ(x.charge, y.charge) << x.scanNumber;
    EXPECT_EQ(std::bit_cast<std::uint64_t>(x.precursorMH), std::bit_cast<std::uint64_t>(y.precursorMH));
    EXPECT_EQ(std::bit_cast<std::uint64_t>(x.retentionTime), std::bit_cast<std::uint64_t>(y.retentionTime));
    EXPECT_EQ(std::bit_cast<std::uint64_t>(x.ionInjectionTime),
              std::bit_cast<std::uint64_t>(y.ionInjectionTime));
    EXPECT_EQ(std::bit_cast<std::uint64_t>(x.activationCenter),
              std::bit_cast<std::uint64_t>(y.activationCenter));
    EXPECT_EQ(x.activationType, y.activationType);
    EXPECT_EQ(x.activationCode, y.activationCode);
    EXPECT_EQ(x.instrumentType, y.instrumentType);
    EXPECT_EQ(x.instrumentCode, y.instrumentCode);
    EXPECT_EQ(x.activationGroup, y.activationGroup);
    EXPECT_EQ(x.precursorScan, y.precursorScan);
    expectSamePeaks(x.peaks, y.peaks, x.scanNumber);
  }
}

}  // namespace corvid::testing
