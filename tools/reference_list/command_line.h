#pragma once
// The options of corvid-reference-list.
#include <optional>
#include <string>
#include <vector>

namespace corvid::reflist {

struct Options {
  std::string inputPath;
  std::string outputPath;  // empty: standard output
  std::optional<double> qValueMax;
  std::optional<double> fdr;  // 0.01 when neither cut is named
  std::string decoyPrefix = "DECOY_";
  std::string scoreName;  // empty: the format's default score
  std::optional<bool> lowerIsBetter;
  std::string scanMapPath;
  bool help = false;
  bool version = false;
};

// Parses the arguments after the program name ("--name value" or "--name=value"). Throws
// UsageError for an unknown option, a missing or malformed value, or conflicting options.
Options parseCommandLine(const std::vector<std::string>& arguments);

// The text of --help.
std::string usageText();

}  // namespace corvid::reflist
