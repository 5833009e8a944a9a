// Speed of the peak-difference statistics on generated MS2 spectra of 500 peaks.
// Run: ./build/bench/peak_difference_bench   (configure with -DCORVID_BUILD_BENCH=ON)
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "scoring/peak_difference_statistics.h"

namespace {

using corvid::MS2Spectrum;
using corvid::Peak;

// Peaks per generated spectrum, and spectra per timed batch (the batch is restored untimed).
constexpr std::size_t kPeaksPerSpectrum = 500;
constexpr std::size_t kBatchSize = 1000;

// Deterministic fragment spectra in ascending m/z between 100 and 2000 Th: about one peak in four
// starts a short isotope series (charge 1 or 2), the rest are single peaks; intensities spread
// over four orders of magnitude so that the top-200 cut matters.
std::vector<MS2Spectrum> generateSpectra(std::size_t count) {
  std::mt19937_64 random(20261122);
  std::uniform_real_distribution<double> mzDraw(100.0, 2000.0);
  std::uniform_real_distribution<double> exponentDraw(2.0, 6.0);
  std::uniform_int_distribution<int> kindDraw(0, 7);
  std::vector<MS2Spectrum> spectra(count);
  for (MS2Spectrum& spectrum : spectra) {
    std::vector<Peak>& peaks = spectrum.peaks;
    while (peaks.size() < kPeaksPerSpectrum) {
      const double mz = mzDraw(random);
      const double intensity = std::pow(10.0, exponentDraw(random));
      peaks.push_back({mz, intensity});
      const int kind = kindDraw(random);
      if (kind < 2 && peaks.size() < kPeaksPerSpectrum) {
        const double spacing = kind == 0 ? 1.003 : 0.5015;
        peaks.push_back({mz + spacing, intensity * 0.6});
      }
    }
    std::sort(peaks.begin(), peaks.end(), [](const Peak& a, const Peak& b) { return a.mz < b.mz; });
  }
  return spectra;
}

const std::vector<MS2Spectrum>& pristine() {
  static const std::vector<MS2Spectrum> spectra = generateSpectra(kBatchSize);
  return spectra;
}

void restore(std::vector<MS2Spectrum>& work) {
  const std::vector<MS2Spectrum>& source = pristine();
  for (std::size_t i = 0; i < source.size(); ++i) work[i].peaks = source[i].peaks;
}

void BM_RemoveIsotopePeaks(benchmark::State& state) {
  std::vector<MS2Spectrum> work = pristine();
  for (auto _ : state) {
    state.PauseTiming();
    restore(work);
    state.ResumeTiming();
    for (MS2Spectrum& spectrum : work) corvid::removeIsotopePeaks(spectrum);
    benchmark::DoNotOptimize(work.data());
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kBatchSize));
}
BENCHMARK(BM_RemoveIsotopePeaks)->Unit(benchmark::kMillisecond);

// The differences of every spectrum, counted into the histogram (the second half of the mode).
void countAllDifferences(std::vector<MS2Spectrum>& work, std::vector<double>& differences,
                         corvid::PeakDifferenceHistogram& histogram, corvid::PeakDifferenceTally& tally) {
  for (MS2Spectrum& spectrum : work) {
    differences.clear();
    corvid::topPeakDifferences(spectrum, differences);
    corvid::countPeakDifferences(differences, histogram, tally);
  }
}

void BM_TopPeakDifferencesAndCount(benchmark::State& state) {
  std::vector<MS2Spectrum> work = pristine();
  corvid::PeakDifferenceHistogram histogram;
  corvid::PeakDifferenceTally tally;
  std::vector<double> differences;
  differences.reserve(corvid::kDifferenceListReserve);
  for (auto _ : state) {
    state.PauseTiming();
    restore(work);
    state.ResumeTiming();
    countAllDifferences(work, differences, histogram, tally);
    benchmark::DoNotOptimize(histogram.bins.data());
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kBatchSize));
}
BENCHMARK(BM_TopPeakDifferencesAndCount)->Unit(benchmark::kMillisecond);

// The whole per-spectrum work of the mode: isotope removal, then differences and counting.
void BM_WholeSpectrumPath(benchmark::State& state) {
  std::vector<MS2Spectrum> work = pristine();
  corvid::PeakDifferenceHistogram histogram;
  corvid::PeakDifferenceTally tally;
  std::vector<double> differences;
  differences.reserve(corvid::kDifferenceListReserve);
  for (auto _ : state) {
    state.PauseTiming();
    restore(work);
    state.ResumeTiming();
    for (MS2Spectrum& spectrum : work) corvid::removeIsotopePeaks(spectrum);
    countAllDifferences(work, differences, histogram, tally);
    benchmark::DoNotOptimize(histogram.bins.data());
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kBatchSize));
}
BENCHMARK(BM_WholeSpectrumPath)->Unit(benchmark::kMillisecond);

void BM_WriteFrequencyFile(benchmark::State& state) {
  corvid::PeakDifferenceHistogram histogram;
  std::mt19937 random(7);
  std::uniform_int_distribution<std::uint32_t> countDraw(0, 100000);
  for (std::size_t b = 0; b < corvid::kPeakDifferenceBinCount; ++b)
    histogram.bins[b] = countDraw(random);
  const std::string path =
      (std::filesystem::temp_directory_path() / "corvid_peak_difference_bench.freq.txt").string();
  for (auto _ : state) {
    if (!corvid::writeFrequencyFile(histogram, path)) state.SkipWithError("cannot write");
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(std::filesystem::file_size(path)));
  std::filesystem::remove(path);
}
BENCHMARK(BM_WriteFrequencyFile)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
