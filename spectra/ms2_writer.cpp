#include "spectra/ms2_writer.h"

#include <cstdio>
#include <ctime>

#include "platform/run_log.h"
#include "platform/run_outcome.h"
#include "spectra/output_fields.h"

namespace corvid {

namespace {

// Empty path: the fixed fallback name below is used, as it always has been.
constexpr const char* kMS2FallbackPath = "C:\\test.ms2";

// The C library's ascii time text of the local time, with its own line feed turned into CR LF.
void putCreationDate(PendingFile& out) {
  std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char text[64];
  // asctime's fixed layout ("Www Mmm dd hh:mm:ss yyyy\n"), without its static buffer.
  std::strftime(text, sizeof text, "%a %b %e %H:%M:%S %Y", &local);
  putText(out, "H\tCreationDate\t");
  putText(out, text);
  putLineEnd(out);
}

void putHeader(PendingFile& out) {
  putCreationDate(out);
  putText(out,
          "H\tExtractor\tCorvid\r\n"
          "H\tExtractorVersion\t2.0.1\r\n"
          "H\tComments\tOwned by Halcyon Studio, 2016\r\n"
          "H\tDataType\tCentroided\r\n");
}

// One scan block; mz is the precursor m/z of the S and MonoiosotopicMz lines.
void putScanBlock(const MS2Spectrum& spectrum, double mz, std::int32_t charge, double mh, PendingFile& out) {
  std::int32_t scan = static_cast<std::int32_t>(spectrum.scanNumber);
  putText(out, "S\t");
  putZeroPadded(out, scan, 6);
  putText(out, "\t");
  putZeroPadded(out, scan, 6);
  putText(out, "\t");
  putGeneral(out, mz, 10);
  putText(out, "\r\nI\tNumberOfPeaks\t");
  putInt(out, static_cast<std::int32_t>(spectrum.peaks.size()));
  putText(out, "\r\nI\tRetTime\t");
  putFixed(out, spectrum.retentionTime, 6);
  putText(out, "\r\nI\tIonInjectionTime\t");
  putFixed(out, spectrum.ionInjectionTime, 6);
  putText(out, "\r\nI\tActivationType\t");
  putText(out, spectrum.activationType);
  putText(out, "\r\nI\tInstrumentType\t");
  putText(out, spectrum.instrumentType);
  putText(out, "\r\nI\tPrecursorScan\t");
  putInt(out, spectrum.precursorScan);
  putText(out, "\r\nI\tActivationCenter\t");
  putFixed(out, spectrum.activationCenter, 2);
  putText(out, "\r\nI\tMonoiosotopicMz\t");
  putGeneral(out, mz, 10);
  putText(out, "\r\nZ\t");
  putInt(out, charge);
  putText(out, "\t");
  putFixed(out, mh, 6);
  putLineEnd(out);
  putPeakLines(spectrum.peaks, out);
  flushIfLarge(out);
}

}  // namespace

bool writeMS2(GroupExport& group, const MS2File& ms2File, bool writeBlocks,
              const std::string& path) {
  const std::string target = startGroupFile(group, path, kMS2FallbackPath);
  PendingFile out;
  if (!openPending(target, out)) {
    printConsoleError("Fail to Create MS2 file! Please Check your disk!");
    noteRunProblem(RunProblem::kOutputUnwritable);
    return false;
  }
  putHeader(out);
  SkippedSpectra skipped;
  auto putOne = [&](const MS2Spectrum& spectrum, const PrecursorRecord* row, std::int32_t) {
    if (!writeBlocks) return;
    if (row != nullptr) {
      std::int32_t charge = chargeOfRow(*row);
      putScanBlock(spectrum, row->mz, charge, mhFromMz(row->mz, charge), out);
    } else {
      putScanBlock(spectrum, recordedMz(spectrum), spectrum.charge, spectrum.precursorMH, out);
    }
  };
  walkGroupBlocks(group, ms2File, "MS2", putOne, skipped);
  return finishGroupFile(target, skipped, "MS2", out);
}

}  // namespace corvid
