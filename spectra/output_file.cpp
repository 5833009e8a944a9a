#include "spectra/output_file.h"

#include <bit>
#include <charconv>
#include <cstring>

#include "platform/fixed_decimal.h"

namespace corvid {

// Pending output is written once this much has collected: large sequential writes keep the
// writers disk-bound rather than call-bound.
constexpr std::size_t kOutputBlock = std::size_t{1} << 20;

// Room for one formatted number: the largest double in fixed notation has 309 integer digits.
constexpr std::size_t kNumberRoom = 400;

OutputFile::~OutputFile() { discardPending(pending); }

bool openOutputFile(const std::string& path, OutputFile& out) {
  discardPending(out.pending);
  out.file = nullptr;
  out.path = path;
  out.buffer.clear();
  out.position = 0;
  out.failed = false;
  if (!openPending(path, out.pending)) return false;
  out.file = out.pending.file;
  out.buffer.reserve(kOutputBlock + kOutputBlock / 4);
  return true;
}

static void noteWriteFailure(OutputFile& out) {
  if (!out.failed) out.pending.error = lastErrorText();
  out.failed = true;
}

static void writePending(OutputFile& out) {
  if (out.file == nullptr || out.buffer.empty()) return;
  if (std::fwrite(out.buffer.data(), 1, out.buffer.size(), out.file) != out.buffer.size()) {
    noteWriteFailure(out);
  }
  out.buffer.clear();
}

void flushIfLarge(OutputFile& out) {
  if (out.buffer.size() >= kOutputBlock) writePending(out);
}

bool closeOutputFile(OutputFile& out) {
  if (out.file == nullptr) return !out.failed;
  writePending(out);
  out.file = nullptr;
  if (!commitPending(out.pending, out.failed)) out.failed = true;
  return !out.failed;
}

void putBytes(OutputFile& out, std::string_view bytes) {
  out.position += bytes.size();
  if (bytes.size() < kOutputBlock) {
    out.buffer.append(bytes);
    return;
  }
  // A large piece (a whole KX part being merged) goes straight to the file, not via the buffer.
  writePending(out);
  if (out.file != nullptr && std::fwrite(bytes.data(), 1, bytes.size(), out.file) != bytes.size()) {
    noteWriteFailure(out);
  }
}

void putU32(OutputFile& out, std::uint32_t value) {
  char bytes[4];
  for (int i = 0; i < 4; ++i) bytes[i] = static_cast<char>((value >> (8 * i)) & 0xFFu);
  putBytes(out, std::string_view(bytes, 4));
}

void putF64(OutputFile& out, double value) {
  std::uint64_t bits = std::bit_cast<std::uint64_t>(value);
  char bytes[8];
  for (int i = 0; i < 8; ++i) bytes[i] = static_cast<char>((bits >> (8 * i)) & 0xFFu);
  putBytes(out, std::string_view(bytes, 8));
}

void putText(OutputFile& out, std::string_view text) { putBytes(out, text); }

void putLineEnd(OutputFile& out) { putBytes(out, "\r\n"); }

void putInt(OutputFile& out, std::int64_t value) {
  char text[24];
  std::to_chars_result done = std::to_chars(text, text + sizeof text, value);
  putBytes(out, std::string_view(text, static_cast<std::size_t>(done.ptr - text)));
}

// As std::to_chars with a precision, which formats as printf does in the C locale (same
// rounding, same "inf"/"nan" spellings), without the format-string parsing.
void putFixed(OutputFile& out, double value, int precision) {
  char text[kNumberRoom];
  const char* end = formatFixed(text, text + sizeof text, value, precision);
  putBytes(out, std::string_view(text, static_cast<std::size_t>(end - text)));
}

void putGeneral(OutputFile& out, double value, int precision) {
  char text[kNumberRoom];
  std::to_chars_result done =
      std::to_chars(text, text + sizeof text, value, std::chars_format::general, precision);
  putBytes(out, std::string_view(text, static_cast<std::size_t>(done.ptr - text)));
}

void putZeroPadded(OutputFile& out, std::int64_t value, int width) {
  char text[24];
  char* start = text;
  if (value < 0) {
    *start++ = '-';
    --width;
  }
  std::uint64_t magnitude =
      value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
  char digits[24];
  std::to_chars_result done = std::to_chars(digits, digits + sizeof digits, magnitude);
  int length = static_cast<int>(done.ptr - digits);
  for (int i = length; i < width; ++i) *start++ = '0';
  std::memcpy(start, digits, static_cast<std::size_t>(length));
  putBytes(out, std::string_view(text, static_cast<std::size_t>(start - text + length)));
}

}  // namespace corvid
