#include "spectra/binary_array_decoder.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <libmsnumpress/MSNumpress.hpp>

namespace corvid {

namespace {

constexpr std::uint8_t kSkip = 64;     // white space inside long encoded lines
constexpr std::uint8_t kInvalid = 65;  // not a base64 character

// Value of each base64 character, or kSkip, or kInvalid.
constexpr std::array<std::uint8_t, 256> makeBase64Table() {
  std::array<std::uint8_t, 256> table{};
  for (auto& entry : table) entry = kInvalid;
  for (int i = 0; i < 26; ++i) {
    table['A' + i] = static_cast<std::uint8_t>(i);
    table['a' + i] = static_cast<std::uint8_t>(26 + i);
  }
  for (int i = 0; i < 10; ++i) table['0' + i] = static_cast<std::uint8_t>(52 + i);
  table['+'] = 62;
  table['/'] = 63;
  table[' '] = table['\t'] = table['\n'] = table['\r'] = kSkip;
  return table;
}
constexpr std::array<std::uint8_t, 256> kBase64 = makeBase64Table();

// Inflated arrays grow in steps of at least this much: fewer zlib calls for large spectra.
constexpr std::size_t kInflateStep = 1 << 16;

inline std::uint32_t swapBytes(std::uint32_t word) { return __builtin_bswap32(word); }
inline std::uint64_t swapBytes(std::uint64_t word) { return __builtin_bswap64(word); }

template <typename Float, typename Word>
void appendFloats(const std::string& bytes, bool bigEndian, std::vector<double>& values) {
  std::size_t count = bytes.size() / sizeof(Float);
  values.resize(count);
  const char* data = bytes.data();
  for (std::size_t i = 0; i < count; ++i) {
    Word word;
    std::memcpy(&word, data + i * sizeof(Float), sizeof(Float));
    if (bigEndian == (std::endian::native == std::endian::little)) word = swapBytes(word);
    values[i] = static_cast<double>(std::bit_cast<Float>(word));
  }
}

bool decodeNumpress(const std::string& bytes, NumpressKind kind, std::vector<double>& values,
                    std::string& error) {
  const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
  // Upper bounds of the decoded count: linear and pic need at least half a byte per value,
  // slof two bytes per value after its 8-byte header.
  values.resize(bytes.size() * 2 + 8);
  std::size_t count = 0;
  try {
    using ms::numpress::MSNumpress::decodeLinear;
    using ms::numpress::MSNumpress::decodePic;
    using ms::numpress::MSNumpress::decodeSlof;
    if (kind == NumpressKind::Linear) count = decodeLinear(data, bytes.size(), values.data());
    if (kind == NumpressKind::Pic) count = decodePic(data, bytes.size(), values.data());
    if (kind == NumpressKind::Slof) count = decodeSlof(data, bytes.size(), values.data());
  } catch (const char* reason) {
    error = std::string("corrupt MS-Numpress data (") + reason + ")";
    return false;
  } catch (...) {
    error = "corrupt MS-Numpress data";
    return false;
  }
  if (count > values.size()) {
    error = "corrupt MS-Numpress data";
    return false;
  }
  values.resize(count);
  return true;
}

}  // namespace

bool decodeBase64(std::string_view text, std::string& bytes, std::string& error) {
  bytes.resize(text.size() / 4 * 3 + 3);
  char* out = bytes.data();
  std::uint32_t group = 0;
  int filled = 0;
  std::size_t padding = 0;
  const std::size_t size = text.size();
  for (std::size_t i = 0; i < size; ++i) {
    // Whole groups of four plain characters, the usual case, at once; anything else (white
    // space, padding, an invalid character) character by character below.
    while (filled == 0 && size - i >= 4) {
      const auto a = kBase64[static_cast<unsigned char>(text[i])];
      const auto b = kBase64[static_cast<unsigned char>(text[i + 1])];
      const auto c = kBase64[static_cast<unsigned char>(text[i + 2])];
      const auto d = kBase64[static_cast<unsigned char>(text[i + 3])];
      if ((a | b | c | d) >= kSkip || padding != 0) break;
      const std::uint32_t word = (std::uint32_t{a} << 18) | (std::uint32_t{b} << 12) |
                                 (std::uint32_t{c} << 6) | d;
      out[0] = static_cast<char>(word >> 16);
      out[1] = static_cast<char>((word >> 8) & 0xFF);
      out[2] = static_cast<char>(word & 0xFF);
      out += 3;
      i += 4;
    }
    if (i == size) break;
    const char c = text[i];
    std::uint8_t value = kBase64[static_cast<unsigned char>(c)];
    if (value < kSkip && padding == 0) {
      group = (group << 6) | value;
      if (++filled == 4) {
        out[0] = static_cast<char>(group >> 16);
        out[1] = static_cast<char>((group >> 8) & 0xFF);
        out[2] = static_cast<char>(group & 0xFF);
        out += 3;
        group = 0;
        filled = 0;
      }
      continue;
    }
    if (value == kSkip) continue;
    if (c == '=') {
      ++padding;
      continue;
    }
    error = "invalid base64 text";
    return false;
  }
  if (filled == 1 || padding > 2 || (filled == 0 && padding > 0) ||
      (filled > 0 && padding > 0 && filled + padding != 4)) {
    error = "invalid base64 text";
    return false;
  }
  if (filled == 2) *out++ = static_cast<char>(group >> 4);
  if (filled == 3) {
    *out++ = static_cast<char>(group >> 10);
    *out++ = static_cast<char>((group >> 2) & 0xFF);
  }
  bytes.resize(static_cast<std::size_t>(out - bytes.data()));
  return true;
}

bool inflateZlib(std::string_view compressed, std::string& bytes, std::string& error, std::size_t maxBytes) {
  bytes.clear();
  z_stream stream{};
  if (inflateInit(&stream) != Z_OK) {
    error = "zlib cannot be initialised";
    return false;
  }
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(compressed.data()));
  stream.avail_in = static_cast<uInt>(compressed.size());
  int status = Z_OK;
  while (status == Z_OK) {
    std::size_t used = bytes.size();
    if (used > maxBytes) {
      inflateEnd(&stream);
      error = "its compressed array (" + std::to_string(compressed.size()) + " bytes) inflates past " +
              std::to_string(maxBytes) + " bytes";
      return false;
    }
    // One byte more than allowed is enough to tell an array that is too large.
    const std::size_t step = std::max(kInflateStep, compressed.size() * 2);
    bytes.resize(used + (maxBytes - used < step ? maxBytes - used + 1 : step));
    stream.next_out = reinterpret_cast<Bytef*>(bytes.data() + used);
    stream.avail_out = static_cast<uInt>(bytes.size() - used);
    status = inflate(&stream, Z_NO_FLUSH);
    bytes.resize(bytes.size() - stream.avail_out);
    if (status == Z_BUF_ERROR && stream.avail_in == 0) break;  // input ended inside the stream
  }
  inflateEnd(&stream);
  if (status != Z_STREAM_END) {
    error = "corrupt zlib data";
    return false;
  }
  return true;
}

bool decodeBinaryArray(std::string_view base64, const ArrayEncoding& encoding, std::vector<double>& values,
                       DecodeScratch& scratch, std::string& error, std::size_t maxValues) {
  values.clear();
  if (!decodeBase64(base64, scratch.raw, error)) return false;
  const std::string* bytes = &scratch.raw;
  // A value takes at most eight bytes, and a Numpress value about two (slof exactly two).
  const std::size_t perValue = encoding.numpress == NumpressKind::None ? 8 : 2;
  const std::size_t maxBytes =
      maxValues > static_cast<std::size_t>(-1) / 16 ? static_cast<std::size_t>(-1) : maxValues * perValue + 8;
  if (encoding.zlib && !scratch.raw.empty()) {
    if (!inflateZlib(scratch.raw, scratch.inflated, error, maxBytes)) {
      if (scratch.inflated.size() > maxBytes) {
        error = "its compressed array of " + std::to_string(scratch.raw.size()) + " bytes inflates to more than " +
                std::to_string(maxValues) + " values (max_spectrum_values)";
      }
      return false;
    }
    bytes = &scratch.inflated;
  }
  if (encoding.numpress != NumpressKind::None) {
    if (bytes->empty()) return true;
    if (!decodeNumpress(*bytes, encoding.numpress, values, error)) return false;
    if (values.size() <= maxValues) return true;
    error = "its array decodes to " + std::to_string(values.size()) + " values, more than " +
            std::to_string(maxValues) + " (max_spectrum_values)";
    values.clear();
    return false;
  }
  std::size_t width = encoding.bits == 32 ? 4 : 8;
  if (bytes->size() / width > maxValues) {
    error = "its array holds " + std::to_string(bytes->size() / width) + " values, more than " +
            std::to_string(maxValues) + " (max_spectrum_values)";
    return false;
  }
  if (bytes->size() % width != 0) {
    error = "binary array of " + std::to_string(bytes->size()) +
            " bytes is not a whole number of " + std::to_string(encoding.bits) + "-bit values";
    return false;
  }
  if (width == 4) {
    appendFloats<float, std::uint32_t>(*bytes, encoding.bigEndian, values);
  } else {
    appendFloats<double, std::uint64_t>(*bytes, encoding.bigEndian, values);
  }
  return true;
}

}  // namespace corvid
