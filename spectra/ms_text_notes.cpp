#include "spectra/ms_text_notes.h"

#include "platform/run_log.h"

namespace corvid {

void reportTextNotes(const std::string& path, const MSTextNotes& notes) {
  // Lines ended by LF alone read exactly as with CR LF: nothing to report for them.
  if (notes.carriageReturnsOnly) {
    logMessage(LogLabel::kAlert, "The lines of " + path +
                            " end with CR alone (the file has no line feed), so it reads as a "
                            "single line: at most one spectrum, without peaks, was loaded from it.");
  }
  if (notes.zeroByteOffset >= 0) {
    logMessage(LogLabel::kAlert, "Reading of " + path + " stopped at a zero byte at offset " +
                            std::to_string(notes.zeroByteOffset) +
                            "; the text after it was not loaded.");
  }
  if (notes.linesBeforeFirstScan > 0) {
    logMessage(LogLabel::kAlert, "Lines before the first S line of " + path +
                            " were ignored: " + std::to_string(notes.linesBeforeFirstScan) + ".");
  }
}

}  // namespace corvid
