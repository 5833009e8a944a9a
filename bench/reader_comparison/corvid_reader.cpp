// Reads every spectrum with Corvid's streaming reader (expat + zlib + MS-Numpress) and prints the
// fields it extracts, for comparison with the other readers.
#include <cstdio>
#include <string>

#include "spectra/mzml_parser.h"
#include "spectra/mzxml_parser.h"

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  bool quiet = argc > 2;
  double checksum = 0.0;
  long count = 0;
  corvid::SpectrumSink sink = [&](const corvid::OpenSpectrum& s, std::string&) {
    ++count;
    for (std::size_t k = 0; k < s.mz.size(); ++k) checksum += s.mz[k] + s.intensity[k];
    if (!quiet)
      std::printf("%s\t%d\t%.6f\t%.6f\t%.6f\t%d\t%s\t%zu\t%d\n", s.nativeId.c_str(), s.msLevel,
                  s.retentionTime, s.isolationTarget, s.selectedMz, s.charge,
                  s.activation.empty() ? "-" : s.activation.c_str(), s.mz.size(),
                  static_cast<int>(s.analyzer));
    return true;
  };
  std::string path = argv[1], error;
  bool xml = path.find("mzXML") != std::string::npos || path.find("mzxml") != std::string::npos;
  bool ok =
      xml ? corvid::readMzXMLFile(path, sink, error) : corvid::readMzMLFile(path, sink, error);
  std::fprintf(stderr, "corvid: %ld spectra, checksum %.6e %s\n", count, checksum,
               ok ? "" : error.c_str());
  return ok ? 0 : 1;
}
