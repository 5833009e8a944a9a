#pragma once
// What svm-train's cross validation and svm-predict sum over predictions: accuracy for
// classifiers, error and squared correlation for regression, in LIBSVM's own formulas.
namespace svmrunner {

struct PredictionTally {
  int correct = 0;
  int total = 0;
  double error = 0, sumP = 0, sumT = 0, sumPP = 0, sumTT = 0, sumPT = 0;

  void add(double predicted, double target) {
    if (predicted == target) ++correct;
    error += (predicted - target) * (predicted - target);
    sumP += predicted;
    sumT += target;
    sumPP += predicted * predicted;
    sumTT += target * target;
    sumPT += predicted * target;
    ++total;
  }
};

// With no predictions these divide by zero and give nan, as LIBSVM's programs print.
inline double meanSquaredError(const PredictionTally& tally) { return tally.error / tally.total; }
inline double squaredCorrelation(const PredictionTally& tally) {
  const double n = tally.total;
  return ((n * tally.sumPT - tally.sumP * tally.sumT) * (n * tally.sumPT - tally.sumP * tally.sumT)) /
         ((n * tally.sumPP - tally.sumP * tally.sumP) * (n * tally.sumTT - tally.sumT * tally.sumT));
}

}  // namespace svmrunner
