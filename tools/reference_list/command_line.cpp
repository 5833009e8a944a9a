#include "tools/reference_list/command_line.h"

#include "tools/reference_list/errors.h"
#include "tools/reference_list/number_text.h"

namespace corvid::reflist {

namespace {

double fraction(const std::string& option, const std::string& text) {
  const auto value = parseReal(text);
  if (!value || *value < 0.0 || *value > 1.0) {
    throw UsageError(option + " needs a number from 0 to 1 (0.01 = 1 %), not \"" + text + "\"");
  }
  return *value;
}

}  // namespace

std::string usageText() {
  return "usage: corvid-reference-list [options] SEARCH_RESULT\n"
         "Makes the reference list Corvid reads with -T (scan TAB m/z TAB charge TAB score) from\n"
         "the identifications of a search: pepXML (Comet, MSFragger, Trans-Proteomic Pipeline) or\n"
         "mzIdentML 1.1/1.2, plain or gzip-compressed. Keeps the rank-1 target PSM of each spectrum\n"
         "that passes the cut.\n"
         "\n"
         "  -o, --output FILE     write the list to FILE (default: standard output)\n"
         "  --fdr X               keep targets at X false discovery rate by target-decoy counting\n"
         "                        over the file's PSMs (default: --fdr 0.01)\n"
         "  --qvalue-max X        keep targets whose q-value from the file is at most X\n"
         "  --decoy-prefix TEXT   protein accessions of decoys start with TEXT (default DECOY_)\n"
         "  --score NAME          the score to rank by and write as fourth value: a pepXML\n"
         "                        search_score name, an mzIdentML cvParam name or accession, or a\n"
         "                        userParam name (default: expect, hyperscore, xcorr for pepXML;\n"
         "                        Comet, MS-GF+, X!Tandem, OMSSA, Mascot E-values for mzIdentML)\n"
         "  --lower-better, --higher-better\n"
         "                        direction of a --score that corvid-reference-list does not know\n"
         "  --scan-map FILE       Corvid's <stem>_scans.csv of the extracted mzML/mzXML: translate\n"
         "                        native ids and scan numbers into Corvid's scan numbers\n"
         "  -h, --help            show this text\n"
         "  --version             show the version\n"
         "\n"
         "Exit status: 0 done, 1 unusable input, 2 wrong command line.\n";
}

Options parseCommandLine(const std::vector<std::string>& arguments) {
  Options options;
  std::vector<std::string> inputs;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    std::string name = arguments[i];
    std::optional<std::string> attached;
    if (name.rfind("--", 0) == 0) {
      if (const std::size_t equals = name.find('='); equals != std::string::npos) {
        attached = name.substr(equals + 1);
        name.resize(equals);
      }
    }
    const auto value = [&]() -> std::string {
      if (attached) return *attached;
      if (i + 1 >= arguments.size()) throw UsageError(name + " needs a value");
      return arguments[++i];
    };
    const auto noValue = [&]() {
      if (attached) throw UsageError(name + " takes no value");
    };
    if (name == "-h" || name == "--help") {
      noValue();
      options.help = true;
    } else if (name == "--version") {
      noValue();
      options.version = true;
    } else if (name == "-o" || name == "--output") {
      options.outputPath = value();
      if (options.outputPath.empty()) throw UsageError(name + " needs a file name");
    } else if (name == "--fdr") {
      options.fdr = fraction(name, value());
    } else if (name == "--qvalue-max") {
      options.qValueMax = fraction(name, value());
    } else if (name == "--decoy-prefix") {
      options.decoyPrefix = value();
      if (options.decoyPrefix.empty()) throw UsageError("--decoy-prefix needs a non-empty prefix");
    } else if (name == "--score") {
      options.scoreName = value();
      if (options.scoreName.empty()) throw UsageError("--score needs a name");
    } else if (name == "--lower-better") {
      noValue();
      options.lowerIsBetter = true;
    } else if (name == "--higher-better") {
      noValue();
      options.lowerIsBetter = false;
    } else if (name == "--scan-map") {
      options.scanMapPath = value();
      if (options.scanMapPath.empty()) throw UsageError("--scan-map needs a file name");
    } else if (name.size() > 1 && name[0] == '-') {
      throw UsageError("unknown option " + name + " (see --help)");
    } else {
      inputs.push_back(name);
    }
  }
  if (options.help || options.version) return options;
  if (inputs.empty()) throw UsageError("no search result file given (see --help)");
  if (inputs.size() > 1) throw UsageError("one search result file at a time, got " + std::to_string(inputs.size()));
  options.inputPath = inputs.front();
  if (options.fdr && options.qValueMax) throw UsageError("--fdr and --qvalue-max exclude each other");
  if (!options.fdr && !options.qValueMax) options.fdr = 0.01;
  if (options.lowerIsBetter && options.scoreName.empty()) {
    throw UsageError("--lower-better/--higher-better need --score");
  }
  return options;
}

}  // namespace corvid::reflist
