#pragma once
// MARS scoring: models built from smoothed (piecewise-cubic) hinge functions, evaluated on a
// candidate's feature vector. The models are fixed data compiled into the program, one table per
// source file (mars_model_<name>.cpp), all evaluated by the one routine below.
#include <cstddef>
#include <span>
#include <string>

namespace corvid {

// One term: coefficient times a hinge of one feature. Knots satisfy lower < centre < upper.
struct MarsTerm {
  std::size_t feature = 0;  // position in PrecursorFeatures
  int direction = 1;        // +1 rising hinge, -1 falling hinge
  double lower = 0.0;       // t-: where the cubic section begins
  double centre = 0.0;      // t: the knot of the hinge proper
  double upper = 0.0;       // t+: where the cubic section ends
  double coefficient = 0.0;
};

struct MarsModel {
  double intercept = 0.0;
  std::span<const MarsTerm> terms;
};

// The compiled-in models, named by the mars_model value that selects them.
extern const MarsModel kMarsModel1;
extern const MarsModel kMarsModel2;
extern const MarsModel kMarsModel3;
extern const MarsModel kMarsModel4;  // the default model, also selected by "1024"
extern const MarsModel kMarsModel5;
extern const MarsModel kMarsModel250;
extern const MarsModel kMarsModelFallback;  // any unrecognised mars_model value

// Which evaluation a mars_model value selects (exact text equality, no trimming or parsing).
enum class MarsModelChoice { kModel1, kModel2, kModel3, kModel4, kModel5, kMaxOf5And250, kModel250, kFallback };
MarsModelChoice selectMarsModel(const std::string& marsModel);

// The hinge of one term at feature value x (the coefficient is not applied). The cubic section is
// open at both ends; a NaN x fails every section test and gives 0.
double hingeValue(const MarsTerm& term, double x);

// intercept + sum of coefficient * hinge over the terms, in table order. The features must hold
// every position the model reads (13 values after detection); a shorter vector throws
// std::out_of_range.
double evaluateMarsModel(const MarsModel& model, std::span<const double> features);

double scoreByChoice(MarsModelChoice choice, std::span<const double> features);
double scoreByModelKey(const std::string& marsModel, std::span<const double> features);

}  // namespace corvid
