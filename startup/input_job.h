#pragma once
// One MS1/MS2 text pair to process, as a start-up route found it: where the pair is, which
// pipeline it takes, the open-format input it was extracted from, and its spectra when the
// extraction already loaded them. Routes make these values; nothing is written back into the
// parameter table.
#include <optional>
#include <string>

#include "spectra/loaded_pair.h"

namespace corvid {

// Which extractor made the pair: it names the MS2 file (".ms2" or ".MS2") and is called again when
// the pair's extraction is incomplete. mzML/mzXML pairs take the RAW pipeline.
enum class PairSource { kRaw, kWiff };

struct InputJob {
  PairSource source = PairSource::kRaw;
  std::string folder;                      // the folder of the pair (ends with a separator)
  std::string ms1Name;                     // its MS1 file's name; the MS2 file has the same stem
  std::string openFormatFolder{};          // the folder of the mzML/mzXML input it was extracted from, or empty
  std::optional<HandedOverPair> loaded{};  // the pair as its extraction loaded it, when it did
};

}  // namespace corvid
