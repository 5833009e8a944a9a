// The report of what the MGF reader kept as read: one Alert per file, parts joined by "; ".
#include "spectra/mgf_read_notes.h"

#include <vector>

#include "platform/run_log.h"

namespace corvid {

namespace {

std::string counted(std::int64_t count, std::string_view one, std::string_view many) {
  return std::to_string(count) + " " + std::string(count == 1 ? one : many);
}

}  // namespace

bool hasCarriageReturnsOnly(std::string_view text) {
  return text.find('\n') == std::string_view::npos && text.find('\r') != std::string_view::npos;
}

void reportKeptAsRead(std::string_view text, const MGFFile& mgfFile, const KeptAsReadNotes& kept) {
  const bool carriageReturnsOnly = hasCarriageReturnsOnly(text);
  std::vector<std::string> parts;
  if (kept.nonFiniteValues > 0) {
    parts.push_back(counted(kept.nonFiniteValues, "non-finite value", "non-finite values") +
                    " (nan or inf) copied into peaks or precursor masses");
  }
  if (kept.negativeValues > 0) {
    parts.push_back(counted(kept.negativeValues, "negative value", "negative values") +
                    " copied into peak intensities or precursor masses");
  }
  // A file without line feeds is one long line: its skipped blocks say all there is to say.
  if (kept.overlongLines > 0 && !carriageReturnsOnly) {
    parts.push_back(counted(kept.overlongLines, "line", "lines") + " longer than " + std::to_string(kLinePiece) +
                    " characters split into " + std::to_string(kept.overlongPieces) +
                    " pieces, each read as a line of its own (a piece starting with a digit is a peak)");
  }
  if (kept.peakListsEndedEarly > 0) {
    parts.push_back(counted(kept.peakListsEndedEarly, "peak list", "peak lists") +
                    " ended early at a line that is not a peak (first at line " +
                    std::to_string(kept.firstEarlyEndLine) + ": \"" + kept.firstEarlyEndText + "\"), " +
                    counted(kept.linesSkippedToEnd, "line", "lines") + " up to END IONS skipped");
  }
  // A file without line feeds reads as one line in pieces, so its blocks are lost whatever they
  // hold. (Blocks swallowed for a missing END IONS have an alert of their own.)
  std::int64_t titles = 0;
  if (carriageReturnsOnly) {
    for (std::size_t at = text.find("TITLE="); at != std::string_view::npos; at = text.find("TITLE=", at + 1)) {
      ++titles;
    }
  }
  if (const std::int64_t lost = titles - static_cast<std::int64_t>(mgfFile.spectra.size()); lost > 0) {
    parts.push_back(counted(lost, "block", "blocks") +
                    " skipped: the file has no line feed (its lines end with CR alone), so it reads as "
                    "one line in pieces of " +
                    std::to_string(kLinePiece) + " characters");
  }
  if (parts.empty()) return;
  std::string message = "MGF file " + mgfFile.path + " was read with data kept as read: ";
  for (std::size_t i = 0; i < parts.size(); ++i) message += (i == 0 ? "" : "; ") + parts[i];
  logMessage(LogLabel::kAlert, message + ".");
}

}  // namespace corvid
