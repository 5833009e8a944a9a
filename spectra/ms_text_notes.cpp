#include "spectra/ms_text_notes.h"

#include "startup/run_log.h"

namespace corvid {

void reportTextNotes(const std::string& path, const MSTextNotes& notes) {
  if (notes.bareLineFeed) {
    logMessage("Alert", "The line ends of " + path +
                            " are not CR LF; values may be read wrongly (the first character of "
                            "a line after a peak line is lost).");
  }
  if (notes.zeroByteOffset >= 0) {
    logMessage("Alert", "Reading of " + path + " stopped at a zero byte at offset " +
                            std::to_string(notes.zeroByteOffset) +
                            "; the text after it was not loaded.");
  }
  if (notes.linesBeforeFirstScan > 0) {
    logMessage("Alert", "Lines before the first S line of " + path +
                            " were ignored: " + std::to_string(notes.linesBeforeFirstScan) + ".");
  }
}

}  // namespace corvid
