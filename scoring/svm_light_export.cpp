#include "scoring/svm_light_export.h"

#include <algorithm>
#include <cmath>

#include "platform/lenient_numbers.h"
#include "platform/msvc_random.h"
#include "platform/run_failure.h"
#include "platform/text_file.h"
#include "scoring/whole_number.h"

namespace corvid {

namespace {

// Below this spread a feature carries no information for the classifier: it scales to 0.
constexpr double kFlatFeatureSpread = 1e-6;
// The training draw is the same on every run of the same input.
constexpr std::uint32_t kSamplingSeed = 90;

// "%d:%.8lf " for every position of the scaled vector, numbered from 1.
void writeScaledFeatures(TextWriter& out, const SvmLightScaler& scaler, const PrecursorFeatures& features,
                         const char* separatorBefore, const char* separatorAfter) {
  for (std::size_t j = 0; j < scaler.minimum.size(); ++j) {
    const double value = j < features.size() ? features[j] : 0.0;
    out.print("%s%d:%.8lf%s", separatorBefore, static_cast<int>(j + 1), scaledFeature(scaler, j, value),
              separatorAfter);
  }
}

bool isDrawn(const std::vector<std::int32_t>& drawn, int scan) {
  return std::binary_search(drawn.begin(), drawn.end(), scan);
}

void closeOrThrow(TextWriter& writer, const std::string& path) {
  if (!writer.close()) throw RunFailure("Fail to write " + path + ": " + writer.error());
}

}  // namespace

SvmLightSetup makeSvmLightPaths(const std::string& outputFolder, std::string sampleNumber, std::string chargeRange) {
  SvmLightSetup setup;
  setup.trainingPath = outputFolder + "SVMlightTrainingSet.txt";
  setup.testPath = outputFolder + "SVMlightTestSet.txt";
  setup.companionPath = setup.testPath + ".scan_mz_charge.txt";
  setup.sampleNumber = std::move(sampleNumber);
  setup.chargeRange = std::move(chargeRange);
  return setup;
}

SvmLightScaler makeSvmLightScaler(const std::vector<PrecursorFeatures>& features) {
  if (features.empty()) throw RunFailure("Empty feature vector");
  SvmLightScaler scaler;
  const std::size_t positions = features.front().size();
  scaler.minimum.assign(positions, 0.0);
  scaler.maximum.assign(positions, 0.0);
  for (std::size_t j = 0; j < positions; ++j) {
    double low = features.front()[j];
    double high = low;
    for (const PrecursorFeatures& vector : features) {
      if (j >= vector.size()) continue;
      low = std::min(low, vector[j]);
      high = std::max(high, vector[j]);
    }
    scaler.minimum[j] = low;
    scaler.maximum[j] = high;
  }
  return scaler;
}

double scaledFeature(const SvmLightScaler& scaler, std::size_t position, double value) {
  const double spread = scaler.maximum[position] - scaler.minimum[position];
  if (std::fabs(spread) < kFlatFeatureSpread) return 0.0;
  return (value - scaler.minimum[position]) / spread;
}

bool chargeInRange(std::string_view range, int charge) {
  const std::size_t dash = range.find('-');
  if (range.empty() || dash == std::string_view::npos) {
    throw RunFailure("Fail to set charge range of svm training process!");
  }
  const int lowest = readInteger(range.substr(0, dash));
  const int highest = readInteger(range.substr(dash + 1));
  return lowest <= charge && charge <= highest;
}

std::vector<std::int32_t> sampleScans(std::string_view sampleNumber, const std::vector<PrecursorRecord>& records) {
  std::vector<std::int32_t> listed;
  for (const PrecursorRecord& record : records) {
    const std::int32_t scan = truncatedToInt(record.scan);
    if (listed.empty() || listed.back() != scan) listed.push_back(scan);
  }
  MsvcRandom random;  // the sampling draws from its own generator, seeded the same at every call
  random.seed(kSamplingSeed);
  const std::size_t n = listed.size();
  std::vector<std::size_t> permutation(n);
  for (std::size_t i = 0; i < n; ++i) permutation[i] = i;
  for (std::size_t i = 0; i < n; ++i) {
    const std::size_t j = static_cast<std::size_t>(random.next()) % (n - i) + i;
    std::swap(permutation[i], permutation[j]);
  }
  if (sampleNumber == "-1") {
    std::sort(listed.begin(), listed.end());
    return listed;
  }
  const int wanted = readInteger(sampleNumber);
  const std::size_t count = wanted <= 0 ? 0 : std::min(static_cast<std::size_t>(wanted), n);
  std::vector<std::int32_t> drawn;
  drawn.reserve(count);
  for (std::size_t i = 0; i < count; ++i) drawn.push_back(listed[permutation[i]]);
  std::sort(drawn.begin(), drawn.end());
  return drawn;
}

void exportSvmLight(const SvmLightSetup& setup, const std::vector<PrecursorFeatures>& features,
                    const std::vector<PrecursorRecord>& records) {
  const SvmLightScaler scaler = makeSvmLightScaler(features);
  TextWriter training;
  if (!training.open(setup.trainingPath)) throw RunFailure("Fail to create training set file! ");
  TextWriter test;
  if (!test.open(setup.testPath)) throw RunFailure("Fail to create test set file! ");
  const std::vector<std::int32_t> drawn = sampleScans(setup.sampleNumber, records);
  TextWriter companion;
  if (!companion.open(setup.companionPath)) throw RunFailure("Fail to create " + setup.companionPath);

  const std::size_t count = std::min(features.size(), records.size());
  int previousScan = -1;
  bool positiveWritten = false;
  for (std::size_t i = 0; i < count; ++i) {
    const int scan = truncatedToInt(records[i].scan);
    const int charge = truncatedToInt(records[i].charge);
    test.write("0 ");
    writeScaledFeatures(test, scaler, features[i], "", " ");
    test.write("\n");
    companion.print("%d %d %lf %d", scan, charge, records[i].mz, 0);
    writeScaledFeatures(companion, scaler, features[i], " ", "");
    companion.write("\n");

    if (!isDrawn(drawn, scan)) continue;
    // Candidates arrive ranked best first within a scan: the first one of a drawn scan is the
    // positive example, the last one (when there are two or more) the negative example.
    if (scan != previousScan) {
      if (chargeInRange(setup.chargeRange, charge)) {
        training.write("1 ");
        writeScaledFeatures(training, scaler, features[i], "", " ");
        training.write("\n");
        previousScan = scan;
        positiveWritten = true;
      }
      continue;
    }
    const bool lastOfScan = i + 1 >= count || truncatedToInt(records[i + 1].scan) != scan;
    if (lastOfScan && positiveWritten) {
      training.write("-1 ");
      writeScaledFeatures(training, scaler, features[i], "", " ");
      training.write("\n");
      positiveWritten = false;
    }
  }
  closeOrThrow(training, setup.trainingPath);
  closeOrThrow(test, setup.testPath);
  closeOrThrow(companion, setup.companionPath);
}

}  // namespace corvid
