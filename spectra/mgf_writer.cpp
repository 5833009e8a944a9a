#include "spectra/mgf_writer.h"

#include "platform/reported_output.h"
#include "spectra/output_fields.h"

namespace corvid {

namespace {

// Empty path: the fixed fallback name below is used, as it always has been.
constexpr const char* kMGFFallbackPath = "F:\\test.mgf";

struct MGFBlock {
  std::int64_t scan = 0;
  std::int32_t charge = 0;
  double retentionTime = 0.0;
  double pepMass = 0.0;
  std::int32_t precursorIndex = 0;
  bool indexed =
      false;  // five-field title with k, else the ".0.dta" title of the recorded precursor
};

void putBlock(const std::string& rawName, const MGFBlock& block, const MS2Spectrum& spectrum, PendingFile& out) {
  // Scans are printed as the 32-bit integers they are stored as.
  std::int32_t scan = static_cast<std::int32_t>(block.scan);
  putText(out, "BEGIN IONS\r\nTITLE=");
  putText(out, rawName);
  putText(out, ".");
  putInt(out, scan);
  putText(out, ".");
  putInt(out, scan);
  putText(out, ".");
  putInt(out, block.charge);
  putText(out, ".");
  putInt(out, block.indexed ? block.precursorIndex : 0);
  putText(out, ".dta\r\nCHARGE=");
  putInt(out, block.charge);
  putText(out, "+\r\nRTINSECONDS=");
  putFixed(out, block.retentionTime, 7);
  putText(out, "\r\nPEPMASS=");
  putFixed(out, block.pepMass, 6);
  putLineEnd(out);
  putPeakLines(spectrum.peaks, out);
  putText(out, "END IONS\r\n");
  flushIfLarge(out);
}

}  // namespace

bool writeMGF(GroupExport& group, const MS2File& ms2File, bool writeBlocks,
              const std::string& path) {
  const std::string target = startGroupFile(group, path, kMGFFallbackPath);
  PendingFile out;
  if (!openReportedOutput(target, "MGF file", out)) return false;
  SkippedSpectra skipped;
  auto putOne = [&](const MS2Spectrum& spectrum, const PrecursorRecord* row,
                    std::int32_t rowIndex) {
    if (!writeBlocks) return;
    MGFBlock block;
    block.scan = spectrum.scanNumber;
    block.retentionTime = spectrum.retentionTime;
    if (row != nullptr) {
      block.indexed = true;
      block.charge = chargeOfRow(*row);
      block.pepMass = row->mz;
      block.precursorIndex = rowIndex;
    } else {
      block.charge = spectrum.charge;
      block.pepMass = recordedMz(spectrum);
    }
    putBlock(group.rawName, block, spectrum, out);
  };
  walkGroupBlocks(group, ms2File, "MGF", putOne, skipped);
  return finishGroupFile(target, skipped, "MGF", out);
}

}  // namespace corvid
