// The tree-ensemble reader and evaluator behind precision_mode.
#include "scoring/boosted_trees.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "platform/run_failure.h"

namespace corvid {
namespace {

// Two inputs; tree 1 splits on input 0 at 0.5 (NaN goes right), tree 2 is a single leaf.
const std::string kSmallModel =
    "# a comment\n"
    "corvid-boosted-trees 1\n"
    "inputs 2 first second\n"
    "keep_probability 0.35\n"
    "baseline -0.5\n"
    "trees 2\n"
    "tree 3\n"
    "split 0 0.5 0 1 2\n"
    "leaf -1.25\n"
    "leaf 2\n"
    "tree 1\n"
    "leaf 0.25\n";

double logistic(double x) { return 1.0 / (1.0 + std::exp(-x)); }

std::string failureOf(const std::string& text) {
  try {
    parseBoostedTrees(text, "model.txt");
  } catch (const RunFailure& failure) {
    return failure.text;
  }
  return "";
}

TEST(BoostedTrees, ReadsEveryPart) {
  const BoostedTrees model = parseBoostedTrees(kSmallModel, "model.txt");
  EXPECT_EQ(model.inputNames, (std::vector<std::string>{"first", "second"}));
  EXPECT_DOUBLE_EQ(model.keepProbability, 0.35);
  EXPECT_DOUBLE_EQ(model.baseline, -0.5);
  ASSERT_EQ(model.trees.size(), 2u);
  ASSERT_EQ(model.trees[0].size(), 3u);
  EXPECT_EQ(model.trees[0][0].feature, 0);
  EXPECT_EQ(model.trees[0][0].left, 1);
  EXPECT_EQ(model.trees[0][0].right, 2);
  EXPECT_FALSE(model.trees[0][0].missingGoesLeft);
  EXPECT_EQ(model.trees[0][1].feature, -1);
  EXPECT_DOUBLE_EQ(model.trees[0][2].value, 2.0);
}

TEST(BoostedTrees, SumsTheLeavesOnTheLogOddsScale) {
  const BoostedTrees model = parseBoostedTrees(kSmallModel, "model.txt");
  const double low[] = {0.2, 9.0};
  const double high[] = {0.7, 9.0};
  EXPECT_DOUBLE_EQ(treeEnsembleProbability(model, low), logistic(-0.5 - 1.25 + 0.25));
  EXPECT_DOUBLE_EQ(treeEnsembleProbability(model, high), logistic(-0.5 + 2.0 + 0.25));
}

TEST(BoostedTrees, AnInputEqualToTheThresholdGoesLeftAndNaNFollowsTheFile) {
  const BoostedTrees model = parseBoostedTrees(kSmallModel, "model.txt");
  const double equal[] = {0.5, 0.0};
  EXPECT_DOUBLE_EQ(treeEnsembleProbability(model, equal), logistic(-1.5));
  const double missing[] = {std::numeric_limits<double>::quiet_NaN(), 0.0};
  EXPECT_DOUBLE_EQ(treeEnsembleProbability(model, missing), logistic(1.75));
}

TEST(BoostedTrees, AcceptsWindowsLineEnds) {
  std::string crlf;
  for (const char c : kSmallModel) {
    if (c == '\n') crlf += '\r';
    crlf += c;
  }
  EXPECT_EQ(parseBoostedTrees(crlf, "model.txt").trees.size(), 2u);
}

TEST(BoostedTrees, NamesTheFileAndLineOfAFault) {
  EXPECT_EQ(failureOf(""), "precision model model.txt, line 1: the file ends where the header was expected");
  EXPECT_EQ(failureOf("corvid-boosted-trees 2\n"),
            "precision model model.txt, line 1: \"corvid-boosted-trees 1\" was expected");
  std::string truncated = kSmallModel.substr(0, kSmallModel.find("leaf 2"));
  EXPECT_EQ(failureOf(truncated), "precision model model.txt, line 10: the file ends where a node was expected");
  EXPECT_EQ(failureOf(kSmallModel + "leaf 1\n"), "precision model model.txt, line 13: unexpected text after the last tree");
}

TEST(BoostedTrees, RefusesDamagedValues) {
  auto with = [](const std::string& from, const std::string& to) {
    std::string text = kSmallModel;
    text.replace(text.find(from), from.size(), to);
    return failureOf(text);
  };
  // A child before its parent could loop for ever; an input beyond the count reads past the vector.
  EXPECT_NE(with("split 0 0.5 0 1 2", "split 0 0.5 0 0 2").find("the left child \"0\" is not a whole number from 1 to 2"),
            std::string::npos);
  EXPECT_NE(with("split 0 0.5 0 1 2", "split 2 0.5 0 1 2").find("the input \"2\""), std::string::npos);
  EXPECT_NE(with("baseline -0.5", "baseline nan").find("not a finite number"), std::string::npos);
  EXPECT_NE(with("baseline -0.5", "baseline 1e999").find("not a finite number"), std::string::npos);
  EXPECT_NE(with("leaf -1.25", "leaf -1.25x").find("not a finite number"), std::string::npos);
  EXPECT_NE(with("leaf -1.25", "leaf -1.25 7").find("unexpected text after the values"), std::string::npos);
  EXPECT_NE(with("leaf -1.25", "stem -1.25").find("\"leaf\" or \"split\" was expected"), std::string::npos);
  EXPECT_NE(with("inputs 2 first second", "inputs 3 first second").find("do not match their count"), std::string::npos);
  EXPECT_NE(with("trees 2", "trees 99999999999").find("the tree count"), std::string::npos);
  EXPECT_NE(with("tree 3", "tree -3").find("the node count"), std::string::npos);
}

TEST(BoostedTrees, AMissingFileSaysWhatNeedsIt) {
  try {
    loadBoostedTrees("/nonexistent/precision_model.txt");
    FAIL() << "no failure";
  } catch (const RunFailure& failure) {
    EXPECT_EQ(failure.text,
              "Can not open the precision model /nonexistent/precision_model.txt: precision_mode needs it beside the program.");
  }
}

}  // namespace
}  // namespace corvid
