#include "spectra/output_fields.h"

#include <bit>
#include <charconv>
#include <cstring>

#include "platform/fixed_decimal.h"

namespace corvid {

// Room for one formatted number: the largest double in fixed notation has 309 integer digits.
constexpr std::size_t kNumberRoom = 400;

void putU32(PendingFile& out, std::uint32_t value) {
  char bytes[4];
  for (int i = 0; i < 4; ++i) bytes[i] = static_cast<char>((value >> (8 * i)) & 0xFFu);
  putBytes(out, std::string_view(bytes, 4));
}

void putF64(PendingFile& out, double value) {
  std::uint64_t bits = std::bit_cast<std::uint64_t>(value);
  char bytes[8];
  for (int i = 0; i < 8; ++i) bytes[i] = static_cast<char>((bits >> (8 * i)) & 0xFFu);
  putBytes(out, std::string_view(bytes, 8));
}

void putText(PendingFile& out, std::string_view text) { putBytes(out, text); }

void putLineEnd(PendingFile& out) { putBytes(out, "\r\n"); }

void putInt(PendingFile& out, std::int64_t value) {
  char text[24];
  std::to_chars_result done = std::to_chars(text, text + sizeof text, value);
  putBytes(out, std::string_view(text, static_cast<std::size_t>(done.ptr - text)));
}

// As std::to_chars with a precision, which formats as printf does in the C locale (same
// rounding, same "inf"/"nan" spellings), without the format-string parsing.
void putFixed(PendingFile& out, double value, int precision) {
  char text[kNumberRoom];
  const char* end = formatFixed(text, text + sizeof text, value, precision);
  putBytes(out, std::string_view(text, static_cast<std::size_t>(end - text)));
}

void putGeneral(PendingFile& out, double value, int precision) {
  char text[kNumberRoom];
  std::to_chars_result done = std::to_chars(text, text + sizeof text, value, std::chars_format::general, precision);
  putBytes(out, std::string_view(text, static_cast<std::size_t>(done.ptr - text)));
}

void putZeroPadded(PendingFile& out, std::int64_t value, int width) {
  char text[24];
  char* start = text;
  if (value < 0) {
    *start++ = '-';
    --width;
  }
  std::uint64_t magnitude = value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
  char digits[24];
  std::to_chars_result done = std::to_chars(digits, digits + sizeof digits, magnitude);
  int length = static_cast<int>(done.ptr - digits);
  for (int i = length; i < width; ++i) *start++ = '0';
  std::memcpy(start, digits, static_cast<std::size_t>(length));
  putBytes(out, std::string_view(text, static_cast<std::size_t>(start - text + length)));
}

}  // namespace corvid
