#pragma once
// KX: the compact binary spectrum format. A data file (".kx2" for MS2, ".kx1" for MS1) and an
// index file named the same plus "idx". Every integer is 32-bit, every real a 64-bit IEEE double,
// little-endian, back to back:
//   data:   spectrumCount u32, titleLength u32 (with the zero byte), title bytes, then per record
//           scan u32, peakCount u32, peakCount x (m/z f64, intensity f64),
//           precursorCount u32, precursorCount x (m/z f64, charge u32)
//   index:  per record scan u32, offset u32 (byte position of the record's scan field)
// Offsets are 32-bit, so a data file must stay below 2147483648 bytes; the writers report a
// file that grows past that with an "Alert" line (its later offsets wrap around).
#include <cstdint>
#include <string>
#include <vector>

#include "spectra/group_export.h"
#include "spectra/mgf_reader.h"
#include "spectra/output_fields.h"
#include "spectra/spectrum_records.h"

namespace corvid {

// Empty path: the fixed fallback name below is used, as it always has been.
inline constexpr const char* kKXFallbackPath = "F:\\test.kx";

// Record offsets beyond this no longer fit the format's signed 32-bit file positions.
inline constexpr std::int64_t kKXOffsetLimit = 2147483647;

// One activation group: one record per spectrum with the accepted precursors of its scan (or
// the recorded precursor). group.writtenCount gets the number of precursors written. Returns
// false, after an "Error" log line naming the file, when an output cannot be written.
bool writeKX2(GroupExport& group, const MS2File& ms2File, const std::string& path);

// All MS1 spectra, titled with ms1File.rawName; each record has one precursor slot holding the
// retention time and the charge 1.
bool writeKX1(const MS1File& ms1File, const std::string& path);

// The spectra of a read MGF file, into its path less the last four characters + ".kx2" and
// + ".kx2idx". Blocks of one scan become one record (peaks of the first block) whose precursors
// sit at the blocks' precursor indices.
void writeKX2FromMGF(const MGFFile& mgfFile);

// A KX data file and its index, read whole.
struct KXReader {
  std::string path;
  std::int32_t spectrumCount = 0;  // first field of the data file
  std::uint32_t titleLength = 0;   // with the terminating zero byte
  std::string title;               // up to the zero byte
  std::int64_t headerLength = 0;   // titleLength + 8
  std::int64_t dataSize = 0;
  std::int64_t indexSize = 0;
  std::vector<char> data;   // the data file plus one zero byte
  std::vector<char> index;  // the index file plus one zero byte
};

// Loads path and path + "idx" (announced with label "Info"). Throws RunFailure: the missing-file
// text when a file does not exist, "Fail to Open KX file" when it cannot be read.
void openKX(KXReader& reader, const std::string& path);
// Reads spectrumCount, titleLength, title and headerLength from the loaded data; throws
// RunFailure when the data is too short for its header.
void readKXHeader(KXReader& reader);
// Writes totalCount and the reader's title field; prints the title and "Title" on standard
// output. Returns the header length written.
std::int64_t writeMergedHeader(const KXReader& reader, PendingFile& out, std::int64_t totalCount);
// Appends the reader's records (data after its header) and its index entries, offsets shifted
// to outPosition; outPosition then moves past the appended records.
void appendKX(const KXReader& reader, PendingFile& outData, PendingFile& outIndex, std::int64_t& outPosition,
              std::int64_t headerLength);
// Merges the KX2 files of the parts of one acquisition into targetPath and targetPath + "idx":
// the count is the sum, the title that of the first part. False (with an "Error" line) when
// there is no part or the output cannot be written.
bool mergeKX2Parts(const std::vector<std::string>& partPaths, const std::string& targetPath);

// The 32-bit little-endian value at offset of a loaded buffer of size bytes. An empty buffer
// prints "Error" and gives 0; a value beyond size throws RunFailure naming path.
std::uint32_t readKXValue(const std::vector<char>& buffer, std::int64_t size, std::int64_t offset,
                          const std::string& path);

}  // namespace corvid
