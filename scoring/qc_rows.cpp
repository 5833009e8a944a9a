#include "scoring/qc_rows.h"

#include <cmath>
#include <unordered_set>

#include "scoring/precursor_table.h"

namespace corvid {
namespace {

QcPrecursorRow scanRow(const MS2Spectrum& spectrum) {
  QcPrecursorRow row;
  row.scan = spectrum.scanNumber;
  row.retentionTime = spectrum.retentionTime;
  row.activation = activationName(spectrum);
  row.analyzer = analyzerName(spectrum);
  row.recordedMz = recordedMz(spectrum);
  row.recordedCharge = spectrum.charge;
  row.mz = row.recordedMz;
  row.charge = spectrum.charge;
  row.score = std::nan("");
  row.precursorIonFraction = std::nan("");
  return row;
}

}  // namespace

void appendQcRows(GroupExport group, const MS2File& ms2File, const std::vector<PrecursorFeatures>& keptFeatures,
                  std::vector<QcPrecursorRow>& rows) {
  const PrecursorRecord* first = group.accepted.data();
  std::unordered_set<std::uint32_t> exportedScans;
  SkippedSpectra skipped;
  walkGroupBlocks(
      group, ms2File, "QC",
      [&](const MS2Spectrum& spectrum, const PrecursorRecord* accepted, std::int32_t rank) {
        exportedScans.insert(spectrum.scanNumber);
        QcPrecursorRow row = scanRow(spectrum);
        row.kind = QcRowKind::kRecordedStandIn;
        if (accepted != nullptr) {
          const PrecursorFeatures& features = keptFeatures[static_cast<std::size_t>(accepted - first)];
          row.kind = QcRowKind::kOwn;
          row.mz = accepted->mz;
          row.charge = chargeOfRow(*accepted);
          row.rank = rank + 1;
          if (features.size() > kFeatureScore) row.score = features[kFeatureScore];
          if (features.size() > kFeaturePif) row.precursorIonFraction = features[kFeaturePif];
        }
        rows.push_back(std::move(row));
      },
      skipped);
  for (std::size_t position : group.spectrumPositions) {
    const MS2Spectrum& spectrum = ms2File.spectra.at(position);
    if (exportedScans.contains(spectrum.scanNumber)) continue;
    QcPrecursorRow row = scanRow(spectrum);
    row.kind = QcRowKind::kNothingExported;
    rows.push_back(std::move(row));
  }
}

}  // namespace corvid
