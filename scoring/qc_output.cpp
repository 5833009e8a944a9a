#include "scoring/qc_output.h"

#include "platform/pending_file.h"
#include "platform/run_log.h"
#include "platform/run_outcome.h"
#include "scoring/qc_mzqc.h"
#include "scoring/qc_page.h"
#include "scoring/qc_page_document.h"

namespace corvid {
namespace {

bool writeMzqc(const std::string& path, const QcFigures& figures) {
  PendingFile pending;
  bool written = openPending(path, pending);
  if (written) {
    putBytes(pending, mzqcDocument(figures).dump(2) + "\n");
    written = commitPending(pending);
  }
  if (!written) logMessage(LogLabel::kError, "Fail to write the mzQC file " + path + ": " + pending.error);
  return written;
}

}  // namespace

bool writeQcReport(const std::string& resultStem, const QcFigures& figures, const std::string& programFolder) {
  const bool pageWritten = writeQcPage(resultStem + kQcPageSuffix, qcPageDocument(figures), programFolder);
  const bool mzqcWritten = writeMzqc(resultStem + kMzqcSuffix, figures);
  if (pageWritten && mzqcWritten) return true;
  noteRunProblem(RunProblem::kOutputUnwritable);
  return false;
}

}  // namespace corvid
