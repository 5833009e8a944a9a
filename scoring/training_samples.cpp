#include "scoring/training_samples.h"

#include "platform/text_file.h"
#include "scoring/whole_number.h"
#include "platform/run_failure.h"

namespace corvid {

namespace {

void writeSampleLine(TextWriter& out, int scan, const PrecursorFeatures& features) {
  // Thirteen detected features, then the last element: feature 12 again before scoring, the
  // score (or probability) after it.
  double values[kDetectedFeatureCount + 1] = {};
  for (std::size_t i = 0; i < kDetectedFeatureCount && i < features.size(); ++i) values[i] = features[i];
  values[kDetectedFeatureCount] = features.empty() ? 0.0 : features.back();
  out.print("%d, %f, %f, %f, %f, %f, %f, %f, %f, %f, %f, %f, %f, %f, %f\n", scan, values[0], values[1],
            values[2], values[3], values[4], values[5], values[6], values[7], values[8], values[9], values[10],
            values[11], values[12], values[13]);
}

}  // namespace

void writeTrainingSamples(const std::string& outputPath, bool writeTables, ReferencePrecursorList& reference,
                          const std::vector<PrecursorFeatures>& features,
                          const std::vector<PrecursorRecord>& records) {
  if (records.empty()) return;
  static constexpr const char* kOpenFailure = "Can not open positive Sample file! Please Check your disk!";
  TextWriter positive;
  if (!positive.open(outputPath + "Positive.csv")) throw RunFailure(kOpenFailure);
  TextWriter negative;
  if (!negative.open(outputPath + "Negative.csv")) throw RunFailure(kOpenFailure);

  const ReferenceIndex index = indexReferenceByScan(reference);
  for (std::size_t i = 0; i < records.size(); ++i) {
    const int scan = truncatedToInt(records[i].scan);
    const int charge = truncatedToInt(records[i].charge);
    const std::ptrdiff_t entry = firstMatchingEntry(reference, index, scan, charge, records[i].mz);
    if (entry >= 0) {
      reference.found[static_cast<std::size_t>(entry)] = 1;
      reference.training[static_cast<std::size_t>(entry)] = 0;
    }
    if (writeTables && i < features.size()) writeSampleLine(entry >= 0 ? positive : negative, scan, features[i]);
  }
  if (!positive.close()) throw RunFailure("Fail to write " + outputPath + "Positive.csv: " + positive.error());
  if (!negative.close()) throw RunFailure("Fail to write " + outputPath + "Negative.csv: " + negative.error());
}

}  // namespace corvid
