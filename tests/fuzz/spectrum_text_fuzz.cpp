// Fuzz targets for the readers of spectrum text: MS1, MS2, MGF, the reference list, mzML/mzXML.
// Each writes the bytes to a file and reads it the way a run would; a reader may reject the
// input with its message, but must not crash, hang, or read outside its buffer.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <string_view>

#include "scoring/reference_list_loader.h"
#include "spectra/mgf_reader.h"
#include "spectra/ms1_reader.h"
#include "spectra/ms2_reader.h"
#include "spectra/open_format_extractor.h"
#include "platform/run_failure.h"
#include "platform/run_log.h"
#include "tests/fuzz/fuzz_targets.h"
#include "tests/support/test_support.h"

namespace corvid::fuzz {
namespace {

std::string writeInput(const std::string& name, const std::uint8_t* data, std::size_t size) {
  static corvid::testing::TempDir dir;
  const std::string path = dir.file(name);
  corvid::testing::writeFile(path, std::string_view(reinterpret_cast<const char*>(data), size));
  return path;
}

// Fuzzed inputs produce many Alert lines; the log would only grow.
void dropLog() { discardRunLog(); }

}  // namespace

int fuzzMs1Text(const std::uint8_t* data, std::size_t size) {
  const std::string path = writeInput("fuzz.ms1", data, size);
  MS1File ms1;
  try {
    loadMS1File(path, 4096, ms1);  // small chunks, so the chunk cut is exercised too
  } catch (const RunFailure&) {
  }
  dropLog();
  return 0;
}

int fuzzMs2Text(const std::uint8_t* data, std::size_t size) {
  const std::string path = writeInput("fuzz.ms2", data, size);
  MS2File ms2;
  try {
    loadMS2File(path, ms2);
  } catch (const RunFailure&) {
  }
  for (const MS2Spectrum& spectrum : ms2.spectra) {
    if (spectrum.activationGroup >= kActivationGroupCount) __builtin_trap();
  }
  dropLog();
  return 0;
}

namespace {

// True when every TITLE line the MGF reader would parse has a readable scan. The reader ends the
// process on any other title (a death test covers that), so such inputs only go through the title
// parser. The lines are cut as the reader cuts them: CR LF read as LF, pieces of at most 1023
// characters ending at a line feed, each piece read up to its first zero byte and its last
// character dropped.
bool mgfTitlesReadable(std::string_view bytes) {
  std::string text(bytes);
  std::size_t kept = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    text[kept++] = text[i];
  }
  text.resize(kept);
  constexpr std::size_t kPiece = 1023;
  std::string_view rest(text);
  while (!rest.empty()) {
    const std::size_t lineFeed = rest.substr(0, kPiece).find('\n');
    const std::size_t length = lineFeed == std::string_view::npos ? std::min(rest.size(), kPiece) : lineFeed + 1;
    std::string_view piece = rest.substr(0, length);
    piece = piece.substr(0, piece.find('\0'));
    rest.remove_prefix(length);
    if (!piece.starts_with("TITLE=")) continue;
    piece.remove_suffix(1);
    if (!parseMGFTitle(piece.substr(std::min<std::size_t>(6, piece.size()))).scanValid) return false;
  }
  return true;
}

}  // namespace

int fuzzMgf(const std::uint8_t* data, std::size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  if (!mgfTitlesReadable(text)) return 0;
  MGFFile mgf;
  mgf.path = writeInput("fuzz.mgf", data, size);
  readMGF(mgf);
  dropLog();
  return 0;
}

int fuzzReferenceList(const std::uint8_t* data, std::size_t size) {
  const std::string path = writeInput("fuzz_reference.txt", data, size);
  try {
    ReferencePrecursorList list = loadReferencePrecursorList(path);
    if (list.mzs.size() != list.scans.size() || list.found.size() != list.scans.size()) __builtin_trap();
  } catch (const RunFailure&) {
  }
  dropLog();
  return 0;
}

namespace {

// True when the peak lines of every scan of MS1/MS2 text rise in m/z and hold finite,
// non-negative numbers, as the extractor writes them.
bool peaksInOrder(const std::string& text) {
  double previous = 0.0;
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    const char first = text[start];
    if (first == 'S') previous = 0.0;
    if (first >= '0' && first <= '9') {
      const std::string line = text.substr(start, end - start);
      char* after = nullptr;
      const double mz = std::strtod(line.c_str(), &after);
      const double intensity = std::strtod(after, nullptr);
      if (!std::isfinite(mz) || !std::isfinite(intensity) || intensity < 0.0 || mz < previous) return false;
      previous = mz;
    }
    start = end + 1;
  }
  return true;
}

// Extracts the bytes saved under `name`. A failed extraction leaves no completion marker; a
// successful one leaves the summary and peaks in m/z order.
int extractFuzzedFile(const char* name, const std::uint8_t* data, std::size_t size) {
  static corvid::testing::TempDir dir;
  const std::string input = dir.file(name);
  corvid::testing::writeFile(input, std::string_view(reinterpret_cast<const char*>(data), size));
  const bool extracted = extractOpenFormat(input, dir.folder(), "fuzz");
  if (!extracted && std::filesystem::exists(dir.file("fuzz.quarry"))) __builtin_trap();
  if (extracted && (!std::filesystem::exists(dir.file("fuzz_scans.csv")) ||
                    !peaksInOrder(corvid::testing::readFile(dir.file("fuzz.ms1"))) ||
                    !peaksInOrder(corvid::testing::readFile(dir.file("fuzz.ms2")))))
    __builtin_trap();
  for (const char* suffix : {".quarry", "_scans.csv", ".ms1", ".ms2"}) std::filesystem::remove(dir.file(std::string("fuzz") + suffix));
  dropLog();
  return 0;
}

}  // namespace

int fuzzOpenFormat(const std::uint8_t* data, std::size_t size) { return extractFuzzedFile("fuzz.mzML", data, size); }

int fuzzMzXML(const std::uint8_t* data, std::size_t size) { return extractFuzzedFile("fuzz.mzXML", data, size); }

}  // namespace corvid::fuzz
