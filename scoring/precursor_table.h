#pragma once
// The per-precursor table <stem>.precursors.tsv (extension key `output_table`): one row per
// exported MGF block, i.e. per (MS2 scan, exported precursor), with the scan's identity, the
// instrument's recorded precursor, Corvid's precursor, its score and its 13 features by name.
// Tab-separated, LF line ends, one header line with unique names, numbers in plain decimal.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "spectra/precursor_features.h"
#include "spectra/group_export.h"

namespace corvid {

inline constexpr const char* kPrecursorTableSuffix = ".precursors.tsv";

// The scan's activation ("CID", "ETD", "HCD") and analyzer ("IT", "FT") as the table spells them;
// empty for any other.
const char* activationName(const MS2Spectrum& spectrum);
const char* analyzerName(const MS2Spectrum& spectrum);

// The header line, with its line end. Precision mode adds the column f_window_share after the 13
// features; FAIMS runs (MS2 scans with a compensation voltage) add compensation_voltage last.
std::string precursorTableHeader(bool withWindowShare = false, bool withVoltage = false);

// The features of each kept record: kept is a subset of candidates (exact copies, as the
// threshold filter leaves them); features[i] belongs to candidates[i]. Each kept record takes the
// first unused candidate equal to it.
std::vector<PrecursorFeatures> featuresOfKept(const std::vector<PrecursorRecord>& candidates,
                                              const std::vector<PrecursorFeatures>& features,
                                              const std::vector<PrecursorRecord>& kept);

// features[positions[k]] for each k: the features of kept records known by their candidate's
// position. A position past the end gives empty features, as an unmatched record does above.
std::vector<PrecursorFeatures> featuresAt(const std::vector<PrecursorFeatures>& features,
                                          const std::vector<std::size_t>& positions);

// Corvid's scan number -> the instrument's native id, from an extraction summary; empty when the
// file cannot be read (inputs that were not extracted by Corvid).
std::unordered_map<std::uint32_t, std::string> readNativeIds(const std::string& summaryPath);

// Appends the rows of one activation group in MGF block order. group.accepted[i] has the
// features keptFeatures[i] (score last). Prints the writers' progress line. The voltage column is
// there when any scan of ms2File names a voltage, as in the header.
void appendPrecursorTableRows(GroupExport group, const MS2File& ms2File,
                              const std::vector<PrecursorFeatures>& keptFeatures,
                              const std::unordered_map<std::uint32_t, std::string>& nativeIds,
                              std::string& table, bool withWindowShare = false);

// Writes the table as bytes (LF line ends) through a pending file; an "Error" line and false when
// it cannot be written.
bool writePrecursorTable(const std::string& path, const std::string& table);

// Joins the tables of the parts of a split MS2 file, "<stem>_ID_*.precursors.tsv" in name order
// (as the report is joined), into "<stem>.precursors.tsv" with one header, and removes the parts.
void joinPrecursorTableParts(const std::string& outputStem);

}  // namespace corvid
