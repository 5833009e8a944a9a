#include "scoring/mars_model.h"
#include "tests/support/failure_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace corvid {
namespace {

// The hinge written a second way, as cubic Hermite interpolation between the two linear pieces:
// on [t-, t+] the cubic takes the value and slope of the outer sections at both ends.
double hermiteHinge(int direction, double lo, double t, double up, double x) {
  if (std::isnan(x)) return 0.0;
  const double w = up - lo;
  if (direction > 0) {
    if (x <= lo) return 0.0;
    if (x >= up) return x - t;
    const double h = (x - lo) / w;
    // End values 0 and (t+ - t), end slopes 0 and 1.
    return (up - t) * (3 * h * h - 2 * h * h * h) + w * (h * h * h - h * h);
  }
  if (x <= lo) return t - x;
  if (x >= up) return 0.0;
  const double h = (x - lo) / w;
  // End values (t - t-) and 0, end slopes -1 and 0.
  return (t - lo) * (2 * h * h * h - 3 * h * h + 1) - w * (h * h * h - 2 * h * h + h);
}

struct Row {
  int feature;
  int direction;
  double lo, t, up, coefficient;
};

double scoreOf(double intercept, const std::vector<Row>& rows, const std::vector<double>& x) {
  double sum = intercept;
  for (const Row& row : rows) {
    sum += row.coefficient * hermiteHinge(row.direction, row.lo, row.t, row.up, x[row.feature]);
  }
  return sum;
}

// Model 4 retyped term by term.
const std::vector<Row> kModel4Rows = {
    {11, +1, 0.118683, 0.886521, 0.943259, 2.167891678118},
    {11, -1, 0.118683, 0.886521, 0.943259, -0.182055449457441},
    {10, +1, 0.280507, 0.521009, 0.7605045, 0.484178202820683},
    {10, -1, 0.280507, 0.521009, 0.7605045, -2.0012841532973},
    {1, +1, 0.730544, 0.961079, 0.980539, 9.84830022285372},
    {1, -1, 0.730544, 0.961079, 0.980539, -0.664726837910063},
    {8, +1, 687.37946, 774.5019, 4315.231375, 5.86652807168618e-05},
    {8, -1, 687.37946, 774.5019, 4315.231375, -0.000229163620818983},
    {12, +1, -0.053957, 0.636762, 0.799464, -0.47954051980684},
    {12, -1, -0.053957, 0.636762, 0.799464, 1.51413716980376},
    {4, +1, 0.4850235, 0.968961, 0.9844805, -1.05609578125814},
    {4, -1, 0.4850235, 0.968961, 0.9844805, -0.341778268342375},
    {5, +1, 0.404172, 0.808344, 0.904172, -2.22773468584997},
    {5, -1, 0.404172, 0.808344, 0.904172, -0.0407614339429833},
    {3, +1, 0.495494, 0.990988, 0.995494, 0.333777817101604},
    {3, -1, 0.495494, 0.990988, 0.995494, -0.402563975681755},
    {12, -1, 0.799464, 0.962166, 0.9810815, -1.20142953078344},
    {0, +1, 2.5, 3.0, 4.5, -0.115481018847564},
};
constexpr double kModel4Intercept = 0.413690411793215;

// Model 250 retyped term by term.
const std::vector<Row> kModel250Rows = {
    {10, +1, 0.4250655, 0.810111, 0.9050555, -0.755730656821331},
    {10, -1, 0.4250655, 0.810111, 0.9050555, -1.35956824101844},
    {1, -1, 0.919494, 0.969802, 0.9849005, 19.6311955368929},
    {8, +1, 947.9944555, 1094.49745, 3336.689875, -0.000384155839582091},
    {5, +1, 0.408911, 0.817822, 0.908911, -2.52697614021835},
    {4, +1, 0.28523, 0.566827, 0.7834135, 0.720608286166637},
    {4, -1, 0.28523, 0.566827, 0.7834135, 0.289103684918657},
    {3, +1, 0.4310965, 0.862193, 0.9310965, 0.719548349098752},
    {3, -1, 0.4310965, 0.862193, 0.9310965, -0.140710725579436},
    {2, +1, 0.371234, 0.742468, 9.11509, -0.0233658215024393},
    {2, -1, 0.371234, 0.742468, 9.11509, 0.0314365575531956},
    {0, +1, 2.5, 3.0, 4.5, -0.0859538893169026},
    {0, -1, 2.5, 3.0, 4.5, 0.0454542770350976},
    {1, +1, 0.6846885, 0.869186, 0.919494, 22.0140763952332},
    {1, -1, 0.6846885, 0.869186, 0.919494, -20.0712571680915},
    {8, +1, 700.894735, 801.491461, 947.9944555, 0.00048673352994377},
    {8, -1, 700.894735, 801.491461, 947.9944555, -0.003806455517471},
};
constexpr double kModel250Intercept = -2.44035483087248;

// A typical true precursor: most features inside the cubic sections of model 4.
std::vector<double> typicalFeatures() {
  return {3.0, 0.95, 1.5, 0.9, 0.8, 0.5, 3.0, 4.0, 1500.0, 0.0, 0.6, 0.9, 0.85};
}

// Every feature below every lower knot of every model.
std::vector<double> lowFeatures() { return std::vector<double>(13, -1.0); }

// Every feature at or above every upper knot (position 8 above 5497, position 2 above 9.1).
std::vector<double> highFeatures() {
  std::vector<double> x(13, 2.0);
  x[0] = 5.0;
  x[2] = 10.0;
  x[6] = 5.0;
  x[7] = 5.0;
  x[8] = 6000.0;
  return x;
}

struct Factors {
  double r;
  double p;
};

// The cubic factors from the knots, written out for each direction.
Factors factorsOf(const MarsTerm& term) {
  const double lo = term.lower, t = term.centre, up = term.upper;
  if (term.direction > 0) {
    return {(2 * t - up - lo) / ((up - lo) * (up - lo) * (up - lo)),
            (2 * up + lo - 3 * t) / ((up - lo) * (up - lo))};
  }
  return {(lo + up - 2 * t) / ((lo - up) * (lo - up) * (lo - up)),
          (3 * t - 2 * lo - up) / ((lo - up) * (lo - up))};
}

void expectRelativelyNear(double actual, double expected, double relative) {
  EXPECT_NEAR(actual, expected, std::abs(expected) * relative) << "expected " << expected;
}

const std::array<const MarsModel*, 7> kAllModels = {&kMarsModel1, &kMarsModel2, &kMarsModel3,
                                                    &kMarsModel4, &kMarsModel5, &kMarsModel250,
                                                    &kMarsModelFallback};
const std::array<const char*, 7> kModelNames = {"1", "2", "3", "4", "5", "250", "fallback"};

TEST(MarsModel4, WorkedFactorsOfRows1And2) {
  ASSERT_EQ(kMarsModel4.terms.size(), 18u);
  const Factors row1 = factorsOf(kMarsModel4.terms[0]);
  expectRelativelyNear(row1.r, 0.7111 / std::pow(0.824576, 3.0), 1e-9);
  expectRelativelyNear(row1.p, -0.962402385589873, 1e-12);
  const Factors row2 = factorsOf(kMarsModel4.terms[1]);
  expectRelativelyNear(row2.r, -0.7111 / std::pow(-0.824576, 3.0), 1e-9);
  expectRelativelyNear(row2.p, 2.1751468748789136, 1e-12);
}

TEST(MarsModel4, WorkedFactorsOfRows17And18) {
  const Factors row17 = factorsOf(kMarsModel4.terms[16]);
  expectRelativelyNear(row17.r, -0.1437865 / std::pow(-0.1816175, 3.0), 1e-9);
  expectRelativelyNear(row17.p, 9.29177740378035, 1e-12);
  const Factors row18 = factorsOf(kMarsModel4.terms[17]);
  EXPECT_DOUBLE_EQ(row18.r, -1.0 / 8.0);
  EXPECT_DOUBLE_EQ(row18.p, 0.625);
}

TEST(HingeValue, UsesTheWorkedFactorsInsideTheCubicSection) {
  const MarsTerm& row1 = kMarsModel4.terms[0];
  const double d = 0.3;
  const double x = row1.lower + d;
  expectRelativelyNear(hingeValue(row1, x),
                       0.7111 / std::pow(0.824576, 3.0) * d * d * d - 0.962402385589873 * d * d,
                       1e-12);
  const MarsTerm& row18 = kMarsModel4.terms[17];
  // Charge 3 lies 0.5 above t- = 2.5: -1/8 * 0.125 + 0.625 * 0.25.
  EXPECT_DOUBLE_EQ(hingeValue(row18, 3.0), -0.015625 + 0.15625);
  const MarsTerm& row17 = kMarsModel4.terms[16];
  const double e = 0.9 - row17.upper;
  expectRelativelyNear(hingeValue(row17, 0.9),
                       -0.1437865 / std::pow(-0.1816175, 3.0) * e * e * e + 9.29177740378035 * e * e,
                       1e-12);
}

TEST(HingeValue, LowerKnotBelongsToTheLowerSection) {
  const MarsTerm rising{0, 1, 0.2, 0.5, 0.9, 1.0};
  const MarsTerm falling{0, -1, 0.2, 0.5, 0.9, 1.0};
  EXPECT_EQ(hingeValue(rising, 0.2), 0.0);
  EXPECT_EQ(hingeValue(falling, 0.2), 0.5 - 0.2);
  EXPECT_EQ(hingeValue(rising, 0.1), 0.0);
  EXPECT_EQ(hingeValue(falling, 0.1), 0.5 - 0.1);
}

TEST(HingeValue, UpperKnotBelongsToTheUpperSection) {
  const MarsTerm rising{0, 1, 0.2, 0.5, 0.9, 1.0};
  const MarsTerm falling{0, -1, 0.2, 0.5, 0.9, 1.0};
  EXPECT_EQ(hingeValue(rising, 0.9), 0.9 - 0.5);
  EXPECT_EQ(hingeValue(falling, 0.9), 0.0);
  EXPECT_EQ(hingeValue(rising, 1.7), 1.7 - 0.5);
  EXPECT_EQ(hingeValue(falling, 1.7), 0.0);
}

TEST(HingeValue, NaNGivesZeroInBothDirections) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const MarsModel* model : kAllModels) {
    for (const MarsTerm& term : model->terms) EXPECT_EQ(hingeValue(term, nan), 0.0);
  }
}

TEST(HingeValue, SymmetricTripleGivesPlainParabolas) {
  // (2, 3, 4): cubic factors 0, quadratic factors 0.25.
  const MarsTerm rising{6, 1, 2.0, 3.0, 4.0, 1.0};
  const MarsTerm falling{6, -1, 2.0, 3.0, 4.0, 1.0};
  EXPECT_DOUBLE_EQ(hingeValue(rising, 2.5), 0.25 * 0.25);
  EXPECT_DOUBLE_EQ(hingeValue(falling, 3.5), 0.25 * 0.25);
  // (2.5, 3, 4) falling: quadratic factor 0, a pure cubic.
  const MarsTerm skewed{7, -1, 2.5, 3.0, 4.0, 1.0};
  const Factors f = factorsOf(skewed);
  EXPECT_EQ(f.p, 0.0);
  EXPECT_DOUBLE_EQ(hingeValue(skewed, 3.0), f.r * std::pow(-1.0, 3.0));
}

TEST(MarsModels, TableInvariantsHold) {
  for (std::size_t m = 0; m < kAllModels.size(); ++m) {
    SCOPED_TRACE(kModelNames[m]);
    ASSERT_FALSE(kAllModels[m]->terms.empty());
    for (const MarsTerm& term : kAllModels[m]->terms) {
      EXPECT_LT(term.lower, term.centre);
      EXPECT_LT(term.centre, term.upper);
      EXPECT_TRUE(term.direction == 1 || term.direction == -1);
      EXPECT_LT(term.feature, 13u);
      EXPECT_NE(term.feature, 9u) << "no model reads the elution boundary count";
    }
  }
}

TEST(MarsModels, TermCountsMatchTheirTables) {
  EXPECT_EQ(kMarsModel1.terms.size(), 17u);
  EXPECT_EQ(kMarsModel2.terms.size(), 13u);
  EXPECT_EQ(kMarsModel3.terms.size(), 15u);
  EXPECT_EQ(kMarsModel4.terms.size(), 18u);
  EXPECT_EQ(kMarsModel5.terms.size(), 15u);
  EXPECT_EQ(kMarsModel250.terms.size(), 17u);
  EXPECT_EQ(kMarsModelFallback.terms.size(), 16u);
}

// Value and first derivative agree from both sides at t- and t+ for every term of every model.
TEST(MarsModels, EveryTermIsSmoothAtItsOuterKnots) {
  for (std::size_t m = 0; m < kAllModels.size(); ++m) {
    for (std::size_t i = 0; i < kAllModels[m]->terms.size(); ++i) {
      const MarsTerm& term = kAllModels[m]->terms[i];
      SCOPED_TRACE(std::string("model ") + kModelNames[m] + " term " + std::to_string(i + 1));
      const double width = term.upper - term.lower;
      const double h = width * 1e-6;
      for (const double knot : {term.lower, term.upper}) {
        const double at = hingeValue(term, knot);
        const double left = hingeValue(term, knot - h);
        const double right = hingeValue(term, knot + h);
        // Value: both neighbours within one slope step (slopes of a hinge lie within [-1.5, 1.5]).
        EXPECT_NEAR(left, at, 2 * h);
        EXPECT_NEAR(right, at, 2 * h);
        // Slope: one-sided difference quotients differ only by the curvature term, O(h / width).
        const double slopeLeft = (at - left) / h;
        const double slopeRight = (right - at) / h;
        EXPECT_NEAR(slopeLeft, slopeRight, 1e-4);
        // And the slope is the linear section's: 0, +1 or -1.
        const bool linearSide = (term.direction > 0) == (knot == term.upper);
        const double expectedSlope = linearSide ? double(term.direction) : 0.0;
        EXPECT_NEAR(slopeLeft, expectedSlope, 1e-4);
      }
    }
  }
}

TEST(HingeValue, AgreesWithHermiteFormAcrossTheCubicSection) {
  for (const MarsModel* model : kAllModels) {
    for (const MarsTerm& term : model->terms) {
      for (int step = 0; step <= 20; ++step) {
        const double x = term.lower + (term.upper - term.lower) * (step / 20.0);
        EXPECT_NEAR(hingeValue(term, x),
                    hermiteHinge(term.direction, term.lower, term.centre, term.upper, x),
                    1e-12 * (1 + std::abs(x)));
      }
    }
  }
}

TEST(MarsModel4, ScoresRetypedTableOnTypicalFeatures) {
  const std::vector<double> x = typicalFeatures();
  const double expected = scoreOf(kModel4Intercept, kModel4Rows, x);
  EXPECT_NEAR(evaluateMarsModel(kMarsModel4, x), expected, 1e-12);
  EXPECT_NEAR(scoreByModelKey("4", x), expected, 1e-12);
  EXPECT_NEAR(scoreByModelKey("1024", x), expected, 1e-12);
}

TEST(MarsModel4, ScoresRetypedTableAtManyPoints) {
  std::vector<double> x = typicalFeatures();
  for (int step = 0; step < 50; ++step) {
    const double s = step / 49.0;
    x = {2.0 + 3 * s, s,       9 * s, s * 1.1 - 0.05, s,   1 - s,  2 + 2 * s,
         2 + s,       600 + 4000 * s, 0, 0.2 + 0.7 * s, s, s - 0.06};
    EXPECT_NEAR(evaluateMarsModel(kMarsModel4, x), scoreOf(kModel4Intercept, kModel4Rows, x), 1e-10);
  }
}

TEST(MarsModel4, LowerSectionsGiveInterceptPlusFallingTerms) {
  const std::vector<double> x = lowFeatures();
  double expected = kModel4Intercept;
  for (const Row& row : kModel4Rows) {
    if (row.direction < 0) expected += row.coefficient * (row.t - x[row.feature]);
  }
  EXPECT_NEAR(evaluateMarsModel(kMarsModel4, x), expected, 1e-12);
}

TEST(MarsModel250, ScoresRetypedTable) {
  for (const std::vector<double>& x : {typicalFeatures(), lowFeatures(), highFeatures()}) {
    const double expected = scoreOf(kModel250Intercept, kModel250Rows, x);
    EXPECT_NEAR(evaluateMarsModel(kMarsModel250, x), expected, 1e-9);
    EXPECT_NEAR(scoreByModelKey("250", x), expected, 1e-9);
  }
  std::vector<double> x = typicalFeatures();
  x[1] = 0.9;   // inside both feature-1 sections' range
  x[8] = 900.0;  // inside the lower feature-8 pair
  x[2] = 3.0;
  EXPECT_NEAR(evaluateMarsModel(kMarsModel250, x), scoreOf(kModel250Intercept, kModel250Rows, x), 1e-12);
}

// For the other models: the lower sections check every falling term's (feature, t, coefficient),
// the upper sections every rising term's, a mid point some cubic sections.
struct Linear {
  int feature;
  double t;
  double coefficient;
};

double lowScore(double intercept, const std::vector<Linear>& falling) {
  double sum = intercept;
  for (const Linear& term : falling) sum += term.coefficient * (term.t - lowFeatures()[term.feature]);
  return sum;
}

double highScore(double intercept, const std::vector<Linear>& rising) {
  double sum = intercept;
  for (const Linear& term : rising) sum += term.coefficient * (highFeatures()[term.feature] - term.t);
  return sum;
}

TEST(MarsModel1, LinearSectionsMatchTheTable) {
  constexpr double intercept = 0.569041982803546;
  EXPECT_NEAR(scoreByModelKey("1", lowFeatures()),
              lowScore(intercept, {{10, 0.777467, -3.27526263398915},
                                   {1, 0.967715, -1.54687001720668},
                                   {8, 1073.612833, -0.000784443644177812},
                                   {10, 0.257955, 3.69539580658189},
                                   {4, 0.63823, 0.139906025610476},
                                   {6, 3.0, -0.102070066792282},
                                   {3, 0.886876, -0.062364848536677},
                                   {7, 3.0, 0.129865983687515}}),
              1e-12);
  EXPECT_NEAR(scoreByModelKey("1", highFeatures()),
              highScore(intercept, {{10, 0.777467, 2.15237690605003},
                                    {1, 0.967715, 14.1080006501032},
                                    {8, 1073.612833, 0.000139586712847652},
                                    {5, 0.891407, -2.40879139795687},
                                    {4, 0.63823, 0.674049596544773},
                                    {10, 0.610378, -2.34248244760568},
                                    {6, 3.0, -0.110341210378301},
                                    {3, 0.886876, 1.03444633116865},
                                    {7, 3.0, -0.0156485877895565}}),
              1e-9);
}

TEST(MarsModel1, CountsUseParabolicSections) {
  // Only the count terms move when positions 6 and 7 move inside (2, 4) and (2.5, 4).
  std::vector<double> a = lowFeatures();
  a[6] = 1.0;
  a[7] = 1.0;
  std::vector<double> b = a;
  b[6] = 2.5;  // both (2, 3, 4) hinges: rising 0.25 * 0.5^2, falling 0.25 * (-1.5)^2
  b[7] = 3.5;  // (2.5, 3, 4): rising cubic, falling pure cubic
  const MarsTerm risingIso{7, 1, 2.5, 3.0, 4.0, 0};
  const MarsTerm fallingIso{7, -1, 2.5, 3.0, 4.0, 0};
  const double before = -0.110341210378301 * 0.0 + -0.102070066792282 * (3.0 - 1.0) +
                        -0.0156485877895565 * 0.0 + 0.129865983687515 * (3.0 - 1.0);
  const double after = -0.110341210378301 * 0.25 * 0.25 + -0.102070066792282 * 0.25 * 2.25 +
                       -0.0156485877895565 * hermiteHinge(1, 2.5, 3.0, 4.0, 3.5) +
                       0.129865983687515 * hermiteHinge(-1, 2.5, 3.0, 4.0, 3.5);
  EXPECT_NEAR(hingeValue(risingIso, 3.5), hermiteHinge(1, 2.5, 3.0, 4.0, 3.5), 1e-15);
  EXPECT_NEAR(hingeValue(fallingIso, 3.5), hermiteHinge(-1, 2.5, 3.0, 4.0, 3.5), 1e-15);
  EXPECT_NEAR(scoreByModelKey("1", b) - scoreByModelKey("1", a), after - before, 1e-12);
}

TEST(MarsModel2, LinearSectionsMatchTheTable) {
  constexpr double intercept = -0.466761508775222;
  EXPECT_NEAR(scoreByModelKey("2", lowFeatures()),
              lowScore(intercept, {{4, 0.603125, 0.651916261500959},
                                   {10, 0.621484, -0.303837340337916},
                                   {1, 0.925123, -0.744033598144356},
                                   {4, 0.999607, -1.14114171741367}}),
              1e-12);
  EXPECT_NEAR(scoreByModelKey("2", highFeatures()),
              highScore(intercept, {{1, 0.96911, 15.1707152910734},
                                    {10, 0.787034, -0.38419736169967},
                                    {5, 0.889394, -1.9697045823941},
                                    {10, 0.259255, 0.855621114840385},
                                    {4, 0.603125, 0.512124371696801},
                                    {10, 0.621484, -3.11544109724741},
                                    {10, 0.356289, 2.72093989302212},
                                    {1, 0.925123, 2.37541547528396},
                                    {4, 0.394445, -1.00096299042136}}),
              1e-9);
}

TEST(MarsModel2, ChainedSectionsOnPif) {
  // PIF 0.3 lies in the cubic section of (0.149638, 0.259255, 0.307772) and below every later
  // section of feature 10; only that term and the falling (0.4888865, 0.621484) one read it.
  std::vector<double> a = lowFeatures();
  std::vector<double> b = a;
  b[10] = 0.3;
  const double delta = 0.855621114840385 * hermiteHinge(1, 0.149638, 0.259255, 0.307772, 0.3) +
                       -0.303837340337916 * ((0.621484 - 0.3) - (0.621484 + 1.0));
  EXPECT_NEAR(scoreByModelKey("2", b) - scoreByModelKey("2", a), delta, 1e-12);
}

TEST(MarsModel3, LinearSectionsMatchTheTable) {
  constexpr double intercept = 0.157676712487711;
  EXPECT_NEAR(scoreByModelKey("3", lowFeatures()),
              lowScore(intercept, {{10, 0.817492, -1.22135875223654},
                                   {1, 0.9673, -1.36465590108924},
                                   {8, 1101.512668, -0.000461087164880622},
                                   {3, 0.881736, -0.116109106710978},
                                   {2, 0.720882, 0.0628831849201576},
                                   {8, 807.457128, -0.0030773645456921}}),
              1e-12);
  EXPECT_NEAR(scoreByModelKey("3", highFeatures()),
              highScore(intercept, {{10, 0.817492, -0.693526395138116},
                                    {1, 0.9673, 14.6334514368332},
                                    {8, 1101.512668, 0.00010002493695233},
                                    {5, 0.841215, -3.08810710366335},
                                    {4, 0.52411, 0.48455944819243},
                                    {3, 0.881736, 1.16389980224346},
                                    {2, 0.720882, -0.0236337438687527},
                                    {0, 3.0, -0.102526353224586},
                                    {4, 0.995392, -1.70811541959945}}),
              1e-9);
}

TEST(MarsModel3, SpreadCubicSection) {
  std::vector<double> a = lowFeatures();
  std::vector<double> b = a;
  b[2] = 4.0;  // inside (0.360441, 0.720882, 8.0823805)
  const double delta =
      -0.0236337438687527 * hermiteHinge(1, 0.360441, 0.720882, 8.0823805, 4.0) +
      0.0628831849201576 * (hermiteHinge(-1, 0.360441, 0.720882, 8.0823805, 4.0) - (0.720882 + 1.0));
  EXPECT_NEAR(scoreByModelKey("3", b) - scoreByModelKey("3", a), delta, 1e-12);
}

TEST(MarsModel5, LinearSectionsMatchTheTable) {
  constexpr double intercept = 1.94378697863788;
  EXPECT_NEAR(scoreByModelKey("5", lowFeatures()),
              lowScore(intercept, {{4, 0.908213, -0.152527475883267},
                                   {1, 0.940745, -0.495382674293883},
                                   {10, 0.852993, -2.81189993325868},
                                   {5, 0.782892, 7.22092260644741},
                                   {5, 0.974392, -7.26981377223833},
                                   {3, 0.959098, 0.295046425432091},
                                   {10, 0.182087, 3.91013582274585}}),
              1e-12);
  EXPECT_NEAR(scoreByModelKey("5", highFeatures()),
              highScore(intercept, {{4, 0.908213, -27.6681480790378},
                                    {1, 0.940745, 6.7880014395946},
                                    {4, 0.721164, 4.57341287523117},
                                    {5, 0.782892, -5.07418938630035},
                                    {8, 3400.56759, -0.000346432843330362},
                                    {4, 0.94707, 15.4557241900883},
                                    {3, 0.959098, 2.38094826242665},
                                    {10, 0.182087, -1.64064374215116}}),
              1e-9);
}

TEST(MarsModel5, IsotopeShareCubicSection) {
  std::vector<double> a = lowFeatures();
  std::vector<double> b = a;
  b[4] = 0.86;  // inside (0.8146885, 0.908213, 0.9276415), above (0.3624075, 0.721164, 0.8146885)
  const double delta =
      -27.6681480790378 * hermiteHinge(1, 0.8146885, 0.908213, 0.9276415, 0.86) +
      -0.152527475883267 * (hermiteHinge(-1, 0.8146885, 0.908213, 0.9276415, 0.86) - (0.908213 + 1.0)) +
      4.57341287523117 * (0.86 - 0.721164);
  EXPECT_NEAR(scoreByModelKey("5", b) - scoreByModelKey("5", a), delta, 1e-12);
}

TEST(MarsModelFallback, LinearSectionsMatchTheTable) {
  constexpr double intercept = 0.24562196543641;
  EXPECT_NEAR(scoreByModelKey("x", lowFeatures()),
              lowScore(intercept, {{10, 0.821863, -1.49828828698891},
                                   {1, 0.957175, -1.21893130015992},
                                   {5, 0.786138, 0.0514801975619899},
                                   {6, 3.0, -0.399716879611323},
                                   {4, 0.517587, 0.776179863176552},
                                   {7, 3.0, 0.310938949685439},
                                   {8, 1549.744916, -0.000147292678140837},
                                   {4, 0.974348, -0.771843295744582},
                                   {0, 3.0, 0.315094333814411}}),
              1e-12);
  EXPECT_NEAR(scoreByModelKey("x", highFeatures()),
              highScore(intercept, {{1, 0.957175, 9.58481698761143},
                                    {5, 0.786138, -2.15915187847671},
                                    {6, 3.0, -0.297733898176762},
                                    {7, 3.0, -0.0521754540703786},
                                    {3, 0.584061, 0.658294582293813},
                                    {8, 1549.744916, -0.000108802382955933},
                                    {4, 0.974348, -2.26025582488961}}),
              1e-9);
}

TEST(MarsModelFallback, ChargeFallingCubicSection) {
  std::vector<double> a = lowFeatures();
  a[0] = 2.0;
  std::vector<double> b = a;
  b[0] = 3.0;  // (2.5, 3, 4) falling, pure cubic: d = -1, r = (2.5 + 4 - 6) / (-1.5)^3
  const double r = 0.5 / std::pow(-1.5, 3.0);
  const double delta = 0.315094333814411 * (r * -1.0 - (3.0 - 2.0));
  EXPECT_NEAR(scoreByModelKey("7", b) - scoreByModelKey("7", a), delta, 1e-12);
}

TEST(ScoreByModelKey, FifteenTakesTheLargerOfModels5And250) {
  const std::vector<double> typical = typicalFeatures();
  const std::vector<double> low = lowFeatures();
  const double typical5 = evaluateMarsModel(kMarsModel5, typical);
  const double typical250 = evaluateMarsModel(kMarsModel250, typical);
  const double low5 = evaluateMarsModel(kMarsModel5, low);
  const double low250 = evaluateMarsModel(kMarsModel250, low);
  // The two vectors are chosen so that each model wins once.
  ASSERT_NE(typical5 > typical250, low5 > low250);
  EXPECT_EQ(scoreByModelKey("15", typical), std::max(typical5, typical250));
  EXPECT_EQ(scoreByModelKey("15", low), std::max(low5, low250));
}

TEST(ScoreByModelKey, SelectsByExactText) {
  const std::vector<double> x = typicalFeatures();
  const double fallback = evaluateMarsModel(kMarsModelFallback, x);
  EXPECT_EQ(scoreByModelKey("1", x), evaluateMarsModel(kMarsModel1, x));
  EXPECT_EQ(scoreByModelKey("2", x), evaluateMarsModel(kMarsModel2, x));
  EXPECT_EQ(scoreByModelKey("3", x), evaluateMarsModel(kMarsModel3, x));
  EXPECT_EQ(scoreByModelKey("4", x), evaluateMarsModel(kMarsModel4, x));
  EXPECT_EQ(scoreByModelKey("5", x), evaluateMarsModel(kMarsModel5, x));
  EXPECT_EQ(scoreByModelKey("250", x), evaluateMarsModel(kMarsModel250, x));
  EXPECT_EQ(scoreByModelKey("1024", x), evaluateMarsModel(kMarsModel4, x));
  for (const char* text : {"04", " 4", "4 ", "4.0", "", "6", "0", "-1", "15 ", "1024\n"}) {
    EXPECT_EQ(scoreByModelKey(text, x), fallback) << "'" << text << "'";
  }
  EXPECT_NE(fallback, evaluateMarsModel(kMarsModel4, x));
}

// The selected-model path works its cubic factors out once; it must give the very same bits as
// evaluating the table term by term.
TEST(ScoreByChoice, MatchesGenericEvaluationBitForBit) {
  const std::array<MarsModelChoice, 7> choices = {
      MarsModelChoice::kModel1, MarsModelChoice::kModel2,   MarsModelChoice::kModel3,
      MarsModelChoice::kModel4, MarsModelChoice::kModel5,   MarsModelChoice::kModel250,
      MarsModelChoice::kFallback};
  for (int step = 0; step < 200; ++step) {
    const double s = step / 199.0;
    const std::vector<double> x = {2.0 + 3 * s, s, 9.5 * s, s * 1.1 - 0.05, s, 1 - s, 1.5 + 3 * s,
                                   2 + 2.5 * s, 600 + 5000 * s, 0, s, 1 - s, s - 0.06};
    for (std::size_t m = 0; m < choices.size(); ++m) {
      EXPECT_EQ(scoreByChoice(choices[m], x), evaluateMarsModel(*kAllModels[m], x)) << kModelNames[m];
    }
    EXPECT_EQ(scoreByChoice(MarsModelChoice::kMaxOf5And250, x),
              std::max(evaluateMarsModel(kMarsModel5, x), evaluateMarsModel(kMarsModel250, x)));
  }
}

TEST(EvaluateMarsModel, NaNFeatureDropsItsTerms) {
  std::vector<double> x = typicalFeatures();
  x[11] = std::numeric_limits<double>::quiet_NaN();
  double expected = kModel4Intercept;
  for (const Row& row : kModel4Rows) {
    if (row.feature == 11) continue;
    expected += row.coefficient * hermiteHinge(row.direction, row.lo, row.t, row.up, x[row.feature]);
  }
  EXPECT_NEAR(evaluateMarsModel(kMarsModel4, x), expected, 1e-12);
  EXPECT_FALSE(std::isnan(evaluateMarsModel(kMarsModel4, x)));
}

TEST(EvaluateMarsModel, ShortVectorThrowsOutOfRange) {
  const std::vector<double> x(12, 0.5);
  EXPECT_TRUE(corvid::testing::failsAsOutOfBounds([&] { evaluateMarsModel(kMarsModel4, x); }));
  EXPECT_TRUE(corvid::testing::failsAsOutOfBounds([&] { scoreByModelKey("4", x); }));
  // Models 5 and 250 read up to position 10 only.
  EXPECT_NO_THROW(scoreByModelKey("15", x));
  EXPECT_TRUE(corvid::testing::failsAsOutOfBounds([&] { scoreByModelKey("15", std::vector<double>(10, 0.5)); }));
}

TEST(EvaluateMarsModel, ScoreAppendedAsFourteenthValueIsNotRead) {
  std::vector<double> x = typicalFeatures();
  const double score = evaluateMarsModel(kMarsModel4, x);
  x.push_back(1e6);
  EXPECT_EQ(evaluateMarsModel(kMarsModel4, x), score);
}

}  // namespace
}  // namespace corvid
