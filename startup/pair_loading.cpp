#include "startup/pair_loading.h"

#include <utility>

#include "spectra/ms1_reader.h"
#include "spectra/ms2_reader.h"

namespace corvid {

void loadMS1(const std::string& ms1Path, std::optional<LoadedPair>& loaded, MS1File& ms1File) {
  if (loaded) {
    ms1File = std::move(loaded->ms1);
    finishMS1Load(ms1Path, loaded->ms1Instrument, loaded->ms1Notes, 0, ms1File);
  } else {
    loadMS1File(ms1Path, ms1File);
  }
}

void loadMS2(const std::string& ms2Path, std::optional<LoadedPair>& loaded, MS2File& ms2File) {
  if (loaded) {
    ms2File = std::move(loaded->ms2);
    finishMS2Load(ms2Path, loaded->ms2Notes, loaded->ms2GroupNotes, ms2File);
    loaded.reset();
  } else {
    loadMS2File(ms2Path, ms2File);
  }
}

}  // namespace corvid
