#include "scoring/score_candidates.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "scoring/mars_model.h"
#include "tests/support/table_adapters.h"

namespace corvid {
namespace {

PrecursorFeatures candidate(double maxSim, double pif) {
  return {2.0, maxSim, 1.0, 0.9, 0.8, 0.4, 3.0, 4.0, 1200.0, 0.0, pif, 0.8, 0.7};
}

TEST(ScoreCandidates, NoCandidatesAppendsNothing) {
  ParameterTable parameters{{"mars_model", "4"}};
  std::vector<PrecursorFeatures> features;
  std::vector<double> scores{1.5};
  scoreCandidates(parameters, features, scores);
  EXPECT_TRUE(features.empty());
  EXPECT_EQ(scores, std::vector<double>{1.5});
}

TEST(ScoreCandidates, AppendsScoreToVectorAndListInOrder) {
  ParameterTable parameters{{"mars_model", "4"}};
  std::vector<PrecursorFeatures> features{candidate(0.97, 0.8), candidate(0.5, 0.1)};
  const double first = evaluateMarsModel(kMarsModel4, features[0]);
  const double second = evaluateMarsModel(kMarsModel4, features[1]);
  ASSERT_NE(first, second);
  std::vector<double> scores;
  scoreCandidates(parameters, features, scores);
  ASSERT_EQ(scores.size(), 2u);
  EXPECT_EQ(scores[0], first);
  EXPECT_EQ(scores[1], second);
  ASSERT_EQ(features[0].size(), 14u);
  EXPECT_EQ(features[0][13], first);
  EXPECT_EQ(features[1][13], second);
  EXPECT_EQ(parameters.size(), 1u);
}

TEST(ScoreCandidates, FifteenScoresTheMaximumOfTwoModels) {
  ParameterTable parameters{{"mars_model", "15"}};
  std::vector<PrecursorFeatures> features{candidate(0.97, 0.8)};
  const double expected = std::max(evaluateMarsModel(kMarsModel5, features[0]),
                                   evaluateMarsModel(kMarsModel250, features[0]));
  std::vector<double> scores;
  scoreCandidates(parameters, features, scores);
  EXPECT_EQ(scores.at(0), expected);
}

TEST(ScoreCandidates, MissingKeyUsesFallbackWithoutChangingTheTable) {
  const ParameterTable parameters{{"mars_threshold", "-0.34"}};
  std::vector<PrecursorFeatures> features{candidate(0.97, 0.8)};
  std::vector<double> scores;
  scoreCandidates(parameters, features, scores);
  EXPECT_EQ(scores.at(0), evaluateMarsModel(kMarsModelFallback, candidate(0.97, 0.8)));
  EXPECT_EQ(parameters.count("mars_model"), 0u);
}

TEST(ScoreCandidates, PaddedModelTextSelectsFallback) {
  for (const char* text : {"04", " 4"}) {
    ParameterTable parameters{{"mars_model", text}};
    std::vector<PrecursorFeatures> features{candidate(0.97, 0.8)};
    std::vector<double> scores;
    scoreCandidates(parameters, features, scores);
    EXPECT_EQ(scores.at(0), evaluateMarsModel(kMarsModelFallback, candidate(0.97, 0.8)));
  }
}

}  // namespace
}  // namespace corvid
