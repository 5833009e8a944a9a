#include "tools/reference_list/spectrum_numbers.h"

#include "platform/text_pieces.h"

namespace corvid::reflist {

namespace {

// Scan numbers beyond this are not scan numbers (and would overflow Corvid's 32-bit fields).
constexpr long kLargestScan = 2147483647L;


// The value of the digits from `start`; 0 when there are none or the number is out of range.
long digitsAt(std::string_view text, std::size_t start) {
  long value = 0;
  std::size_t at = start;
  for (; at < text.size() && isDigit(text[at]); ++at) {
    value = value * 10 + (text[at] - '0');
    if (value > kLargestScan) return 0;
  }
  return at == start ? 0 : value;
}

long afterKey(std::string_view text, std::string_view key) {
  const std::size_t at = text.find(key);
  if (at == std::string_view::npos) return -1;
  return digitsAt(text, at + key.size());
}

bool allDigits(std::string_view text) {
  if (text.empty()) return false;
  for (char c : text) {
    if (!isDigit(c)) return false;
  }
  return true;
}

}  // namespace

long scanFromTitle(std::string_view title) {
  if (const long scan = afterKey(title, "scan="); scan > 0) return scan;
  // "stem.FIRST.LAST.CHARGE", possibly followed by a blank and more text (msconvert's MGF titles).
  const std::size_t blank = title.find(' ');
  const std::string_view name = title.substr(0, blank);
  const std::size_t chargeDot = name.rfind('.');
  if (chargeDot == std::string_view::npos || chargeDot == 0) return 0;
  const std::size_t lastDot = name.rfind('.', chargeDot - 1);
  if (lastDot == std::string_view::npos || lastDot == 0) return 0;
  const std::size_t firstDot = name.rfind('.', lastDot - 1);
  if (firstDot == std::string_view::npos) return 0;
  const std::string_view first = name.substr(firstDot + 1, lastDot - firstDot - 1);
  const std::string_view last = name.substr(lastDot + 1, chargeDot - lastDot - 1);
  const std::string_view charge = name.substr(chargeDot + 1);
  if (!allDigits(first) || !allDigits(last) || !allDigits(charge)) return 0;
  return digitsAt(first, 0);
}

long scanFromSpectrumId(std::string_view spectrumId) {
  if (const long scan = afterKey(spectrumId, "scan="); scan > 0) return scan;
  if (spectrumId.rfind("index=", 0) == 0) {
    const long index = afterKey(spectrumId, "index=");
    const bool digits = spectrumId.size() > 6 && isDigit(spectrumId[6]);
    return digits && index < kLargestScan ? index + 1 : 0;
  }
  std::size_t last = spectrumId.size();
  while (last > 0 && !isDigit(spectrumId[last - 1])) --last;
  if (last == 0) return 0;
  std::size_t first = last;
  while (first > 0 && isDigit(spectrumId[first - 1])) --first;
  return digitsAt(spectrumId.substr(0, last), first);
}

}  // namespace corvid::reflist
