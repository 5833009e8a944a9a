#pragma once
// What every mzML file Corvid writes shares: the indexed wrapper, an output stream that keeps its
// byte offset and SHA-1 as it goes, Corvid's selected ions, and the closing index with checksum.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/pending_file.h"
#include "platform/sha1.h"
#include "spectra/corrected_mzml.h"

namespace corvid {

inline constexpr std::string_view kIndexedOpening =
    "<indexedmzML xmlns=\"http://psi.hupo.org/ms/mzml\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
    "xsi:schemaLocation=\"http://psi.hupo.org/ms/mzml http://psidev.info/files/ms/mzML/xsd/mzML1.1.2_idx.xsd\">\n";
inline constexpr std::string_view kSoftwareId = "corvid_precursor_correction";
inline constexpr std::string_view kProcessingId = "corvid_precursor_recalculation";

// The software and data processing entries that name Corvid's precursor recalculation.
std::string corvidSoftwareEntry();
std::string corvidProcessingEntry();

// Output bytes with their running offset and checksum, through a pending file.
struct MzMLOutput {
  PendingFile pending;
  std::uint64_t offset = 0;
  Sha1 checksum;
  bool checksummed = false;  // the bytes after <fileChecksum> are not part of the checksum
  void put(std::string_view bytes);
};

// One cvParam element, <cvParam cvRef="MS" accession="..." name="..."<attributes> />, where attributes
// are the value and unit attributes as built below, each with its leading space.
std::string cvParam(std::string_view accession, std::string_view name, std::string_view attributes = {});
// ` value="<value>"` (the value as given: escape it first when it may hold markup).
std::string valueAttribute(std::string_view value);
// ` unitCvRef="<cvRef>" unitAccession="<accession>" unitName="<name>"`
std::string unitAttributes(std::string_view cvRef, std::string_view accession, std::string_view name);

// Shortest text that reads back as the same double.
std::string formatNumber(double value);

// <selectedIonList> with one <selectedIon> per precursor, best first, indented under `indent`;
// the instrument's m/z and charge (when given) become userParams of the first.
std::string selectedIonList(const std::vector<CorrectedPrecursor>& precursors, std::string_view indent,
                            std::string_view instrumentMz, std::string_view instrumentCharge);

struct IndexEntry {
  std::string id;  // as written (escaped)
  std::uint64_t offset = 0;
};

// Writes the index, its offset and the checksum, closes </indexedmzML> and commits the file;
// false, with error set to the cause, when the file could not be written.
bool finishIndexedMzML(MzMLOutput& out, const std::vector<IndexEntry>& spectra,
                       const std::vector<IndexEntry>& chromatograms, std::string& error);

// One way of making a corrected mzML (from an mzML, from an mzXML): fills the outcome and
// returns whether the file was written, with outcome.error saying why not.
using CorrectedMzMLCopy = bool (*)(const std::string& inputPath, const CorrectionsByNativeId& corrections,
                                   const std::string& outputPath, CorrectedMzMLOutcome& outcome);

// Runs copy; a corrected mzML that was not written gets its one Error, naming the file and the
// cause, and counts as an output that could not be written.
CorrectedMzMLOutcome writeReportedCorrectedMzML(CorrectedMzMLCopy copy, const std::string& inputPath,
                                                const CorrectionsByNativeId& corrections,
                                                const std::string& outputPath);

// Text with &, <, >, " escaped for an attribute value.
std::string escapeXml(std::string_view text);

}  // namespace corvid
