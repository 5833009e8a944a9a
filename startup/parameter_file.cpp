#include "startup/parameter_file.h"

#include <cstdio>
#include <string_view>

#include "build_config.h"
#include "platform/paths.h"
#include "platform/run_failure.h"
#include "platform/text_file.h"
#include "platform/text_pieces.h"

namespace corvid {
namespace {

bool isCommentOrHeading(std::string_view line) {
  return line[0] == '#' || line[0] == ';' || line[0] == '[';
}

void applyLine(std::string_view line, ParameterTable& table) {
  // Split at the first "="; a line without one is taken whole as both key and value.
  std::size_t equals = line.find('=');
  std::string key(line.substr(0, equals));
  std::string value(equals == std::string_view::npos ? line : line.substr(equals + 1));
  trimBlanks(key);
  trimBlanks(value);
  table[key] = value;
}

}  // namespace

void trimBlanks(std::string& text) {
  const std::string_view kept = trimmed(text, " ");
  if (kept.empty()) throw RunFailure(kInvalidKey);
  text = std::string(kept);
}

ParameterTable readParameterFile(const std::string& path) {
  ParameterTable table;
  setDefaults(table);
  std::optional<std::string> content = readWholeFile(path);
  if (!content) {
    const std::string message = "The file \"" + path + "\" does not exist!";
    std::printf("[Error] %s \n", message.c_str());
    std::fflush(stdout);
    throw RunFailure(message);
  }
  // A parameter file is text: a NUL byte means a binary file was given by mistake.
  if (content->find('\0') != std::string::npos) {
    throw RunFailure("The file \"" + path + "\" is not a parameter file: it holds binary data.");
  }
  // Text-mode reading: CR LF reads as LF. Lines of any length are read whole.
  const std::string text = withoutCarriageReturns(*content);
  std::string_view rest(text);
  while (!rest.empty()) {
    std::size_t lf = rest.find('\n');
    std::string_view line = rest.substr(0, lf);
    rest = lf == std::string_view::npos ? std::string_view() : rest.substr(lf + 1);
    if (line.empty() || isCommentOrHeading(line)) continue;
    applyLine(line, table);
  }
  return table;
}

std::string templateFileName(const std::tm& localTime) {
  return "Corvid" + std::to_string(localTime.tm_year + 1900) + std::to_string(localTime.tm_mon + 1) +
         std::to_string(localTime.tm_mday) + std::to_string(localTime.tm_hour) +
         std::to_string(localTime.tm_min) + std::to_string(localTime.tm_sec) + ".para";
}

std::string parameterTemplateText() {
  std::string text;
  text += "# Corvid.para params template\n";
  text += std::string("# For help: mail to ") + build::kSupportEmail + " \n";
  text += "# Time: 2014.12.08\n\n";
  text += "[Basic Options]\n";
  text += "datapath = E:\\Data\\\n\n";
  text += "[Advanced Options]\n";
  text += "co-elute = 1\n";
  text += "# 0, output single precursor for single scan;\n";
  text += "# 1, output all co-eluted precursors.\n";
  text += "input_format = raw\n";
  text += "# raw / ms1\n";
  text += "isolation_width = 2\n";
  text += "# 2 / 2.5 / 3 / 4\n";
  text += "mars_threshold = -0.34\n";
  text += "ipv_file = .\\IPV.txt\n";
  text += "trainingset = EmptyPath\n\n";
  text += "[Internal Switches]\n";
  text += "output_mars_y = 0\n";
  text += "delete_msn = 0\n";
  text += "output_mgf = 1\n";
  text += "output_kx = 1\n";
  text += "debug_mode = 0\n";
  text += "check_activationcenter = 1\n";
  text += "output_all_mars_y = 0\n";
  text += "rewrite_files = 0\n";
  text += "export_unchecked_mono = 0\n";
  text += "cut_similiar_mono = 1\n";
  text += "mars_model = 4\n";
  text += "output_trainingdata = 0\n";
  return text;
}

void writeParameterTemplate() {
  std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  const std::string name = templateFileName(local);
  if (canOpenForReading(name)) return;
  writeTextFile(name, parameterTemplateText());
}

}  // namespace corvid
