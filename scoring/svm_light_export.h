#pragma once
// Feature files in SVMlight's sparse text format for the external SVM classifier: a training file
// of sampled scans (best-ranked candidate positive, lowest-ranked negative), a test file with
// every candidate, and a companion file naming each test line's scan, charge and m/z.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "spectra/precursor_features.h"
#include "spectra/precursor_record.h"

namespace corvid {

// Where the files go and how the training scans are drawn.
struct SvmLightSetup {
  std::string trainingPath;   // outputpath + "SVMlightTrainingSet.txt"
  std::string testPath;       // outputpath + "SVMlightTestSet.txt"
  std::string companionPath;  // test path + ".scan_mz_charge.txt"
  std::string sampleNumber;   // samplenumberinsvmlight: "-1" draws every scan
  std::string chargeRange;    // svmlight_charge_range, "a-b"
};

// The files of an output folder (ending with a separator) and the sampling settings.
SvmLightSetup makeSvmLightPaths(const std::string& outputFolder, std::string sampleNumber, std::string chargeRange);

// Per feature position, the smallest and largest value over all candidates of one call.
struct SvmLightScaler {
  std::vector<double> minimum;
  std::vector<double> maximum;
};

// Positions = the first vector's length. No vectors throws RunFailure "Empty feature vector".
SvmLightScaler makeSvmLightScaler(const std::vector<PrecursorFeatures>& features);
// (x - min) / (max - min), or 0 where the position barely varies (|max - min| < 1e-6).
double scaledFeature(const SvmLightScaler& scaler, std::size_t position, double value);

// a <= charge <= b for the range text "a-b" (split at its first "-", each part read as a decimal
// integer prefix). An empty text or one without "-" throws RunFailure
// "Fail to set charge range of svm training process!".
bool chargeInRange(std::string_view range, int charge);

// The scans drawn for the training file, ascending. Distinct scans are listed in record order
// (a scan differing from the one listed before it), then shuffled with the C runtime generator
// seeded with 90 at every call; "-1" draws every listed scan, any other value the first
// min(value, n) of the shuffle (none when the value is not positive).
std::vector<std::int32_t> sampleScans(std::string_view sampleNumber, const std::vector<PrecursorRecord>& records);

// Writes the three files (CR LF line ends) for the candidates, features parallel to records.
// Failures throw RunFailure: "Empty feature vector", "Fail to create training set file! ",
// "Fail to create test set file! ", the charge-range text, or a message naming a file that could
// not be created or written.
void exportSvmLight(const SvmLightSetup& setup, const std::vector<PrecursorFeatures>& features,
                    const std::vector<PrecursorRecord>& records);

}  // namespace corvid
