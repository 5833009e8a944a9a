// Throughput of the spectrum writers on generated spectra: bytes/s and spectra/s for MGF, MS2
// text and KX2 output, and for reading the MGF back. Inputs are generated deterministically so
// that runs are comparable; files go to a private temporary folder that is removed at the end.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <random>
#include <string>

#include "spectra/kx_format.h"
#include "spectra/mgf_reader.h"
#include "spectra/mgf_writer.h"
#include "spectra/ms2_writer.h"
#include "tests/support/table_adapters.h"

namespace {

using namespace corvid;

// A group the size of a short LC-MS/MS run's HCD-FT scans, with a typical centroided MS2 peak
// count; every other scan has two accepted precursors, the rest export the recorded one.
constexpr int kSpectra = 5000;
constexpr int kPeaksPerSpectrum = 200;

struct BenchInput {
  MS2File file;
  GroupExport group;
  std::filesystem::path folder;

  BenchInput() {
    std::mt19937_64 generator(2016);
    std::uniform_real_distribution<double> mz(100.0, 2000.0);
    std::uniform_real_distribution<double> intensity(10.0, 1.0e7);
    MS2Spectrum shape;
    shape.ionInjectionTime = 22.5;
    shape.activationType = std::string("HCD");
    shape.instrumentType = std::string("FT");
    shape.activationCenter = 450.25;
    for (int i = 0; i < kSpectra; ++i) {
      MS2Spectrum spectrum = shape;
      spectrum.scanNumber = static_cast<std::uint32_t>(1000 + 3 * i);
      spectrum.charge = 2 + i % 3;
      spectrum.precursorMH = 800.0 + i * 0.37;
      spectrum.retentionTime = 60.0 + i * 0.5;
      spectrum.precursorScan = static_cast<std::int32_t>(spectrum.scanNumber) - 1;
      double position = 100.0;
      for (int p = 0; p < kPeaksPerSpectrum; ++p) {
        position += (mz(generator) - 100.0) / (kPeaksPerSpectrum * 2.0);
        spectrum.peaks.push_back({position, intensity(generator)});
      }
      file.spectra.push_back(std::move(spectrum));
      group.spectrumPositions.push_back(static_cast<std::size_t>(i));
      if (i % 2 == 0) {
        double scan = 1000.0 + 3 * i;
        group.accepted.push_back({scan, 2.0, 500.123456});
        group.accepted.push_back({scan, 3.0, 333.456789});
      }
    }
    file.spectrumCount = kSpectra;
    group.rawName = "bench_run";
    folder = std::filesystem::temp_directory_path() /
             ("corvid_writers_bench_" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder);
  }
  ~BenchInput() {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }
  std::string path(const char* name) const { return (folder / name).string(); }
};

BenchInput& input() {
  static BenchInput shared;
  return shared;
}

// The writers print a progress line; keep it off the benchmark's report.
struct QuietStdout {
  int saved = -1;
  QuietStdout() {
    std::fflush(stdout);
    saved = ::dup(1);
    std::FILE* sink = std::fopen("/dev/null", "w");
    if (sink != nullptr) {
      ::dup2(::fileno(sink), 1);
      std::fclose(sink);
    }
  }
  ~QuietStdout() {
    std::fflush(stdout);
    if (saved >= 0) {
      ::dup2(saved, 1);
      ::close(saved);
    }
  }
};

void reportThroughput(benchmark::State& state, const std::string& path, std::int64_t spectra) {
  auto bytes = static_cast<std::int64_t>(std::filesystem::file_size(path));
  state.SetBytesProcessed(state.iterations() * bytes);
  state.SetItemsProcessed(state.iterations() * spectra);
  state.counters["file_MB"] = static_cast<double>(bytes) / 1.0e6;
}

void BM_WriteMGF(benchmark::State& state) {
  BenchInput& data = input();
  ParameterTable parameters{{"output_mgf", "1"}};
  std::string path = data.path("bench.mgf");
  QuietStdout quiet;
  for (auto _ : state) {
    bool done = writeMGF(data.group, data.file, parameters, path);
    benchmark::DoNotOptimize(done);
  }
  reportThroughput(state, path, data.group.writtenCount);
}
BENCHMARK(BM_WriteMGF)->Unit(benchmark::kMillisecond);

void BM_WriteMS2(benchmark::State& state) {
  BenchInput& data = input();
  ParameterTable parameters{{"output_ms2", "1"}};
  std::string path = data.path("bench.ms2");
  QuietStdout quiet;
  for (auto _ : state) {
    bool done = writeMS2(data.group, data.file, parameters, path);
    benchmark::DoNotOptimize(done);
  }
  reportThroughput(state, path, data.group.writtenCount);
}
BENCHMARK(BM_WriteMS2)->Unit(benchmark::kMillisecond);

void BM_WriteKX2(benchmark::State& state) {
  BenchInput& data = input();
  std::string path = data.path("bench.kx2");
  for (auto _ : state) {
    bool done = writeKX2(data.group, data.file, path);
    benchmark::DoNotOptimize(done);
  }
  reportThroughput(state, path, kSpectra);
}
BENCHMARK(BM_WriteKX2)->Unit(benchmark::kMillisecond);

void BM_ReadMGF(benchmark::State& state) {
  BenchInput& data = input();
  std::string path = data.path("bench_read.mgf");
  {
    QuietStdout quiet;
    writeMGF(data.group, data.file, ParameterTable{{"output_mgf", "1"}}, path);
  }
  std::int64_t blocks = data.group.writtenCount;
  QuietStdout quiet;
  for (auto _ : state) {
    MGFFile file;
    file.path = path;
    readMGF(file);
    benchmark::DoNotOptimize(file.spectra.data());
  }
  reportThroughput(state, path, blocks);
}
BENCHMARK(BM_ReadMGF)->Unit(benchmark::kMillisecond);

void BM_WriteKX2FromMGF(benchmark::State& state) {
  BenchInput& data = input();
  std::string path = data.path("bench_convert.mgf");
  {
    QuietStdout quiet;
    writeMGF(data.group, data.file, ParameterTable{{"output_mgf", "1"}}, path);
  }
  MGFFile file;
  file.path = path;
  {
    QuietStdout quiet;
    readMGF(file);
  }
  for (auto _ : state) writeKX2FromMGF(file);
  reportThroughput(state, data.path("bench_convert.kx2"),
                   static_cast<std::int64_t>(file.spectra.size()));
}
BENCHMARK(BM_WriteKX2FromMGF)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
