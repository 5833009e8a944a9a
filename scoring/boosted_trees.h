#pragma once
// A gradient-boosted tree ensemble read from a text file: the classifier of precision_mode.
// The file is written by tools/precision_model/train_precision_model.py from a scikit-learn
// HistGradientBoostingClassifier; evaluating it here gives the probabilities that training saw.
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace corvid {

struct TreeNode {
  int feature = -1;  // input compared at a split; -1 marks a leaf
  double threshold = 0.0;  // inputs at or below go left
  bool missingGoesLeft = false;  // where a NaN input goes
  int left = 0;
  int right = 0;
  double value = 0.0;  // a leaf's contribution to the log-odds
};

struct BoostedTrees {
  std::vector<std::string> inputNames;  // what each input position holds, as training named it
  double keepProbability = 0.5;         // candidates above it are kept
  double baseline = 0.0;                // log-odds before the first tree
  std::vector<std::vector<TreeNode>> trees;  // node 0 is a tree's root
};

// Parses a model text. Any fault (unknown header, missing line, a child that does not lie after
// its parent, an input out of range, trailing text) throws RunFailure naming `origin` and the line.
BoostedTrees parseBoostedTrees(std::string_view text, const std::string& origin);

// Reads and parses the file; a missing or unreadable file throws RunFailure naming it.
BoostedTrees loadBoostedTrees(const std::string& path);

// The probability of the positive class for one input vector (its size must be
// model.inputNames.size()): the logistic function of baseline plus every tree's leaf, summed in
// tree order.
double treeEnsembleProbability(const BoostedTrees& model, std::span<const double> inputs);

}  // namespace corvid
