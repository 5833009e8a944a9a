// computeQcFigures: one pass over the scans of a run, in scan order.
#include <algorithm>
#include <cmath>
#include <set>

#include "scoring/qc_figures.h"

namespace corvid {
namespace {

constexpr std::size_t kHistogramBins = 40;

// One scan's rows: [begin, end) of the sorted rows.
struct ScanRows {
  const QcPrecursorRow* begin;
  const QcPrecursorRow* end;
  const QcPrecursorRow& first() const { return *begin; }
  std::int64_t exported() const {
    return std::count_if(begin, end, [](const QcPrecursorRow& row) { return row.kind != QcRowKind::kNothingExported; });
  }
};

std::vector<ScanRows> scansOf(const std::vector<QcPrecursorRow>& rows) {
  std::vector<ScanRows> scans;
  for (std::size_t i = 0; i < rows.size();) {
    std::size_t j = i + 1;
    while (j < rows.size() && rows[j].scan == rows[i].scan) ++j;
    scans.push_back({rows.data() + i, rows.data() + j});
    i = j;
  }
  return scans;
}

// Per time bin: scans, co-isolated scans and the first precursors' ion fractions.
struct TimeBinTally {
  std::int64_t scans = 0;
  std::int64_t coIsolated = 0;
  std::vector<double> pif;
};

void addScanClass(const ScanRows& scan, QcFigures& figures) {
  const QcPrecursorRow& first = scan.first();
  const QcCorrectionClass kind = classifyFirstPrecursor(first);
  const std::int32_t recorded = std::max(first.recordedCharge, 0);
  ++figures.classes[kind];
  ++figures.classesByRecordedCharge[recorded][kind];
  if (first.kind != QcRowKind::kOwn) return;
  ++figures.recordedVsCorvidCharge[{recorded, first.charge}];
  if (std::isfinite(first.precursorIonFraction)) figures.firstPifValues.push_back(first.precursorIonFraction);
  if (kind == kQcRefined) figures.refinedPpmValues.push_back((first.mz - first.recordedMz) / first.recordedMz * 1e6);
}

// Counts, charges and score values of the scan's exported precursors; their scatter points.
void addScanPrecursors(const ScanRows& scan, QcFigures& figures, std::vector<double>& scores,
                       std::vector<std::pair<double, double>>& points, std::vector<double>& charges) {
  const std::int64_t exported = scan.exported();
  figures.ms2Scans += 1;
  figures.exportedPrecursors += exported;
  if (exported >= 2) ++figures.coIsolatedScans;
  if (figures.scansByPrecursorCount.size() <= static_cast<std::size_t>(exported)) {
    figures.scansByPrecursorCount.resize(static_cast<std::size_t>(exported) + 1, 0);
  }
  ++figures.scansByPrecursorCount[static_cast<std::size_t>(exported)];
  for (const QcPrecursorRow* row = scan.begin; row != scan.end; ++row) {
    if (row->kind == QcRowKind::kNothingExported) continue;
    ++figures.exportedCharges[row->charge];
    charges.push_back(row->charge);
    points.emplace_back(row->retentionTime, row->mz);
    if (row->kind == QcRowKind::kOwn && std::isfinite(row->score)) scores.push_back(row->score);
  }
}

void addTimeFigures(const std::vector<ScanRows>& scans, QcFigures& figures) {
  if (scans.empty()) return;
  auto [low, high] = std::minmax_element(scans.begin(), scans.end(), [](const ScanRows& a, const ScanRows& b) {
    return a.first().retentionTime < b.first().retentionTime;
  });
  figures.firstRetentionTime = low->first().retentionTime;
  figures.lastRetentionTime = high->first().retentionTime;
  figures.timeBins = timeBinsOver(figures.firstRetentionTime, figures.lastRetentionTime, kQcRetentionBins);
  std::vector<TimeBinTally> tallies(figures.timeBins.centres.size());
  for (const ScanRows& scan : scans) {
    TimeBinTally& tally = tallies[figures.timeBins.binOf(scan.first().retentionTime)];
    ++tally.scans;
    if (scan.exported() >= 2) ++tally.coIsolated;
    const QcPrecursorRow& first = scan.first();
    if (first.kind == QcRowKind::kOwn && std::isfinite(first.precursorIonFraction)) {
      tally.pif.push_back(first.precursorIonFraction);
    }
  }
  for (const TimeBinTally& tally : tallies) {
    figures.coIsolatedShareOverTime.push_back(
        tally.scans > 0
            ? std::optional<double>(static_cast<double>(tally.coIsolated) / static_cast<double>(tally.scans))
            : std::nullopt);
    figures.medianPifOverTime.push_back(tally.pif.empty() ? std::nullopt : std::optional<double>(medianOf(tally.pif)));
  }
}

std::vector<std::string> sortedNames(const std::vector<QcPrecursorRow>& rows, std::string QcPrecursorRow::*field) {
  std::set<std::string> names;
  for (const QcPrecursorRow& row : rows) {
    if (!(row.*field).empty()) names.insert(row.*field);
  }
  return {names.begin(), names.end()};
}

}  // namespace

QcFigures computeQcFigures(std::vector<QcPrecursorRow> rows, const QcRunFacts& facts) {
  std::stable_sort(rows.begin(), rows.end(),
                   [](const QcPrecursorRow& a, const QcPrecursorRow& b) { return a.scan < b.scan; });
  QcFigures figures;
  figures.facts = facts;
  figures.analyzers = sortedNames(rows, &QcPrecursorRow::analyzer);
  figures.activations = sortedNames(rows, &QcPrecursorRow::activation);
  const std::vector<ScanRows> scans = scansOf(rows);
  std::vector<double> scores;
  std::vector<double> charges;
  std::vector<std::pair<double, double>> points;
  for (const ScanRows& scan : scans) {
    addScanClass(scan, figures);
    addScanPrecursors(scan, figures, scores, points, charges);
  }
  if (!charges.empty()) {
    double sum = 0.0;
    for (double charge : charges) sum += charge;
    figures.meanExportedCharge = sum / static_cast<double>(charges.size());
    figures.medianExportedCharge = medianOf(charges);
  }
  figures.refinedPpm = histogramOf(figures.refinedPpmValues, kHistogramBins);
  figures.scores = histogramOf(scores, kHistogramBins);
  figures.scatterTotal = static_cast<std::int64_t>(points.size());
  for (std::size_t position : thinnedPositions(points.size(), kQcMaxScatterPoints)) {
    figures.scatter.push_back(points[position]);
  }
  addTimeFigures(scans, figures);
  return figures;
}

}  // namespace corvid
