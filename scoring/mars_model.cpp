#include "scoring/mars_model.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace corvid {

MarsModelChoice selectMarsModel(const std::string& marsModel) {
  if (marsModel == "1") return MarsModelChoice::kModel1;
  if (marsModel == "2") return MarsModelChoice::kModel2;
  if (marsModel == "3") return MarsModelChoice::kModel3;
  if (marsModel == "4") return MarsModelChoice::kModel4;
  if (marsModel == "5") return MarsModelChoice::kModel5;
  if (marsModel == "15") return MarsModelChoice::kMaxOf5And250;
  if (marsModel == "250") return MarsModelChoice::kModel250;
  if (marsModel == "1024") return MarsModelChoice::kModel4;
  return MarsModelChoice::kFallback;
}

// Smoothed hinge of cubic MARS. Rising: 0 up to t-, x - t from t+ on; falling: t - x up to t-,
// 0 from t+ on. Between the outer knots a cubic joins the two with matching value and slope.
// Each section is tested on its own so that a NaN, failing all tests, leaves the value at 0.
double hingeValue(const MarsTerm& term, double x) {
  const double lo = term.lower;
  const double t = term.centre;
  const double up = term.upper;
  double value = 0.0;
  if (term.direction > 0) {
    if (x <= lo) value = 0.0;
    if (lo < x && x < up) {
      const double width = up - lo;
      const double r = (2.0 * t - up - lo) / std::pow(width, 3.0);
      const double p = (2.0 * up + lo - 3.0 * t) / (width * width);
      const double d = x - lo;
      value = r * std::pow(d, 3.0) + p * d * d;
    }
    if (x >= up) value = x - t;
  } else {
    if (x <= lo) value = t - x;
    if (lo < x && x < up) {
      const double width = lo - up;
      const double r = (lo + up - 2.0 * t) / std::pow(width, 3.0);
      const double p = (3.0 * t - 2.0 * lo - up) / (width * width);
      const double d = x - up;
      value = r * std::pow(d, 3.0) + p * d * d;
    }
    if (x >= up) value = 0.0;
  }
  return value;
}

double evaluateMarsModel(const MarsModel& model, std::span<const double> features) {
  double score = model.intercept;
  for (const MarsTerm& term : model.terms) {
    if (term.feature >= features.size()) {
      throw std::out_of_range("feature vector too short for the MARS model");
    }
    score += term.coefficient * hingeValue(term, features[term.feature]);
  }
  return score;
}

double scoreByChoice(MarsModelChoice choice, std::span<const double> features) {
  switch (choice) {
    case MarsModelChoice::kModel1: return evaluateMarsModel(kMarsModel1, features);
    case MarsModelChoice::kModel2: return evaluateMarsModel(kMarsModel2, features);
    case MarsModelChoice::kModel3: return evaluateMarsModel(kMarsModel3, features);
    case MarsModelChoice::kModel4: return evaluateMarsModel(kMarsModel4, features);
    case MarsModelChoice::kModel5: return evaluateMarsModel(kMarsModel5, features);
    case MarsModelChoice::kMaxOf5And250:
      // The one intended combination: the more confident of the two models.
      return std::max(evaluateMarsModel(kMarsModel5, features),
                      evaluateMarsModel(kMarsModel250, features));
    case MarsModelChoice::kModel250: return evaluateMarsModel(kMarsModel250, features);
    case MarsModelChoice::kFallback: break;
  }
  return evaluateMarsModel(kMarsModelFallback, features);
}

double scoreByModelKey(const std::string& marsModel, std::span<const double> features) {
  return scoreByChoice(selectMarsModel(marsModel), features);
}

}  // namespace corvid
