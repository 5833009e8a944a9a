#pragma once
// The external SVM classifier: svmrunner (LIBSVM's svm-train and svm-predict with probability
// estimates) trains on the SVMlight training file and predicts the test file; the probability of
// class 1 then takes the place of the MARS score.
#include <string>
#include <vector>

namespace corvid {

struct SvmJob {
  std::string trainingFile;  // T
  std::string testFile;      // S
  std::string outputFile;    // T less its last four characters + ".Output.txt"
  std::string trainingCopy;  // T less its last four characters + ".SVMTrainingSet.txt" (not used)
};

SvmJob makeSvmJob(const std::string& trainingPath, const std::string& testPath);
// The model svm-train writes next to its training file.
std::string svmModelPath(const SvmJob& job);

// "<binPath>svmrunner svm-train -b 1 <T>". The tool's result is not acted on; a tool that is
// missing or fails is reported with an "Alert", and its effect shows as a missing or stale
// output file when the probabilities are read.
void trainSvm(const SvmJob& job, const std::string& binPath);
// "<binPath>svmrunner svm-predict -b 1 <S> <T>.model <output>", reported the same way.
void predictSvm(const SvmJob& job, const std::string& binPath);

// The probability of label 1 for every line of the output file, in test-file order. The header
// "labels a b" says which column holds it. A file that cannot be opened throws RunFailure
// "Fail to open SVM output file."; reading stops at the first line that is not three numbers
// (with an "Alert").
std::vector<double> readSvmProbabilities(const SvmJob& job);

}  // namespace corvid
