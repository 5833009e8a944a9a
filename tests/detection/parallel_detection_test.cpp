// Detection on several threads gives exactly what one thread gives: the same candidates, features,
// window shares, counts and found reference entries in the same order, for any thread count.
#include "detection/parallel_detection.h"

#include <gtest/gtest.h>

#include "detection/voltage_views.h"

#include <random>
#include <thread>

#include "tests/detection/detection_test_support.h"

namespace corvid {
namespace {

// An MS1 run with isotope envelopes of random peptides eluting over several scans, plus noise,
// and MS2 tasks centred on envelope peaks or anywhere.
struct RandomRun {
  MS1File ms1;
  std::vector<ScanTask> tasks;
};

RandomRun randomRun(unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  RandomRun run;
  std::vector<MS1Spectrum> scans;
  std::vector<std::pair<double, int>> envelopes;
  for (int i = 0; i < 60; ++i) envelopes.push_back({400.0 + 900.0 * unit(random), 1 + static_cast<int>(random() % 4)});
  for (std::uint32_t s = 0; s < 40; ++s) {
    std::vector<Peak> peaks;
    for (const auto& [mz, charge] : envelopes) {
      const double height = 1e5 * (0.2 + unit(random));
      for (int k = 0; k < 4; ++k) peaks.push_back({mz + k * 1.00335 / charge, height / (1 + k)});
    }
    for (int n = 0; n < 300; ++n) peaks.push_back({350.0 + 1000.0 * unit(random), 500.0 * unit(random)});
    std::sort(peaks.begin(), peaks.end(), [](const Peak& a, const Peak& b) { return a.mz < b.mz; });
    scans.push_back(testing::makeScan(1 + s * 11, std::move(peaks)));
  }
  run.ms1 = testing::makeMs1File(std::move(scans));
  for (std::uint32_t t = 0; t < 400; ++t) {
    const std::uint32_t scan = 2 + (t / 10) * 11 + t % 10;
    const auto& envelope = envelopes[random() % envelopes.size()];
    run.tasks.push_back({scan, unit(random) < 0.8 ? envelope.first + 0.2 : 400.0 + 900.0 * unit(random)});
  }
  return run;
}

DetectionOutput detected(const DetectionInput& input, const RandomRun& run, unsigned threads,
                         std::size_t* workers = nullptr) {
  DetectionOutput output;
  const std::size_t used = detectScans(input, run.tasks, threads, output);
  if (workers != nullptr) *workers = used;
  return output;
}

DetectionOutput detected(const RandomRun& run, unsigned threads) {
  return detected(makeDetectionInput(testing::defaultParameters(), run.ms1), run, threads);
}

void addEntry(ReferencePrecursorList& list, std::int32_t scan, double mz, std::int32_t charge) {
  list.scans.push_back(scan);
  list.mzs.push_back(mz);
  list.charges.push_back(charge);
  list.values.push_back(0.0);
  list.found.push_back(0);
}

// Every third candidate one thread detects, each also with a charge and an m/z 30 ppm off that
// no pair matches, and entries of scans without a task.
ReferencePrecursorList referenceFor(const DetectionOutput& candidates) {
  ReferencePrecursorList list;
  for (std::size_t i = 0; i < candidates.records.size(); i += 3) {
    const PrecursorRecord& record = candidates.records[i];
    const auto scan = static_cast<std::int32_t>(record.scan);
    const auto charge = static_cast<std::int32_t>(record.charge);
    addEntry(list, scan, record.mz, charge);
    addEntry(list, scan, record.mz, 7);
    addEntry(list, scan, record.mz * (1 + 3e-5), charge);
  }
  for (std::int32_t scan = 5000; scan < 5010; ++scan) addEntry(list, scan, 500.0, 2);
  return list;
}

void expectSameOutput(const DetectionOutput& many, const DetectionOutput& one, unsigned threads) {
  ASSERT_EQ(many.records.size(), one.records.size()) << threads;
  for (std::size_t i = 0; i < one.records.size(); ++i) {
    EXPECT_EQ(many.records[i].scan, one.records[i].scan);
    EXPECT_EQ(many.records[i].charge, one.records[i].charge);
    EXPECT_EQ(many.records[i].mz, one.records[i].mz);
  }
  EXPECT_EQ(many.features, one.features) << threads;
  EXPECT_EQ(many.windowShares, one.windowShares) << threads;
  EXPECT_EQ(many.exportedPrecursorCount, one.exportedPrecursorCount) << threads;
  EXPECT_EQ(many.foundReferenceEntries, one.foundReferenceEntries) << threads;
}

class ParallelDetection : public ::testing::Test {
 protected:
  void SetUp() override {
    loadIsotopePatternTable(std::string(CORVID_SOURCE_DIR) + "/data/IPV.txt", runIsotopeTable());
  }
};

TEST_F(ParallelDetection, AnyThreadCountGivesTheSingleThreadResult) {
  for (unsigned seed : {1u, 2u, 3u}) {
    const RandomRun run = randomRun(seed);
    const DetectionOutput one = detected(run, 1);
    ASSERT_GT(one.records.size(), 100u) << "too few candidates for the comparison to mean anything";
    for (unsigned threads : {2u, 3u, 8u, 64u}) expectSameOutput(detected(run, threads), one, threads);
  }
}

TEST_F(ParallelDetection, WithAReferenceListEveryThreadWorksAndFindsWhatOneThreadFinds) {
  const RandomRun run = randomRun(6);
  ParameterTable parameters = testing::defaultParameters();
  testing::setParameter(parameters, "precision_mode", "1");  // window shares are measured too
  DetectionInput input = makeDetectionInput(parameters, run.ms1);
  const ReferencePrecursorList reference = referenceFor(detected(input, run, 1));
  attachReferenceList(input, reference);

  std::size_t workers = 0;
  const DetectionOutput one = detected(input, run, 1, &workers);
  EXPECT_EQ(workers, 1u);
  ASSERT_FALSE(one.windowShares.empty());
  ReferencePrecursorList oneMarked = reference;
  markFoundEntries(one, oneMarked);
  const auto foundCount = std::count(oneMarked.found.begin(), oneMarked.found.end(), 1);
  EXPECT_GT(foundCount, 10) << "too few entries found for the comparison to mean anything";
  EXPECT_LT(static_cast<std::size_t>(foundCount), reference.size());

  for (unsigned threads : {2u, 8u}) {
    const DetectionOutput many = detected(input, run, threads, &workers);
    EXPECT_EQ(workers, threads);
    expectSameOutput(many, one, threads);
    ReferencePrecursorList manyMarked = reference;
    markFoundEntries(many, manyMarked);
    EXPECT_EQ(manyMarked.found, oneMarked.found) << threads;
  }
}

TEST_F(ParallelDetection, FoundEntriesAreListedOncePerScan) {
  const RandomRun run = randomRun(7);
  DetectionInput input = makeDetectionInput(testing::defaultParameters(), run.ms1);
  const ReferencePrecursorList reference = referenceFor(detected(input, run, 1));
  attachReferenceList(input, reference);
  const DetectionOutput output = detected(input, run, 4);
  ASSERT_FALSE(output.foundReferenceEntries.empty());
  std::vector<std::size_t> entries = output.foundReferenceEntries;
  std::sort(entries.begin(), entries.end());
  // Every task has a scan of its own, so no entry is found twice.
  EXPECT_EQ(std::adjacent_find(entries.begin(), entries.end()), entries.end());
}

TEST_F(ParallelDetection, DebugModesStayOnOneThread) {
  const RandomRun run = randomRun(8);
  testing::TempDir folder;
  ParameterTable parameters = testing::defaultParameters();
  testing::setParameter(parameters, "debug_mode", "2");
  testing::setParameter(parameters, "datapath", folder.folder());
  std::size_t workers = 0;
  detected(makeDetectionInput(parameters, run.ms1), run, 8, &workers);
  EXPECT_EQ(workers, 1u);
}

TEST_F(ParallelDetection, CandidatesAppendToWhatTheOutputHolds) {
  const RandomRun run = randomRun(4);
  const DetectionInput input = makeDetectionInput(testing::defaultParameters(), run.ms1);
  DetectionOutput output;
  output.records.push_back({1, 2, 3.0});
  output.features.push_back({9.0});
  EXPECT_EQ(detectScans(input, run.tasks, 4, output), 4u);
  ASSERT_GT(output.records.size(), 1u);
  EXPECT_EQ(output.records.front().mz, 3.0);
  EXPECT_EQ(output.features.front(), PrecursorFeatures{9.0});
  EXPECT_EQ(output.records.size(), detected(run, 1).records.size() + 1);
}

TEST_F(ParallelDetection, NoTasksNoCandidates) {
  const RandomRun run = randomRun(5);
  const DetectionInput input = makeDetectionInput(testing::defaultParameters(), run.ms1);
  DetectionOutput output;
  EXPECT_EQ(detectScans(input, {}, 8, output), 1u);
  EXPECT_TRUE(output.records.empty());
}

// FAIMS: two runs interleaved scan by scan, each with its own voltage (run A's MS1 scans at
// 1 + 22 s, run B's at 12 + 22 s, each run's MS2 scans after its own MS1 scan), renumbered.
struct InterleavedRuns {
  MS1File a, b, merged;
  std::vector<ScanTask> tasksA, tasksB;
  MS2File ms2;  // every task of both runs, in scan order
};

InterleavedRuns interleavedRuns() {
  InterleavedRuns runs;
  RandomRun a = randomRun(11), b = randomRun(12);
  for (MS1Spectrum& scan : a.ms1.spectra) scan.scanNumber = 2 * scan.scanNumber - 1;
  for (MS1Spectrum& scan : b.ms1.spectra) scan.scanNumber = 2 * scan.scanNumber + 10;
  for (ScanTask& task : a.tasks) task.scan = 1 + (task.scan - 2) / 11 * 22 + (task.scan - 2) % 11 + 1;
  for (ScanTask& task : b.tasks) task.scan = 12 + (task.scan - 2) / 11 * 22 + (task.scan - 2) % 11 + 1;
  runs.a = a.ms1;
  runs.b = b.ms1;
  runs.tasksA = a.tasks;
  runs.tasksB = b.tasks;
  for (std::size_t s = 0; s < a.ms1.spectra.size(); ++s) {
    runs.merged.spectra.push_back(a.ms1.spectra[s]);
    runs.merged.spectra.back().compensationVoltage = -45.0;
    runs.merged.spectra.push_back(b.ms1.spectra[s]);
    runs.merged.spectra.back().compensationVoltage = -65.0;
  }
  runs.merged.instrumentName = "FTMS";
  for (const auto* tasks : {&a.tasks, &b.tasks}) {
    for (const ScanTask& task : *tasks) {
      MS2Spectrum spectrum;
      spectrum.scanNumber = task.scan;
      spectrum.activationCenter = task.center;
      spectrum.precursorScan = static_cast<std::int32_t>(task.scan - (task.scan - 1) % 11);  // its own MS1 scan
      runs.ms2.spectra.push_back(spectrum);
    }
  }
  std::sort(runs.ms2.spectra.begin(), runs.ms2.spectra.end(),
            [](const MS2Spectrum& x, const MS2Spectrum& y) { return x.scanNumber < y.scanNumber; });
  return runs;
}

// The output's records of the scans of one run, in order.
std::vector<PrecursorRecord> recordsOf(const DetectionOutput& output, const std::vector<ScanTask>& tasks) {
  std::vector<PrecursorRecord> records;
  for (const PrecursorRecord& record : output.records) {
    const bool own =
        std::any_of(tasks.begin(), tasks.end(), [&](const ScanTask& task) { return task.scan == record.scan; });
    if (own) records.push_back(record);
  }
  return records;
}

bool sameRecords(const std::vector<PrecursorRecord>& x, const std::vector<PrecursorRecord>& y) {
  return std::equal(x.begin(), x.end(), y.begin(), y.end(), [](const PrecursorRecord& p, const PrecursorRecord& q) {
    return p.scan == q.scan && p.charge == q.charge && p.mz == q.mz;
  });
}

TEST_F(ParallelDetection, EachVoltageViewGivesWhatItsRunAloneGives) {
  InterleavedRuns runs = interleavedRuns();
  const ParameterTable parameters = testing::defaultParameters();
  DetectionOutput aloneA, aloneB;
  detectScans(makeDetectionInput(parameters, runs.a), runs.tasksA, 1, aloneA);
  detectScans(makeDetectionInput(parameters, runs.b), runs.tasksB, 1, aloneB);
  ASSERT_GT(aloneA.records.size(), 100u);

  std::vector<ScanTask> tasks;
  for (const MS2Spectrum& spectrum : runs.ms2.spectra)
    tasks.push_back({spectrum.scanNumber, spectrum.activationCenter});
  DetectionOutput across;  // the nearest MS1 scans whatever their voltage
  detectScans(makeDetectionInput(parameters, runs.merged), tasks, 1, across);
  EXPECT_FALSE(sameRecords(recordsOf(across, runs.tasksA), aloneA.records));

  VoltageViews views;
  splitByVoltage(makeDetectionInput(parameters, runs.merged), runs.merged, runs.ms2, views);
  ASSERT_EQ(views.inputs.size(), 3u);
  EXPECT_EQ(views.ms2WithoutMS1, 0u);
  for (std::size_t i = 0; i < tasks.size(); ++i) tasks[i].view = views.ms2View[i];
  for (unsigned threads : {1u, 4u}) {
    DetectionOutput split;
    detectScans(views.inputs, tasks, threads, split);
    EXPECT_TRUE(sameRecords(recordsOf(split, runs.tasksA), aloneA.records)) << threads;
    EXPECT_TRUE(sameRecords(recordsOf(split, runs.tasksB), aloneB.records)) << threads;
    EXPECT_EQ(split.records.size(), aloneA.records.size() + aloneB.records.size());
  }
}

// An MS2 scan whose voltage no MS1 scan has is detected against the empty view: no MS1 signal, no
// candidate, as for a run without MS1 scans.
TEST_F(ParallelDetection, TheEmptyVoltageViewGivesNoCandidates) {
  InterleavedRuns runs = interleavedRuns();
  const ParameterTable parameters = testing::defaultParameters();
  for (MS2Spectrum& spectrum : runs.ms2.spectra) {
    spectrum.precursorScan = 0;
    spectrum.compensationVoltage = -30.0;
  }
  VoltageViews views;
  splitByVoltage(makeDetectionInput(parameters, runs.merged), runs.merged, runs.ms2, views);
  EXPECT_EQ(views.ms2WithoutMS1, runs.ms2.spectra.size());
  std::vector<ScanTask> tasks;
  for (std::size_t i = 0; i < runs.ms2.spectra.size(); ++i)
    tasks.push_back({runs.ms2.spectra[i].scanNumber, runs.ms2.spectra[i].activationCenter, {}, views.ms2View[i]});
  DetectionOutput output;
  detectScans(views.inputs, tasks, 4, output);
  EXPECT_TRUE(output.records.empty());
  EXPECT_EQ(output.exportedPrecursorCount, 0);
}

TEST(ThreadCount, PositiveAsGivenOtherwiseEveryCore) {
  EXPECT_EQ(threadCountFor(1), 1u);
  EXPECT_EQ(threadCountFor(7), 7u);
  const unsigned cores = std::max(1u, std::thread::hardware_concurrency());
  EXPECT_EQ(threadCountFor(0), cores);
  EXPECT_EQ(threadCountFor(-3), cores);
}

}  // namespace
}  // namespace corvid
