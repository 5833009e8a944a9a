#include "scoring/boosted_trees.h"

#include <charconv>
#include <cmath>
#include <fstream>
#include <iterator>
#include <optional>

#include "platform/run_failure.h"

namespace corvid {
namespace {

constexpr std::string_view kHeader = "corvid-boosted-trees 1";

// Walks the text line by line and word by word, remembering the line number for messages.
struct ModelReader {
  std::string_view text;
  const std::string& origin;
  std::size_t at = 0;
  int lineNumber = 0;
  std::string_view line;
  std::size_t inLine = 0;

  [[noreturn]] void fail(const std::string& what) const {
    throw RunFailure("precision model " + origin + ", line " + std::to_string(lineNumber) + ": " + what);
  }

  // The next line that is neither empty nor a comment; false at the end of the text.
  bool nextLine() {
    while (at < text.size()) {
      const std::size_t end = text.find('\n', at);
      line = text.substr(at, end == std::string_view::npos ? std::string_view::npos : end - at);
      at = end == std::string_view::npos ? text.size() : end + 1;
      ++lineNumber;
      if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
      inLine = 0;
      if (!line.empty() && line.front() != '#') return true;
    }
    return false;
  }

  void requireLine(std::string_view what) {
    if (!nextLine()) {
      ++lineNumber;
      fail("the file ends where " + std::string(what) + " was expected");
    }
  }

  std::optional<std::string_view> word() {
    while (inLine < line.size() && line[inLine] == ' ') ++inLine;
    if (inLine == line.size()) return std::nullopt;
    const std::size_t end = line.find(' ', inLine);
    const std::string_view found = line.substr(inLine, end == std::string_view::npos ? std::string_view::npos : end - inLine);
    inLine += found.size();
    return found;
  }

  std::string_view requireWord(std::string_view what) {
    const auto found = word();
    if (!found) fail(std::string(what) + " is missing");
    return *found;
  }

  void expectKeyword(std::string_view keyword) {
    if (requireWord(keyword) != keyword) fail("\"" + std::string(keyword) + "\" was expected");
  }

  void expectLineEnd() {
    if (word()) fail("unexpected text after the values");
  }

  double number(std::string_view what) {
    const std::string_view digits = requireWord(what);
    double value = 0.0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || end != digits.data() + digits.size() || !std::isfinite(value)) {
      fail(std::string(what) + " \"" + std::string(digits) + "\" is not a finite number");
    }
    return value;
  }

  long count(std::string_view what, long lowest, long highest) {
    const std::string_view digits = requireWord(what);
    long value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || end != digits.data() + digits.size() || value < lowest || value > highest) {
      fail(std::string(what) + " \"" + std::string(digits) + "\" is not a whole number from " +
           std::to_string(lowest) + " to " + std::to_string(highest));
    }
    return value;
  }
};

// Far above any model Corvid trains; bounds what a damaged file can make it allocate.
constexpr long kMostTrees = 100000;
constexpr long kMostNodes = 1000000;
constexpr long kMostInputs = 10000;

std::vector<TreeNode> readTree(ModelReader& reader, int inputCount) {
  reader.requireLine("a tree");
  reader.expectKeyword("tree");
  const long nodeCount = reader.count("the node count", 1, kMostNodes);
  reader.expectLineEnd();
  std::vector<TreeNode> nodes(static_cast<std::size_t>(nodeCount));
  for (long index = 0; index < nodeCount; ++index) {
    reader.requireLine("a node");
    TreeNode& node = nodes[static_cast<std::size_t>(index)];
    const std::string_view kind = reader.requireWord("the node kind");
    if (kind == "leaf") {
      node.value = reader.number("the leaf value");
    } else if (kind == "split") {
      node.feature = static_cast<int>(reader.count("the input", 0, inputCount - 1));
      node.threshold = reader.number("the threshold");
      node.missingGoesLeft = reader.count("the missing-value side", 0, 1) == 1;
      // Children after their parent: every walk ends, whatever the file says.
      node.left = static_cast<int>(reader.count("the left child", index + 1, nodeCount - 1));
      node.right = static_cast<int>(reader.count("the right child", index + 1, nodeCount - 1));
    } else {
      reader.fail("\"leaf\" or \"split\" was expected");
    }
    reader.expectLineEnd();
  }
  return nodes;
}

}  // namespace

BoostedTrees parseBoostedTrees(std::string_view text, const std::string& origin) {
  ModelReader reader{text, origin, 0, 0, {}, 0};
  BoostedTrees model;
  reader.requireLine("the header");
  if (reader.line != kHeader) reader.fail("\"" + std::string(kHeader) + "\" was expected");

  reader.requireLine("the inputs");
  reader.expectKeyword("inputs");
  const long inputCount = reader.count("the input count", 1, kMostInputs);
  while (const auto name = reader.word()) model.inputNames.emplace_back(*name);
  if (static_cast<long>(model.inputNames.size()) != inputCount) reader.fail("the input names do not match their count");

  reader.requireLine("the keep probability");
  reader.expectKeyword("keep_probability");
  model.keepProbability = reader.number("the keep probability");
  reader.expectLineEnd();

  reader.requireLine("the baseline");
  reader.expectKeyword("baseline");
  model.baseline = reader.number("the baseline");
  reader.expectLineEnd();

  reader.requireLine("the tree count");
  reader.expectKeyword("trees");
  const long treeCount = reader.count("the tree count", 1, kMostTrees);
  reader.expectLineEnd();
  model.trees.reserve(static_cast<std::size_t>(treeCount));
  for (long t = 0; t < treeCount; ++t) model.trees.push_back(readTree(reader, static_cast<int>(inputCount)));
  if (reader.nextLine()) reader.fail("unexpected text after the last tree");
  return model;
}

BoostedTrees loadBoostedTrees(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw RunFailure("Can not open the precision model " + path + ": precision_mode needs it beside the program.");
  const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  if (in.bad()) throw RunFailure("Can not read the precision model " + path);
  return parseBoostedTrees(text, path);
}

double treeEnsembleProbability(const BoostedTrees& model, std::span<const double> inputs) {
  double logOdds = model.baseline;
  for (const std::vector<TreeNode>& tree : model.trees) {
    std::size_t at = 0;
    while (tree[at].feature >= 0) {
      const TreeNode& node = tree[at];
      const double x = inputs[static_cast<std::size_t>(node.feature)];
      // One branch per split, on the side taken: testing for NaN first would add a second.
      const bool goLeft = (x <= node.threshold) | (std::isnan(x) & node.missingGoesLeft);
      at = static_cast<std::size_t>(goLeft ? node.left : node.right);
    }
    logOdds += tree[at].value;
  }
  return 1.0 / (1.0 + std::exp(-logOdds));
}

}  // namespace corvid
