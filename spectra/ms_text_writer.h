#pragma once
// MS1/MS2 text blocks as Corvid's loaders read them: CR LF line ends, the I keys at their fixed
// positions, and a decimal point in every number (the loaders' decimal scanner reads "5" as 50
// and knows no exponent), so numbers are written in fixed notation only.
#include <string>
#include <vector>

#include "spectra/extracted_scan.h"

namespace corvid {

// Decimals written: m/z to a millionth (below any instrument's accuracy), intensities to a
// ten-thousandth (a 32-bit float intensity keeps at most 7 significant digits, all of them shown
// for values up to 999), retention times to a microsecond.
inline constexpr int kMzDecimals = 6;
inline constexpr int kIntensityDecimals = 4;
inline constexpr int kTimeDecimals = 6;

// Appends the value in fixed notation with the given decimals (at least one).
void appendFixed(std::string& out, double value, int decimals);
// Corvid's own I line for FAIMS runs, "I\tFAIMS_CV\t<volts>", written after InstrumentType and
// only for scans that name a compensation voltage; the voltage as the shortest text that reads
// back to the same number ("-45", "-47.5").
inline constexpr const char* kCompensationVoltageKey = "FAIMS_CV";
void appendShortestNumber(std::string& out, double value);
// "S", "I RetTime", "I InstrumentType" (and "I FAIMS_CV") lines of an MS1 scan.
void appendMS1Header(std::string& out, const ExtractedScan& scan);
// "S", the I lines (RetTime, IonInjectionTime, ActivationType, InstrumentType, FAIMS_CV when
// given, PrecursorScan, ActivationCenter) and the "Z" line of an MS2 scan.
void appendMS2Header(std::string& out, const ExtractedScan& scan);
// One "m/z intensity" line per peak. Negative intensities are written as 0 and counted in
// negativeCount. Returns false when a value is not finite or an m/z is negative.
bool appendPeakLines(std::string& out, const std::vector<double>& mz,
                     const std::vector<double>& intensity, std::size_t& negativeCount);

}  // namespace corvid
