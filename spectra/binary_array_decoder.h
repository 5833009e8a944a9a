#pragma once
// Decoding of the base64 peak arrays of open formats: optional zlib, optional MS-Numpress, 32- or
// 64-bit IEEE floats, little-endian (mzML) or network byte order (mzXML).
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace corvid {

enum class NumpressKind { None, Linear, Pic, Slof };

struct ArrayEncoding {
  int bits = 64;      // 32 or 64; unused for Numpress arrays
  bool zlib = false;  // zlib stream around the bytes (or around the Numpress bytes)
  NumpressKind numpress = NumpressKind::None;
  bool bigEndian = false;  // mzXML "network" byte order
};

// Reused working space, so decoding allocates only while arrays grow.
struct DecodeScratch {
  std::string raw;       // base64-decoded bytes
  std::string inflated;  // zlib output
};

// Appends nothing and returns false with a reason when the base64 text is invalid, the zlib
// stream is corrupt, the byte count is not a whole number of values, or Numpress data is corrupt.
bool decodeBase64(std::string_view text, std::string& bytes, std::string& error);
// maxBytes / maxValues: the most the array may inflate or decode to; past it decoding stops with
// a reason before more memory is taken.
bool inflateZlib(std::string_view compressed, std::string& bytes, std::string& error,
                 std::size_t maxBytes = static_cast<std::size_t>(-1));
bool decodeBinaryArray(std::string_view base64, const ArrayEncoding& encoding, std::vector<double>& values,
                       DecodeScratch& scratch, std::string& error,
                       std::size_t maxValues = static_cast<std::size_t>(-1) / 8);

}  // namespace corvid
