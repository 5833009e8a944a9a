#pragma once
// Splits a very large MS2 text file into parts of a fixed number of scans, so that each part
// fits the loaders' read buffer.
#include <cstdint>
#include <string>
#include <vector>


namespace corvid {

// An MS2 file larger than this is split before processing: it is the loaders' 3 GiB read buffer.
inline constexpr std::int64_t kMS2SplitThreshold = 3221225472;

// Scans per part: 5000 for WIFF input (its scans carry many more peaks), 80000 otherwise.
inline constexpr std::int64_t kSpectraPerPart = 80000;
inline constexpr std::int64_t kSpectraPerWiffPart = 5000;

// The number of scans per part: kSpectraPerWiffPart for WIFF input, kSpectraPerPart otherwise.
std::int64_t ms2PartSize(bool wiffInput);

// Part k of an MS2 file: the path less its last four characters + "_ID_" + k + ".ms2".
std::string ms2PartPath(const std::string& ms2Path, int part);

// Copies ms2Path byte for byte into parts of spectraPerPart scans (at least 1): header lines go
// to part 0, every later part starts with an S line. A line starts after a line feed, so a file
// with LF line ends splits at the same scans as its CR LF copy, and its parts keep their line
// ends. Fills partPaths, logs "File <k>: <path> complete!" per part and returns the number of
// parts. Throws RunFailure when the file cannot be read or a part cannot be written.
int splitMS2(const std::string& ms2Path, std::int64_t spectraPerPart,
             std::vector<std::string>& partPaths);

}  // namespace corvid
