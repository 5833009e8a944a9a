#include "startup/program_texts.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "build_config.h"
#include "platform/run_outcome.h"
#include "startup/parameter_table.h"

namespace corvid {
namespace {

constexpr const char* kPlatformText = "x64";

void printLine(const std::string& line) {
  std::fputs(line.c_str(), stdout);
  std::fputc('\n', stdout);
}

template <std::size_t N>
void printLines(const char* const (&lines)[N]) {
  for (const char* line : lines) printLine(line);
  std::fflush(stdout);
}

// Pads a framed banner line so that its closing mark stands in the column of the title line's.
std::string framed(const std::string& opening, const std::string& content, std::size_t width,
                   const std::string& closing) {
  std::string line = opening + content;
  if (line.size() < width) line.append(width - line.size(), ' ');
  return line + closing;
}

// --help: the usage on this platform, then every option, key and exit status.
constexpr const char* kHelpUsageLines[] = {
    "Usage:",
    "\tcorvid -D /data/run1.mzML -O results/      one file; the results go to results/",
    "\tcorvid -D /data/runs/ -F mzml -O results/  every mzML file of a folder",
    "\tcorvid run.para                            settings from a parameter file (\"key = value\" lines)",
    "\tcorvid a.mzML b.mzXML                      each file one run, as \"-D <file>\"",
    "\tcorvid x.mgf                               an MGF file converted to KX2",
    "\tcorvid                                     version, What's New, a parameter-file template, usage",
    "Paths with spaces must be enclosed in double quotation marks.",
};

constexpr const char* kLongOptionLines[] = {
    "",
    "Long options (GNU style, also usable in workflows without a parameter file):",
    "\tcorvid --help                 this text",
    "\tcorvid --version              the version",
    "\tcorvid --KEY=VALUE ...        any parameter-file key, e.g. --output_ms2=1 --strict_exit=1",
    "\tcorvid --KEY VALUE ...        the same, value in the next argument",
    "\tcorvid run.para --KEY=VALUE   a parameter file with settings overridden",
    "\tcorvid a.mzML b.mzML --KEY=V  each file is one run, with the same settings",
};

struct KeyMeaning {
  const char* key;
  const char* meaning;
};

// One line per extension key; the keys and their defaults come from the parameter table.
constexpr KeyMeaning kExtensionKeyMeanings[] = {
    {"precision_mode", "1: fewer, more reliable precursors per MS2 scan"},
    {"isolation_from_file", "1: each MS2 scan's isolation window as its mzML/mzXML states it, not isolation_width"},
    {"threads", "detection workers: that many when positive, otherwise every core; 1: one thread"},
    {"output_mzml", "1: also write <stem>.corrected.mzML with Corvid's precursors (mzML/mzXML inputs)"},
    {"output_table", "1: also write <stem>.precursors.tsv, one row per precursor"},
    {"output_qc", "1: also write the QC report <stem>.qc.html and <stem>.mzQC"},
    {"strict_exit", "1: the exit status names what was skipped or failed (see below)"},
    {"extract_path", "folder for what is extracted from mzML/mzXML; empty: beside the input"},
    {"max_spectrum_values", "the most values one peak array of an mzML/mzXML spectrum may hold; more is refused"},
};

// The exit statuses that do not depend on strict_exit (the crash record's status included).
constexpr KeyMeaning kExitStatusMeanings[] = {
    {"0", "the run finished (also when a data path was skipped)"},
    {"255", "a failure ended the run (invalid data path, malformed options, a missing file)"},
    {"3", "an uncaught failure; Corvid.dmp in the working folder records it"},
};

template <std::size_t N>
void appendLines(std::string& text, const char* const (&lines)[N]) {
  for (const char* line : lines) {
    text += line;
    text += '\n';
  }
}

std::string paddedTo(std::string text, std::size_t width) {
  if (text.size() < width) text.append(width - text.size(), ' ');
  return text;
}

// A default as the user meets it: a path left out means the data folder, or no file at all.
std::string optionDefaultText(const ParameterDefault& row) {
  if (row.value != kEmptyPath) return row.value;
  return std::string_view(row.key) == "trainingset" ? "none" : "the data folder";
}

void appendSingleLetterOptions(std::string& text) {
  text += "\nSingle-letter options (-X value, letters are case-sensitive):\n";
  for (const ParameterDefault& row : parameterDefaults()) {
    if (row.option == '\0') continue;
    text +=
        paddedTo(std::string("\t-") + row.option + ' ' + row.key, 28) + "default (" + optionDefaultText(row) + ")\n";
  }
}

void appendExtensionKeys(std::string& text) {
  text += "\nExtension keys (parameter file or long option; defaults keep the standard behaviour):\n";
  // The key column fits the longest key and two spaces.
  std::size_t keyColumn = 0;
  for (const ExtensionKey& row : extensionKeys()) keyColumn = std::max(keyColumn, std::strlen(row.key) + 3);
  for (const ExtensionKey& row : extensionKeys()) {
    const std::string value = row.defaultValue[0] == '\0' ? "empty" : row.defaultValue;
    text += paddedTo(std::string("\t") + row.key, keyColumn) + paddedTo("default (" + value + ")", 17) +
            extensionKeyMeaning(row.key) + '\n';
  }
}

void appendExitStatuses(std::string& text) {
  text += "\nExit statuses:\n";
  for (const KeyMeaning& row : kExitStatusMeanings) {
    text += paddedTo(std::string("\t") + row.key, 7) + row.meaning + '\n';
  }
  text += "With strict_exit = 1, a run that ended normally but skipped or lost something ends with:\n";
  // The strict statuses are whatever the run outcome can explain, so this list follows it.
  for (int status = 1; status < 255; ++status) {
    const std::string meaning = describeStrictExit(status);
    if (!meaning.empty()) text += paddedTo("\t" + std::to_string(status), 7) + meaning + '\n';
  }
}

}  // namespace

std::string versionText() { return std::string("-Release-2.0.8(") + kPlatformText + ")"; }

void printBanner() {
  const std::string title = std::string("\t /       Corvid2.0 (") + kPlatformText + ") from Halcyon Studio     ";
  printLine("");
  printLine("\t  *********************************************");
  printLine(title + "\\");
  printLine(framed("\t /       ", std::string("E-mail: ") + build::kSupportEmail, title.size(), "\\"));
  printLine(framed("\t \\       ", std::string("Web: ") + build::kWebAddress, title.size(), "/"));
  printLine("\t  *********************************************");
  printLine("");
  std::fflush(stdout);
}

void printVersionBlock() {
  static const char* const kLines[] = {
      "",
      "What's New:",
      "\t[2014.11.26] Bug    : RTINSECONDS is exported correctly.",
      "\t[2014.11.25] Upgrade: SVM training set can be exported.",
      "\t[2014.10.22] Upgrade: Crash report is available in Corvid 2.0.",
      "\t[2014.09.29] Bug    : The RAWs from Fusion instruments are supported.",
      "",
      "Usage via config files:",
      "\tCorvid.exe Corvid.para",
      "",
      "Attention:",
      "\tCarefully configured parameter file is required!",
      "\tA standard parameter file named 'Corvid.para' is generated.",
      "",
  };
  printLine("Corvid Version" + versionText());
  printLines(kLines);
}

void printUsage() {
  static const char* const kLines[] = {
      "\n == == == == == Welcome to try Corvid 2.0 Switches! == == == == == = ",
      "Usage via command options:",
      "\tCorvid.exe -D D:\\Dataset\\1.raw",
      "Or",
      "\tCorvid.exe -D D:\\Dataset\\",
      "Attention: ",
      "\tIf spaces appear in file path, the file path must be enclosed in double quotation marks. ",
      "",
      "More Options:",
      "\t-D datapath               default (D:\\data\\)",
      "\t-L logfilepath            default (the same with datapath)",
      "\t-O outputpath             default (the same with datapath)",
      "\t-W isolation_width        default (2) ",
      "\t-F input_format           default (raw) optional (wiff)",
      "\t-C co-elute               default (1)",
      "\t-S cut_similiar_mono      default (1)",
      "\t-I ipv_file               default (.\\IPV.txt) ",
      "\t-M mars_model             default (4)",
      "\t-T trainingset            default (.\\TrainingSet.txt)",
      "\t-m output_mgf             default (1) ",
      "\t-p output_kx              default (1) ",
      "\t-d delete_msn             default (0) ",
      "\t-a check_activationcenter default (1)",
      "\t-g debug_mode             default (0) ",
      "\t-r rewrite_files          default (0)",
      "\t-t mars_threshold         default (-0.34) ",
      "\t-u export_unchecked_mono  default (0)",
      "\t-y output_all_mars_y      default (0)",
      "\t-Y output_mars_y          default (0)",
      "\t-s output_trainingdata    default (0) ",
      "\t-R recalibrate_window     default (7) ",
      "\t-v outputsvmlight         default (0) ",
      "\t-z m/z                    default (5) ",
      "\t-i Intensity              default (1) ",
  };
  printLines(kLines);
}

std::string extensionKeyMeaning(std::string_view key) {
  for (const KeyMeaning& row : kExtensionKeyMeanings) {
    if (key == row.key) return row.meaning;
  }
  return std::string();
}

std::string helpText() {
  std::string text;
  appendLines(text, kHelpUsageLines);
  appendSingleLetterOptions(text);
  appendLines(text, kLongOptionLines);
  appendExtensionKeys(text);
  appendExitStatuses(text);
  text += "\nFor everything else, see README.md (installed in /usr/share/doc/corvid/).\n";
  return text;
}

void printHelp() {
  std::fputs(helpText().c_str(), stdout);
  std::fflush(stdout);
}

void printVersionLine() {
  printLine("corvid " + std::string(build::kVersion));
  printLine("Corvid Version" + versionText());
  std::fflush(stdout);
}

}  // namespace corvid
