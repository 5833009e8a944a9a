#include "startup/run_driver.h"

#include <array>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/paths.h"
#include "platform/run_failure.h"
#include "platform/run_log.h"
#include "platform/run_outcome.h"
#include "spectra/open_format_extractor.h"
#include "startup/file_discovery.h"
#include "startup/parameter_checks.h"
#include "startup/per_file_driver.h"
#include "startup/pipelines.h"
#include "startup/run_settings.h"

namespace corvid {
namespace {

bool containsAny(const std::string& text, std::span<const std::string_view> parts) {
  for (std::string_view part : parts) {
    if (text.find(part) != std::string::npos) return true;
  }
  return false;
}

bool isAnyOf(const std::string& text, std::initializer_list<std::string_view> values) {
  for (std::string_view value : values) {
    if (text == value) return true;
  }
  return false;
}

constexpr std::array<std::string_view, 3> kRawSpellings = {".RAW", ".raw", ".Raw"};
constexpr std::array<std::string_view, 2> kMGFSpellings = {".MGF", ".mgf"};
constexpr std::array<std::string_view, 3> kWiffSpellings = {".WIFF", ".wiff", ".Wiff"};

// The first of the spellings found in text: the spelling and its position (npos when none).
std::pair<std::string_view, std::size_t> firstSpellingIn(const std::string& text,
                                                         std::span<const std::string_view> spellings) {
  for (std::string_view spelling : spellings) {
    const std::size_t at = text.find(spelling);
    if (at != std::string::npos) return {spelling, at};
  }
  return {{}, std::string::npos};
}

// The input route follows a spelling anywhere in the data path, as it always has; when that
// spelling is not the extension of the path's file, say so, since the file is then read in a
// format it probably does not have.
void alertRouteNotFromExtension(const std::string& dataPath, std::span<const std::string_view> spellings,
                                std::string_view kind) {
  const std::string fileName = fileNameOf(dataPath);
  for (std::string_view spelling : spellings) {
    if (fileName.size() > spelling.size() && fileName.ends_with(spelling)) return;
  }
  const auto [spelling, at] = firstSpellingIn(dataPath, spellings);
  const bool inFolderName = at < dataPath.size() - fileName.size();
  logMessage(LogLabel::kAlert, "The data path " + dataPath + " is read as " + std::string(kind) + " input because it contains \"" +
                          std::string(spelling) + "\" in " + (inFolderName ? "a folder name" : "its file name") +
                          ", not as its file's extension.");
}

// The MS1 name an extractor leaves for a vendor file: its name up to the last "." + ".MS1".
std::string ms1NameFor(const std::string& fileName) {
  return fileName.substr(0, fileName.rfind('.')) + ".MS1";
}

void splitFolderAndFile(ParameterTable& table, std::string& fileName) {
  const std::string path = table["datapath"];
  table["datapath"] = folderOf(path);
  fileName = fileNameOf(path);
}

// Logs why a data path is skipped; the process goes on with the next one.
void skipDataPath(const std::string& message) {
  logMessage(LogLabel::kError, message);
  noteRunProblem(RunProblem::kDataPathSkipped);
}

void runCommonTail(ParameterTable& table, const std::vector<std::string>& ms1Names) {
  if (ms1Names.empty()) {
    skipDataPath("No MS1 files in datapath! Corvid exits!");
    return;
  }
  logMessage(LogLabel::kAlert, "MS1list completes.");
  for (const std::string& name : ms1Names) runRawPipeline(table, name);
}

void runWiffPipelines(ParameterTable& table, const std::vector<std::string>& ms1Names) {
  logMessage(LogLabel::kAlert, "MS1list completes");
  for (const std::string& name : ms1Names) runWiffPipeline(table, name);
}

// The MS1 files a route leaves for the common tail; none when the route finished the data path.
using MS1Names = std::optional<std::vector<std::string>>;

MS1Names runMGFPath(ParameterTable& table) {
  std::string fileName;
  alertRouteNotFromExtension(table["datapath"], kMGFSpellings, "MGF");
  splitFolderAndFile(table, fileName);
  runMGFFiles(table, {fileName});
  return std::nullopt;
}

MS1Names runRawPath(ParameterTable& table) {
  std::string fileName;
  alertRouteNotFromExtension(table["datapath"], kRawSpellings, "RAW");
  splitFolderAndFile(table, fileName);
  runRawExtractor(table, fileName);
  return std::vector<std::string>{ms1NameFor(fileName)};
}

// Extracted in-process; the pipelines then read the extraction folder, and the input folder is
// remembered for the corrected mzML.
std::vector<std::string> extractInto(ParameterTable& table, const std::vector<std::string>& names) {
  std::vector<std::string> ms1Names = extractOpenFormatFiles(table, names);
  table[kOpenFormatFolderKey] = table["datapath"];
  table["datapath"] = extractionFolder(table);
  return ms1Names;
}

MS1Names runOpenFormatPath(ParameterTable& table) {
  std::string fileName;
  alertRouteNotFromExtension(table["datapath"], kOpenFormatSpellings, "mzML/mzXML");
  splitFolderAndFile(table, fileName);
  return extractInto(table, {fileName});
}

MS1Names runRawFolder(ParameterTable& table, const std::string& format) {
  const std::string dataPath = table["datapath"];
  if (containsAny(dataPath, kWiffSpellings)) {
    logMessage(LogLabel::kAlert, "The data path " + dataPath + " names a WIFF file, but input_format is \"" + format +
                                     "\": the RAW files of its folder are processed instead and the WIFF file is "
                                     "not. Give -F wiff to process it.");
  }
  const std::vector<std::string> rawNames = listRawFiles(dataPath);
  if (rawNames.empty()) {
    skipDataPath("No Raw files in datapath!\n" + dataPath);
    return std::nullopt;
  }
  logMessage(LogLabel::kAlert, "Rawlist completes");
  for (const std::string& name : rawNames) runRawExtractor(table, name);
  return listMS1Files(dataPath);
}

MS1Names runMGFFolder(ParameterTable& table) {
  const std::vector<std::string> mgfNames = listMGFFiles(table["datapath"]);
  if (mgfNames.empty()) {
    skipDataPath("No MGF files in datapath!\n" + table["datapath"]);
    return std::nullopt;
  }
  logMessage(LogLabel::kAlert, "MGFlist completes");
  runMGFFiles(table, mgfNames);
  return std::nullopt;
}

// A single WIFF file goes through the WIFF pipelines and then, as it always has, through the
// common tail as well.
MS1Names runWiffPath(ParameterTable& table) {
  std::string fileName;
  alertRouteNotFromExtension(table["datapath"], kWiffSpellings, "WIFF");
  splitFolderAndFile(table, fileName);
  logMessage(LogLabel::kAlert, "Wifflist completes");
  runWiffExtractor(table, fileName);
  const std::vector<std::string> ms1Names = {ms1NameFor(fileName)};
  runWiffPipelines(table, ms1Names);
  logMessage(LogLabel::kNote, "Process complete!");
  return ms1Names;
}

MS1Names runWiffFolder(ParameterTable& table) {
  const std::string dataPath = table["datapath"];
  const std::vector<std::string> wiffNames = listWiffFiles(dataPath);
  if (wiffNames.empty()) {
    skipDataPath("No Wiff files in datapath!\n" + dataPath);
    return std::nullopt;
  }
  logMessage(LogLabel::kAlert, "Wifflist completes");
  for (const std::string& name : wiffNames) runWiffExtractor(table, name);
  std::vector<std::string> ms1Names = listMS1Files(dataPath);
  if (ms1Names.empty()) {
    skipDataPath("No MS1 files in datapath! Corvid exits!");
    return std::nullopt;
  }
  runWiffPipelines(table, ms1Names);
  return ms1Names;
}

MS1Names runOpenFormatFolder(ParameterTable& table, bool mzxml) {
  const std::string dataPath = table["datapath"];
  std::vector<std::string> names = listOpenFormatFiles(dataPath);
  // The lister takes both formats; keep the one asked for.
  std::erase_if(names, [mzxml](const std::string& name) { return isMzXMLName(name) != mzxml; });
  const std::string kind = mzxml ? "mzXML" : "mzML";
  if (names.empty()) {
    skipDataPath("No " + kind + " files in datapath!\n" + dataPath);
    return std::nullopt;
  }
  logMessage(LogLabel::kAlert, kind + "list completes");
  return extractInto(table, names);
}

}  // namespace

void validatePaths(ParameterTable& table) {
  createRunLog();
  std::string& dataPath = table["datapath"];
  std::string dataFolder;
  if (isDirectory(dataPath)) {
    dataPath = withTrailingSeparator(dataPath);
    dataFolder = dataPath;
  } else if (containsAny(dataPath, kRawSpellings) || containsAny(dataPath, kMGFSpellings) ||
             containsAny(dataPath, kWiffSpellings) || containsAny(dataPath, kOpenFormatSpellings)) {
    if (lastSeparator(dataPath) == std::string::npos) dataPath = std::string(kBareNamePrefix) + dataPath;
    dataFolder = folderOf(dataPath);
  } else {
    logMessage(LogLabel::kError, "Path Invalid! datapath = " + dataPath);
    throw RunFailure("Task abort!");
  }
  for (const char* key : {"logfilepath", "outputpath"}) {
    std::string& value = table[key];
    value = value == kEmptyPath ? dataFolder : withTrailingSeparator(value);
  }
  table["outputsvmlight"];  // touched: created empty when missing, as every run expects the key
}

void dispatchRun(ParameterTable& table) {
  if (!isDirectory(table["outputpath"])) {
    skipDataPath("Invalid output path: " + table["outputpath"]);
    return;
  }
  if (!isDirectory(table["logfilepath"])) {
    skipDataPath("Invalid log path: " + table["logfilepath"]);
    return;
  }
  setLogFolder(table["logfilepath"]);

  // The first route that matches wins, in this order: one file named by its extension (MGF,
  // RAW, mzML/mzXML), then the folder formats, one WIFF file, and MS1/MS2 pairs.
  const std::string dataPath = table["datapath"];
  const std::string format = table["input_format"];
  MS1Names ms1Names;
  if (containsAny(dataPath, kMGFSpellings)) {
    ms1Names = runMGFPath(table);
  } else if (containsAny(dataPath, kRawSpellings)) {
    ms1Names = runRawPath(table);
  } else if (containsAny(dataPath, kOpenFormatSpellings)) {
    ms1Names = runOpenFormatPath(table);
  } else if (isAnyOf(format, {"Raw", "RAW", "raw"})) {
    ms1Names = runRawFolder(table, format);
  } else if (isAnyOf(format, {"MGF", "mgf"})) {
    ms1Names = runMGFFolder(table);
  } else if (containsAny(dataPath, kWiffSpellings)) {
    ms1Names = runWiffPath(table);
  } else if (isAnyOf(format, {"Wiff", "WIFF", "wiff"})) {
    ms1Names = runWiffFolder(table);
  } else if (isAnyOf(format, {"mzml", "mzML", "MZML", "mzxml", "mzXML", "MZXML"})) {
    ms1Names = runOpenFormatFolder(table, isAnyOf(format, {"mzxml", "mzXML", "MZXML"}));
  } else {
    ms1Names = listMS1Files(dataPath);
  }
  if (ms1Names) runCommonTail(table, *ms1Names);
}

void runOnce(ParameterTable& table) {
  if (isOn(valueOrEmpty(table, "strict_exit"))) requestStrictExit();
  validatePaths(table);
  checkParameterValues(table);
  // The classifier is read before any file is touched.
  if (precisionModelChooses(table)) loadPrecisionModel(table);
  dispatchRun(table);
  if (table["Resetpath"] == "1") table["outputpath"] = std::string(kEmptyPath);
}

}  // namespace corvid
