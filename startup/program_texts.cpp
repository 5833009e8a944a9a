#include "startup/program_texts.h"

#include <cstdio>
#include <string>

#include "build_config.h"

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

void printLongOptionHelp() {
  static const char* const kLines[] = {
      "",
      "Long options (GNU style, also usable in workflows without a parameter file):",
      "\tcorvid --help                 this text",
      "\tcorvid --version              the version",
      "\tcorvid --KEY=VALUE ...        any parameter-file key, e.g. --output_ms2=1 --strict_exit=1",
      "\tcorvid --KEY VALUE ...        the same, value in the next argument",
      "\tcorvid run.para --KEY=VALUE   a parameter file with settings overridden",
      "\tcorvid a.mzML b.mzML --KEY=V  each file is one run, with the same settings",
      "Extension keys (defaults keep the standard behaviour):",
      "\tprecision_mode  default (0)   1: fewer, more reliable precursors per MS2 scan",
      "\tthreads         default (all cores)  detection workers; 1: one thread",
      "\tstrict_exit     default (0)   1: non-zero exit status when anything was skipped or failed",
      "\textract_path    default ()    folder for the .ms1/.ms2 extracted from mzML/mzXML",
      "\toutput_table    default (0)   1: also write <stem>.precursors.tsv, one row per precursor",
      "\toutput_mzml     default (0)   1: also write <stem>.corrected.mzML with Corvid's precursors",
  };
  printLines(kLines);
}

void printVersionLine() {
  printLine("corvid " + std::string(build::kVersion));
  printLine("Corvid Version" + versionText());
  std::fflush(stdout);
}

}  // namespace corvid
