// Time of splitting one large MS2 text file into parts (run by bench/split_large_ms2.sh, which
// generates a file larger than the 3 GiB split threshold). The file is named by CORVID_SPLIT_MS2;
// without it the benchmark is skipped. Parts of the default size (80000 scans) are written beside
// the file and removed after each run.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "spectra/ms2_splitter.h"
#include "tests/support/table_adapters.h"

namespace {

void BM_SplitMS2(benchmark::State& state) {
  const char* path = std::getenv("CORVID_SPLIT_MS2");
  if (path == nullptr || !std::filesystem::exists(path)) {
    state.SkipWithError("set CORVID_SPLIT_MS2 to an existing MS2 file (see split_large_ms2.sh)");
    return;
  }
  const auto bytes = static_cast<std::int64_t>(std::filesystem::file_size(path));
  const corvid::ParameterTable parameters{{"input_format", "raw"}};
  int parts = 0;
  for (auto _ : state) {
    std::vector<std::string> partPaths;
    parts = corvid::splitMS2(parameters, path, partPaths);
    state.PauseTiming();
    for (const std::string& part : partPaths) std::filesystem::remove(part);
    state.ResumeTiming();
  }
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  state.SetBytesProcessed(state.iterations() * bytes);
  state.counters["parts"] = parts;
  state.counters["above_threshold"] = bytes > corvid::kMS2SplitThreshold ? 1 : 0;
  state.counters["peak_rss_MB"] = static_cast<double>(usage.ru_maxrss) / 1024.0;
}

BENCHMARK(BM_SplitMS2)->Unit(benchmark::kSecond)->Iterations(1)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
