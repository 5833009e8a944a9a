// Fuzz targets for the readers of spectrum text: MS1, MS2, MGF, the reference list, mzML/mzXML.
// Each writes the bytes to a file and reads it the way a run would; a reader may reject the
// input with its message, but must not crash, hang, or read outside its buffer.
#include <string>

#include "scoring/reference_list_loader.h"
#include "spectra/mgf_reader.h"
#include "spectra/ms1_reader.h"
#include "spectra/ms2_reader.h"
#include "spectra/open_format_extractor.h"
#include "startup/run_failure.h"
#include "startup/run_log.h"
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

int fuzzMgf(const std::uint8_t* data, std::size_t size) {
  // A title without a readable scan ends the process by design (a death test covers that): such
  // inputs only go through the title parser here.
  std::string_view text(reinterpret_cast<const char*>(data), size);
  for (std::size_t at = text.find("TITLE="); at != std::string_view::npos; at = text.find("TITLE=", at + 1)) {
    std::size_t end = text.find('\n', at);
    std::string_view title = text.substr(at + 6, end == std::string_view::npos ? std::string_view::npos : end - at - 6);
    if (!title.empty() && title.back() == '\r') title.remove_suffix(1);
    // The reader drops the line's last character; titles with odd endings are parsed only.
    if (end == std::string_view::npos || title.size() > 1000 || !parseMGFTitle(title).scanValid) return 0;
  }
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

int fuzzOpenFormat(const std::uint8_t* data, std::size_t size) {
  static corvid::testing::TempDir dir;
  const std::string input = dir.file("fuzz.mzML");
  corvid::testing::writeFile(input, std::string_view(reinterpret_cast<const char*>(data), size));
  const bool extracted = extractOpenFormat(input, dir.folder(), "fuzz");
  // A failed extraction never leaves a completion marker behind.
  if (!extracted && std::filesystem::exists(dir.file("fuzz.quarry"))) __builtin_trap();
  std::filesystem::remove(dir.file("fuzz.quarry"));
  std::filesystem::remove(dir.file("fuzz_scans.csv"));
  dropLog();
  return 0;
}

}  // namespace corvid::fuzz
