// Reads every spectrum with ProteoWizard (pwizlite) and prints the fields Corvid needs.
#include <cstdio>
#include <pwiz/data/msdata/MSDataFile.hpp>

using namespace pwiz::msdata;
using namespace pwiz::cv;

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  bool quiet = argc > 2;
  MSDataFile data(argv[1]);
  SpectrumListPtr list = data.run.spectrumListPtr;
  double checksum = 0.0;
  for (size_t i = 0; i < list->size(); ++i) {
    SpectrumPtr s = list->spectrum(i, true);
    int level = s->cvParam(MS_ms_level).valueAs<int>();
    BinaryDataArrayPtr mz = s->getMZArray(), intensity = s->getIntensityArray();
    size_t n = mz ? mz->data.size() : 0;
    for (size_t k = 0; k < n; ++k) checksum += mz->data[k] + intensity->data[k];
    if (quiet) continue;
    double rt = s->scanList.scans.empty()
                    ? 0.0
                    : s->scanList.scans[0].cvParam(MS_scan_start_time).timeInSeconds();
    double target = 0.0, selected = 0.0;
    int charge = 0;
    std::string activation = "-";
    if (!s->precursors.empty()) {
      const Precursor& p = s->precursors[0];
      target = p.isolationWindow.cvParam(MS_isolation_window_target_m_z).valueAs<double>();
      if (!p.selectedIons.empty()) {
        selected = p.selectedIons[0].cvParam(MS_selected_ion_m_z).valueAs<double>();
        charge = p.selectedIons[0].cvParam(MS_charge_state).valueAs<int>();
      }
      CVParam method = p.activation.cvParamChild(MS_dissociation_method);
      activation = method.empty() ? "UNK" : method.name();
    }
    std::printf("%s\t%d\t%.6f\t%.6f\t%.6f\t%d\t%s\t%zu\n", s->id.c_str(), level, rt, target,
                selected, charge, activation.c_str(), n);
  }
  std::fprintf(stderr, "pwizlite: %zu spectra, checksum %.6e\n", list->size(), checksum);
  return 0;
}
