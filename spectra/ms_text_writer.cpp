#include "spectra/ms_text_writer.h"

#include <charconv>
#include <cmath>
#include <cstdio>

#include "platform/fixed_decimal.h"
#include "spectra/open_format_terms.h"
#include "spectra/precursor_record.h"

namespace corvid {

namespace {

void appendScanNumber(std::string& out, std::uint32_t scan) {
  char text[16];
  int length = std::snprintf(text, sizeof text, "%06u", scan);
  out.append(text, static_cast<std::size_t>(length));
}

// "S\t<scan>\t<scan>": how every scan's S line starts.
void appendScanLineStart(std::string& out, std::uint32_t scan) {
  out += "S\t";
  appendScanNumber(out, scan);
  out += '\t';
  appendScanNumber(out, scan);
}

void appendItem(std::string& out, const char* key, double value, int decimals) {
  out += "I\t";
  out += key;
  out += '\t';
  appendFixed(out, value, decimals);
  out += "\r\n";
}

void appendCompensationVoltage(std::string& out, const ExtractedScan& scan) {
  if (!scan.hasCompensationVoltage) return;
  out += "I\t";
  out += kCompensationVoltageKey;
  out += '\t';
  appendShortestNumber(out, scan.compensationVoltage);
  out += "\r\n";
}

}  // namespace

void appendShortestNumber(std::string& out, double value) {
  char text[32];
  if (!std::isfinite(value)) value = 0.0;
  if (value == 0.0) value = 0.0;  // no "-0"
  const auto [end, error] = std::to_chars(text, text + sizeof text, value);
  if (error == std::errc()) out.append(text, end);
}

void appendFixed(std::string& out, double value, int decimals) {
  char text[kFixedDecimalRoom];
  if (!std::isfinite(value)) value = 0.0;
  if (value == 0.0) value = 0.0;  // no "-0.000000"
  out.append(text, formatFixed(text, text + sizeof text, value, decimals));
}

void appendMS1Header(std::string& out, const ExtractedScan& scan) {
  appendScanLineStart(out, scan.scan);
  out += "\r\n";
  appendItem(out, "RetTime", scan.retentionTime, kTimeDecimals);
  out += "I\tInstrumentType\t";
  out += analyzerText(scan.analyzer);
  out += "\r\n";
  appendCompensationVoltage(out, scan);
}

void appendMS2Header(std::string& out, const ExtractedScan& scan) {
  appendScanLineStart(out, scan.scan);
  out += '\t';
  appendFixed(out, scan.precursorMz, kMzDecimals);
  out += "\r\n";
  appendItem(out, "RetTime", scan.retentionTime, kTimeDecimals);
  appendItem(out, "IonInjectionTime", scan.ionInjectionTime, kTimeDecimals);
  out += "I\tActivationType\t";
  out += scan.activation[0] != '\0' ? scan.activation.data() : "UNK";
  out += "\r\nI\tInstrumentType\t";
  out += analyzerText(scan.analyzer);
  out += "\r\n";
  appendCompensationVoltage(out, scan);
  out += "I\tPrecursorScan\t";
  out += std::to_string(scan.precursorScan);
  out += "\r\n";
  // ActivationCenter precedes Z: with charge 0 the loader computes [M+H]+ from it.
  appendItem(out, "ActivationCenter", scan.isolationTarget, kMzDecimals);
  if (scan.isolationLower > 0.0 || scan.isolationUpper > 0.0) {
    appendItem(out, "IsolationWindowLowerOffset", scan.isolationLower, kMzDecimals);
    appendItem(out, "IsolationWindowUpperOffset", scan.isolationUpper, kMzDecimals);
  }
  out += "Z\t";
  out += std::to_string(scan.charge);
  out += '\t';
  appendFixed(out, scan.charge > 0 ? mhFromMz(scan.precursorMz, scan.charge) : 0.0, kMzDecimals);
  out += "\r\n";
}

bool appendPeakLines(std::string& out, const std::vector<double>& mz,
                     const std::vector<double>& intensity, std::size_t& negativeCount) {
  char text[2 * kFixedDecimalRoom + 4];
  char* const end = text + sizeof text;
  for (std::size_t i = 0; i < mz.size(); ++i) {
    double m = mz[i];
    double v = intensity[i];
    if (!std::isfinite(m) || !std::isfinite(v) || m < 0.0) return false;
    if (v < 0.0) {
      v = 0.0;
      ++negativeCount;
    }
    if (v == 0.0) v = 0.0;
    char* p = formatFixed(text, end, m, kMzDecimals);
    *p++ = ' ';
    p = formatFixed(p, end, v, kIntensityDecimals);
    *p++ = '\r';
    *p++ = '\n';
    out.append(text, p);
  }
  return true;
}

}  // namespace corvid
