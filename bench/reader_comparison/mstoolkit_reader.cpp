// Reads every MS1/MS2 spectrum with MSToolkit and prints one line of the fields Corvid needs, so
// that readers can be compared for speed, memory and content (see compare_readers.sh).
#include <cstdio>
#include <libmstoolkit/MSReader.h>

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  bool quiet = argc > 2;
  MSToolkit::MSReader reader;
  reader.setFilter(MSToolkit::MS1);
  reader.addFilter(MSToolkit::MS2);
  MSToolkit::Spectrum s;
  reader.readFile(argv[1], s);
  double checksum = 0.0;
  long count = 0;
  const char* names[] = {"CID", "ECD", "ETD", "ETDSA", "PQD", "HCD", "IRMPD", "NA"};
  while (s.getScanNumber() != 0) {
    ++count;
    for (int i = 0; i < s.size(); ++i) checksum += s.at(i).mz + s.at(i).intensity;
    if (!quiet) {
      char filter[256] = "";
      s.getRawFilter(filter, sizeof filter);
      std::printf("%d\t%d\t%.6f\t%.6f\t%d\t%s\t%.4f\t%d\t%.3s\n", s.getScanNumber(), s.getMsLevel(),
                  s.getRTime() * 60.0, s.getMsLevel() > 1 ? s.getMZ() : 0.0,
                  s.sizeZ() > 0 ? s.atZ(0).z : 0,
                  s.getMsLevel() > 1 ? names[s.getActivationMethod()] : "-",
                  s.getIonInjectionTime(), s.size(), filter);
    }
    reader.readFile(nullptr, s);
  }
  std::fprintf(stderr, "mstoolkit: %ld spectra, checksum %.6e\n", count, checksum);
  return count > 0 ? 0 : 1;  // MSToolkit reads nothing from mzML without an offset index
}
