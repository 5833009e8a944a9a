// Gathering and candidate detection per MS2 scan on a generated run: MS1 scans of 3 000 peaks
// with planted isotope envelopes that elute over about twenty scans, and MS2 scans whose
// activation centers sit mostly on planted precursors, walked in acquisition order.
//
// Default size: 1 000 MS1 scans, 10 000 MS2 scans. CORVID_BENCH_SCALE=10 gives the full run of
// 10 000 MS1 scans (about 480 MB of peaks) and 100 000 MS2 scans.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>
#include <vector>

#include "detection/candidate_detection.h"
#include "detection/isotope_pattern_table.h"
#include "detection/ms1_peak_gathering.h"
#include "detection/parallel_detection.h"
#include "tests/support/table_adapters.h"

namespace {

using namespace corvid;

constexpr int kPeaksPerScan = 3000;
constexpr double kLowMz = 300.0;
constexpr double kHighMz = 1800.0;
constexpr int kMs2PerMs1 = 10;   // scan numbers: one MS1 scan followed by ten MS2 scans
constexpr int kElutionHalfWidth = 10;

struct Precursor {
  double mono;
  int charge;
  int apex;        // MS1 index
  double height;
};

struct GeneratedRun {
  MS1File ms1;
  std::vector<std::int32_t> ms2Scans;
  std::vector<double> centers;
};

int benchScale() {
  const char* text = std::getenv("CORVID_BENCH_SCALE");
  const int scale = text == nullptr ? 1 : std::atoi(text);
  return std::max(scale, 1);
}

// Averagine-like Poisson abundances, one row per dalton.
void fillIsotopeTable() {
  for (int mass = 0; mass < kIsotopeTableRows; ++mass) {
    const double lambda = mass / 1800.0;
    double p = std::exp(-lambda);
    IsotopePattern& row = runIsotopeTable().rows[static_cast<std::size_t>(mass)];
    for (int k = 0; k < kIsotopePeaks; ++k) {
      row[static_cast<std::size_t>(k)] = p;
      p = p * lambda / (k + 1);
    }
  }
}

const GeneratedRun& generatedRun() {
  static const GeneratedRun run = [] {
    GeneratedRun r;
    const int scale = benchScale();
    const int ms1Count = 1000 * scale;
    const int ms2Count = 10000 * scale;
    std::mt19937_64 random(20261122);
    std::uniform_real_distribution<double> unit(0.0, 1.0);

    // About 150 precursors elute in any scan.
    std::vector<Precursor> precursors;
    const int precursorCount = ms1Count * 150 / (2 * kElutionHalfWidth);
    for (int i = 0; i < precursorCount; ++i) {
      precursors.push_back({400.0 + 1200.0 * unit(random), 2 + static_cast<int>(random() % 3),
                            static_cast<int>(random() % static_cast<std::uint64_t>(ms1Count)),
                            1e5 + 1e7 * unit(random) * unit(random)});
    }
    std::sort(precursors.begin(), precursors.end(), [](const Precursor& a, const Precursor& b) { return a.apex < b.apex; });

    r.ms1.spectra.resize(static_cast<std::size_t>(ms1Count));
    std::size_t first = 0;
    for (int s = 0; s < ms1Count; ++s) {
      MS1Spectrum& scan = r.ms1.spectra[static_cast<std::size_t>(s)];
      scan.scanNumber = static_cast<std::uint32_t>(s * (kMs2PerMs1 + 1) + 1);
      std::vector<Peak>& peaks = scan.peaks;
      peaks.reserve(kPeaksPerScan);
      while (first < precursors.size() && precursors[first].apex < s - kElutionHalfWidth) ++first;
      for (std::size_t p = first; p < precursors.size() && precursors[p].apex <= s + kElutionHalfWidth; ++p) {
        const Precursor& pr = precursors[p];
        const double t = (s - pr.apex) / 4.0;
        const double elution = std::exp(-t * t);
        const IsotopePattern& pattern = runIsotopeTable().rows[static_cast<std::size_t>(pr.mono * pr.charge)];
        for (int k = 0; k < kIsotopePeaks; ++k) {
          const double jitter = (unit(random) - 0.5) * 2e-6 * pr.mono;
          peaks.push_back({pr.mono + k * 1.003 / pr.charge + jitter, pr.height * elution * pattern[static_cast<std::size_t>(k)]});
        }
      }
      while (peaks.size() < kPeaksPerScan) peaks.push_back({kLowMz + (kHighMz - kLowMz) * unit(random), 1e4 + 1e6 * unit(random)});
      std::sort(peaks.begin(), peaks.end(), [](const Peak& a, const Peak& b) { return a.mz < b.mz; });
    }
    r.ms1.spectrumCount = ms1Count;
    r.ms1.instrumentName = "FTMS";

    // MS2 scans in acquisition order, as the per-file driver walks them: ten after each MS1 scan.
    for (int i = 0; i < ms2Count; ++i) {
      const int ms1Index = static_cast<int>(static_cast<std::int64_t>(i) * ms1Count / ms2Count);
      r.ms2Scans.push_back(ms1Index * (kMs2PerMs1 + 1) + 2 + i % kMs2PerMs1);
      // Most centers sit on an eluting precursor's isotope; the rest anywhere.
      const std::vector<Peak>& peaks = r.ms1.spectra[static_cast<std::size_t>(ms1Index)].peaks;
      const auto from = peaks.begin() + static_cast<std::ptrdiff_t>(random() % (kPeaksPerScan - 100));
      const Peak& strong = *std::max_element(from, from + 100,
                                             [](const Peak& a, const Peak& b) { return a.intensity < b.intensity; });
      r.centers.push_back(unit(random) < 0.8 ? strong.mz + 0.3 * (unit(random) - 0.5) : 400.0 + 1200.0 * unit(random));
    }
    return r;
  }();
  return run;
}

void gatherAndDetect(benchmark::State& state) {
  fillIsotopeTable();
  const GeneratedRun& run = generatedRun();
  ParameterTable parameters;
  setDefaults(parameters);
  const DetectionInput input = makeDetectionInput(parameters, run.ms1);
  DetectionScratch scratch = makeDetectionScratch();
  DetectionOutput output;
  std::vector<Peak> gathered;
  std::size_t next = 0;
  std::int64_t scans = 0;
  for (auto _ : state) {
    gatherMS1Peaks(input, scratch, run.ms2Scans[next], run.centers[next], gathered);
    detectCandidates(input, scratch, output, run.centers[next], run.ms2Scans[next], gathered);
    if (++next == run.ms2Scans.size()) {
      next = 0;
      clearGroupCandidates(output);
    }
    ++scans;
  }
  state.SetItemsProcessed(scans);
  state.counters["us_per_scan"] = benchmark::Counter(
      static_cast<double>(scans), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  state.counters["candidates_per_scan"] =
      benchmark::Counter(static_cast<double>(output.exportedPrecursorCount) / static_cast<double>(std::max<std::int64_t>(scans, 1)));
}

// One pass over every generated MS2 scan, as the per-file driver would walk them.
void wholeRun(benchmark::State& state) {
  fillIsotopeTable();
  const GeneratedRun& run = generatedRun();
  ParameterTable parameters;
  setDefaults(parameters);
  for (auto _ : state) {
    const DetectionInput input = makeDetectionInput(parameters, run.ms1);
    DetectionScratch scratch = makeDetectionScratch();
    DetectionOutput output;
    std::vector<Peak> gathered;
    for (std::size_t i = 0; i < run.ms2Scans.size(); ++i) {
      gatherMS1Peaks(input, scratch, run.ms2Scans[i], run.centers[i], gathered);
      detectCandidates(input, scratch, output, run.centers[i], run.ms2Scans[i], gathered);
    }
    benchmark::DoNotOptimize(output.records.data());
    state.counters["candidates"] = static_cast<double>(output.records.size());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(run.ms2Scans.size()));
}

// Every generated MS2 scan through the parallel detection with state.range(0) threads: wall time,
// since the work is spread over cores (compare 1 and 2 threads for the scaling).
void parallelRun(benchmark::State& state) {
  fillIsotopeTable();
  const GeneratedRun& run = generatedRun();
  ParameterTable parameters;
  setDefaults(parameters);
  std::vector<ScanTask> tasks;
  for (std::size_t i = 0; i < run.ms2Scans.size(); ++i) {
    tasks.push_back({static_cast<std::uint32_t>(run.ms2Scans[i]), run.centers[i]});
  }
  for (auto _ : state) {
    const DetectionInput input = makeDetectionInput(parameters, run.ms1);
    DetectionOutput output;
    detectScans(input, tasks, static_cast<unsigned>(state.range(0)), output);
    benchmark::DoNotOptimize(output.records.data());
    state.counters["candidates"] = static_cast<double>(output.records.size());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(tasks.size()));
}

}  // namespace

BENCHMARK(gatherAndDetect)->Unit(benchmark::kMicrosecond);
BENCHMARK(wholeRun)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(parallelRun)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK_MAIN();
