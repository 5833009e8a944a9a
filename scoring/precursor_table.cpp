#include "scoring/precursor_table.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "platform/file_patterns.h"
#include "platform/pending_file.h"
#include "platform/run_log.h"
#include "platform/run_outcome.h"
#include "spectra/scan_summary.h"

namespace corvid {
namespace {

// Same charge and within 20 ppm: the recorded precursor is among the ones exported.
constexpr double kSamePrecursorPpm = 20.0;

// Plain decimal with six places; an empty field for a value that is not a number.
void appendNumber(std::string& out, double value) {
  if (!std::isfinite(value)) return;
  char buffer[400];
  const auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 6);
  if (error == std::errc()) out.append(buffer, end);
}

void appendInteger(std::string& out, long long value) { out += std::to_string(value); }

// Tabs and line ends inside a text field would break the table; native ids never hold them, but
// a damaged summary might.
void appendText(std::string& out, std::string_view text) {
  for (char c : text) out += (c == '\t' || c == '\n' || c == '\r') ? ' ' : c;
}

bool isRecordedPrecursor(const MS2Spectrum& spectrum, const PrecursorRecord& row) {
  if (chargeOfRow(row) != spectrum.charge) return false;
  const double recorded = recordedMz(spectrum);
  return std::abs(row.mz - recorded) <= recorded * kSamePrecursorPpm * 1e-6;
}

// The scan's own fields: native id, scan, retention time, activation, analyzer, recorded m/z and
// charge, each followed by a tab.
void appendScanFields(std::string& line, const MS2Spectrum& spectrum,
                      const std::unordered_map<std::uint32_t, std::string>& nativeIds) {
  const auto id = nativeIds.find(spectrum.scanNumber);
  if (id != nativeIds.end()) appendText(line, id->second);
  line += '\t';
  appendInteger(line, spectrum.scanNumber);
  line += '\t';
  appendNumber(line, spectrum.retentionTime);
  line += '\t';
  line += activationName(spectrum);
  line += '\t';
  line += analyzerName(spectrum);
  line += '\t';
  appendNumber(line, recordedMz(spectrum));
  line += '\t';
  appendInteger(line, spectrum.charge);
  line += '\t';
}

// Nothing accepted: the instrument's precursor is exported, unscored, its feature fields empty.
void appendRecordedPrecursorFields(std::string& line, const MS2Spectrum& spectrum, bool withWindowShare) {
  line += "0\t";
  appendNumber(line, recordedMz(spectrum));
  line += '\t';
  appendInteger(line, spectrum.charge);
  line += '\t';
  for (std::size_t f = 0; f < kDetectedFeatureCount; ++f) line += '\t';
  if (withWindowShare) line += '\t';
  line += '\t';
}

// One accepted precursor: rank (from 1), m/z, charge, score and the detected features.
void appendAcceptedFields(std::string& line, const PrecursorRecord& row, std::int32_t rank,
                          const PrecursorFeatures& features, bool withWindowShare) {
  appendInteger(line, rank + 1);
  line += '\t';
  appendNumber(line, row.mz);
  line += '\t';
  appendInteger(line, chargeOfRow(row));
  line += '\t';
  if (features.size() > kFeatureScore) appendNumber(line, features[kFeatureScore]);
  for (std::size_t f = 0; f < kDetectedFeatureCount; ++f) {
    line += '\t';
    if (f < features.size()) appendNumber(line, features[f]);
  }
  if (withWindowShare) {
    line += '\t';
    if (features.size() > kFeatureWindowShare) appendNumber(line, features[kFeatureWindowShare]);
  }
  line += '\t';
}

}  // namespace

const char* activationName(const MS2Spectrum& spectrum) {
  switch (spectrum.activationCode) {
    case 1: return "CID";
    case 2: return "ETD";
    case 3: return "HCD";
    default: return "";
  }
}

const char* analyzerName(const MS2Spectrum& spectrum) {
  switch (spectrum.instrumentCode) {
    case 1: return "IT";
    case 2: return "FT";
    default: return "";
  }
}

std::string precursorTableHeader(bool withWindowShare, bool withVoltage) {
  std::string header =
      "native_id\tscan\tretention_time_s\tactivation\tanalyzer\trecorded_mz\trecorded_charge\trank\tmz\tcharge\tscore";
  for (std::string_view name : kDetectedFeatureNames) {
    header += '\t';
    header += name;
  }
  if (withWindowShare) {
    header += '\t';
    header += kWindowShareFeatureName;
  }
  header += "\trecorded_precursor_kept";
  if (withVoltage) header += "\tcompensation_voltage";
  header += '\n';
  return header;
}

std::vector<PrecursorFeatures> featuresOfKept(const std::vector<PrecursorRecord>& candidates,
                                              const std::vector<PrecursorFeatures>& features,
                                              const std::vector<PrecursorRecord>& kept) {
  std::vector<PrecursorFeatures> result(kept.size());
  std::vector<bool> used(candidates.size(), false);
  std::size_t start = 0;  // kept rows come in candidate scan order: the search moves forward
  for (std::size_t k = 0; k < kept.size(); ++k) {
    const PrecursorRecord& row = kept[k];
    while (start < candidates.size() && candidates[start].scan < row.scan) ++start;
    for (std::size_t i = start; i < candidates.size() && candidates[i].scan == row.scan; ++i) {
      const PrecursorRecord& candidate = candidates[i];
      if (!used[i] && candidate.charge == row.charge && candidate.mz == row.mz && i < features.size()) {
        used[i] = true;
        result[k] = features[i];
        break;
      }
    }
  }
  return result;
}

std::vector<PrecursorFeatures> featuresAt(const std::vector<PrecursorFeatures>& features,
                                          const std::vector<std::size_t>& positions) {
  std::vector<PrecursorFeatures> result(positions.size());
  for (std::size_t k = 0; k < positions.size(); ++k) {
    if (positions[k] < features.size()) result[k] = features[positions[k]];
  }
  return result;
}

std::unordered_map<std::uint32_t, std::string> readNativeIds(const std::string& summaryPath) {
  std::unordered_map<std::uint32_t, std::string> ids;
  std::ifstream in(summaryPath, std::ios::binary);
  std::string line;
  if (!std::getline(in, line)) return ids;  // header
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const auto fields = splitScanSummaryLine(line);
    if (!fields || fields->size() < 3) continue;
    const std::string& number = (*fields)[0];
    std::uint32_t scan = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), scan);
    if (error == std::errc() && end == number.data() + number.size()) ids[scan] = (*fields)[2];
  }
  return ids;
}

void appendPrecursorTableRows(GroupExport group, const MS2File& ms2File,
                              const std::vector<PrecursorFeatures>& keptFeatures,
                              const std::unordered_map<std::uint32_t, std::string>& nativeIds,
                              std::string& table, bool withWindowShare) {
  const PrecursorRecord* first = group.accepted.data();
  // Whether a scan's exported precursors include the recorded one, known once its rows are seen:
  // rows are gathered per scan and written when the scan changes.
  std::vector<std::string> pending;
  bool recordedKept = false;
  const bool withVoltage = anyCompensationVoltage(ms2File);
  double scanVoltage = kNoCompensationVoltage;
  auto flushScan = [&] {
    for (std::string& row : pending) {
      row += recordedKept ? "1" : "0";
      if (withVoltage) {
        row += '\t';
        appendNumber(row, scanVoltage);
      }
      row += '\n';
      table += row;
    }
    pending.clear();
    recordedKept = false;
  };
  std::uint32_t currentScan = 0;
  bool anyScan = false;
  SkippedSpectra skipped;
  walkGroupBlocks(group, ms2File, "TSV", [&](const MS2Spectrum& spectrum, const PrecursorRecord* row, std::int32_t rank) {
    if (!anyScan || spectrum.scanNumber != currentScan) flushScan();
    anyScan = true;
    currentScan = spectrum.scanNumber;
    scanVoltage = spectrum.compensationVoltage;
    std::string line;
    appendScanFields(line, spectrum, nativeIds);
    if (row == nullptr) {
      appendRecordedPrecursorFields(line, spectrum, withWindowShare);
      recordedKept = true;
    } else {
      appendAcceptedFields(line, *row, rank, keptFeatures[static_cast<std::size_t>(row - first)], withWindowShare);
      if (isRecordedPrecursor(spectrum, *row)) recordedKept = true;
    }
    pending.push_back(std::move(line));
  }, skipped);
  flushScan();
}

bool writePrecursorTable(const std::string& path, const std::string& table) {
  PendingFile pending;
  bool written = openPending(path, pending);
  if (written) {
    putBytes(pending, table);
    written = commitPending(pending);
  }
  if (!written) {
    logMessage(LogLabel::kError, "Fail to write the precursor table " + path + ": " + pending.error);
    noteRunProblem(RunProblem::kOutputUnwritable);
  }
  return written;
}

void joinPrecursorTableParts(const std::string& outputStem) {
  const std::string pattern = outputStem + "_ID_*" + kPrecursorTableSuffix;
  const std::vector<std::string> parts = filesMatching(pattern);
  if (parts.empty()) return;
  std::string joined;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    std::ifstream in(parts[i], std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    std::string content = text.str();
    if (i > 0) content.erase(0, content.find('\n') == std::string::npos ? content.size() : content.find('\n') + 1);
    joined += content;
  }
  if (writePrecursorTable(outputStem + kPrecursorTableSuffix, joined)) deleteMatching(pattern);
}

}  // namespace corvid
