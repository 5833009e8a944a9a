#include "scoring/mars_model.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "platform/run_failure.h"

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

namespace {

// The two factors of a term's cubic section, r * d^3 + p * d^2.
struct CubicFactors {
  double r = 0.0;
  double p = 0.0;
};

CubicFactors cubicFactors(const MarsTerm& term) {
  const double lo = term.lower;
  const double t = term.centre;
  const double up = term.upper;
  if (term.direction > 0) {
    const double width = up - lo;
    return {(2.0 * t - up - lo) / std::pow(width, 3.0), (2.0 * up + lo - 3.0 * t) / (width * width)};
  }
  const double width = lo - up;
  return {(lo + up - 2.0 * t) / std::pow(width, 3.0), (3.0 * t - 2.0 * lo - up) / (width * width)};
}

// Smoothed hinge of cubic MARS. Rising: 0 up to t-, x - t from t+ on; falling: t - x up to t-,
// 0 from t+ on. Between the outer knots a cubic joins the two with matching value and slope; d is
// measured from t- (rising) or t+ (falling). Each section is tested on its own so that a NaN,
// failing all tests, leaves the value at 0.
double hingeWithFactors(const MarsTerm& term, const CubicFactors& factors, double x) {
  const double lo = term.lower;
  const double up = term.upper;
  double value = 0.0;
  if (term.direction > 0) {
    if (x <= lo) value = 0.0;
    if (lo < x && x < up) {
      const double d = x - lo;
      value = factors.r * std::pow(d, 3.0) + factors.p * d * d;
    }
    if (x >= up) value = x - term.centre;
  } else {
    if (x <= lo) value = term.centre - x;
    if (lo < x && x < up) {
      const double d = x - up;
      value = factors.r * std::pow(d, 3.0) + factors.p * d * d;
    }
    if (x >= up) value = 0.0;
  }
  return value;
}

// Largest model table; the built-in ones hold at most 18 terms.
constexpr std::size_t kMaxTerms = 32;

// A built-in model with its cubic factors worked out once, by the same routine that hingeValue
// uses, so that both paths give bit-identical scores.
struct PreparedModel {
  const MarsModel* model = nullptr;
  std::array<CubicFactors, kMaxTerms> factors{};
  std::size_t highestFeature = 0;
};

PreparedModel prepare(const MarsModel& model) {
  PreparedModel prepared;
  prepared.model = &model;
  if (model.terms.size() > kMaxTerms) throw RunFailure("MARS model with too many terms", FailureKind::kOutOfBounds);
  for (std::size_t i = 0; i < model.terms.size(); ++i) {
    prepared.factors[i] = cubicFactors(model.terms[i]);
    prepared.highestFeature = std::max(prepared.highestFeature, model.terms[i].feature);
  }
  return prepared;
}

double evaluatePrepared(const PreparedModel& prepared, std::span<const double> features) {
  if (prepared.highestFeature >= features.size()) {
    throw RunFailure("feature vector too short for the MARS model", FailureKind::kOutOfBounds);
  }
  const MarsModel& model = *prepared.model;
  double score = model.intercept;
  for (std::size_t i = 0; i < model.terms.size(); ++i) {
    const MarsTerm& term = model.terms[i];
    score += term.coefficient * hingeWithFactors(term, prepared.factors[i], features[term.feature]);
  }
  return score;
}

const PreparedModel& preparedModel(MarsModelChoice choice) {
  static const std::array<PreparedModel, 7> kPrepared = {
      prepare(kMarsModel1), prepare(kMarsModel2),   prepare(kMarsModel3),       prepare(kMarsModel4),
      prepare(kMarsModel5), prepare(kMarsModel250), prepare(kMarsModelFallback)};
  switch (choice) {
    case MarsModelChoice::kModel1: return kPrepared[0];
    case MarsModelChoice::kModel2: return kPrepared[1];
    case MarsModelChoice::kModel3: return kPrepared[2];
    case MarsModelChoice::kModel4: return kPrepared[3];
    case MarsModelChoice::kModel5: return kPrepared[4];
    case MarsModelChoice::kModel250: return kPrepared[5];
    case MarsModelChoice::kMaxOf5And250:
    case MarsModelChoice::kFallback: break;
  }
  return kPrepared[6];
}

}  // namespace

double hingeValue(const MarsTerm& term, double x) {
  return hingeWithFactors(term, cubicFactors(term), x);
}

double evaluateMarsModel(const MarsModel& model, std::span<const double> features) {
  double score = model.intercept;
  for (const MarsTerm& term : model.terms) {
    if (term.feature >= features.size()) {
      throw RunFailure("feature vector too short for the MARS model", FailureKind::kOutOfBounds);
    }
    score += term.coefficient * hingeValue(term, features[term.feature]);
  }
  return score;
}

double scoreByChoice(MarsModelChoice choice, std::span<const double> features) {
  if (choice == MarsModelChoice::kMaxOf5And250) {
    // The one intended combination: the more confident of the two models.
    return std::max(evaluatePrepared(preparedModel(MarsModelChoice::kModel5), features),
                    evaluatePrepared(preparedModel(MarsModelChoice::kModel250), features));
  }
  return evaluatePrepared(preparedModel(choice), features);
}

double scoreByModelKey(const std::string& marsModel, std::span<const double> features) {
  return scoreByChoice(selectMarsModel(marsModel), features);
}

}  // namespace corvid
