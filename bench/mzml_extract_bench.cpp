// Driver of bench/mzml_extract_bench.sh: extracts one mzML/mzXML file into a folder and prints
// the input size, the wall time and the throughput. Peak memory is measured by the script with
// /usr/bin/time -v around this program.
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>

#include "platform/paths.h"
#include "spectra/input_formats.h"
#include "spectra/open_format_extractor.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: mzml_extract_bench <file.mzML|file.mzXML[.gz]> <output folder>\n");
    return 2;
  }
  std::string input = argv[1];
  std::string folder = corvid::withTrailingSeparator(argv[2]);
  std::string name = corvid::fileNameOf(input);
  std::string stem = corvid::openFormatStem(name);  // "run.mzML.gz" -> "run", as the program names it
  std::error_code code;
  double megabytes = static_cast<double>(std::filesystem::file_size(input, code)) / 1e6;
  auto start = std::chrono::steady_clock::now();
  bool ok = corvid::extractOpenFormat(input, folder, stem);
  double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::printf("corvid %s: %.1f MB in %.3f s = %.1f MB/s\n", ok ? "ok" : "FAILED", megabytes,
              seconds, megabytes / seconds);
  return ok ? 0 : 1;
}
