#include "startup/run_driver.h"

#include <algorithm>
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
#include "spectra/input_formats.h"
#include "startup/file_discovery.h"
#include "startup/input_job.h"
#include "startup/mgf_pipeline.h"
#include "startup/pipelines.h"

namespace corvid {
namespace {

// The input route follows a spelling anywhere in the data path, as it always has; when that
// spelling is not the extension of the path's file, say so, since the file is then read in a
// format it probably does not have.
void alertRouteNotFromExtension(const std::string& dataPath, std::span<const std::string_view> spellings,
                                std::string_view kind) {
  const std::string fileName = fileNameOf(dataPath);
  for (std::string_view spelling : spellings) {
    if (fileName.size() > spelling.size() && fileName.ends_with(spelling)) return;
  }
  const SpellingFound found = firstSpellingIn(dataPath, spellings);
  const bool inFolderName = found.at < dataPath.size() - fileName.size();
  logMessage(LogLabel::kAlert, "The data path " + dataPath + " is read as " + std::string(kind) +
                                   " input because it contains \"" + std::string(found.spelling) + "\" in " +
                                   (inFolderName ? "a folder name" : "its file name") +
                                   ", not as its file's extension.");
}

// The MS1 name an extractor leaves for a vendor file: its name up to the last "." + ".MS1".
std::string ms1NameFor(const std::string& fileName) { return fileName.substr(0, fileName.rfind('.')) + ".MS1"; }

// Logs why a data path is skipped; the process goes on with the next one.
void skipDataPath(const std::string& message) {
  logMessage(LogLabel::kError, message);
  noteRunProblem(RunProblem::kDataPathSkipped);
}

std::vector<InputJob> pairJobs(PairSource source, const std::string& folder, const std::vector<std::string>& ms1Names) {
  std::vector<InputJob> jobs;
  for (const std::string& name : ms1Names)
    jobs.push_back(InputJob{.source = source, .folder = folder, .ms1Name = name});
  return jobs;
}

// The files a folder route found, announced; nothing (and the data path skipped) when there are none.
std::optional<std::vector<std::string>> announceFound(std::vector<std::string> names, const std::string& none,
                                                      const std::string& found) {
  if (names.empty()) {
    skipDataPath(none);
    return std::nullopt;
  }
  logMessage(LogLabel::kAlert, found);
  return names;
}

// X.mzML and X.mzML.gz (or X.mzML.GZ) would both be extracted into X.ms1/X.ms2 and give X.csv:
// a compressed file whose stem another file of the listing has is skipped, with an Alert. Two
// uncompressed spellings of one stem are kept, as they always were.
std::vector<std::string> skipCompressedDuplicates(const std::vector<std::string>& names) {
  std::vector<std::string> kept;
  for (const std::string& name : names) {
    const std::string stem = openFormatStem(name);
    auto hasStem = [&stem](const std::string& other) { return openFormatStem(other) == stem; };
    // The uncompressed file of the stem is processed; without one, the first compressed file listed.
    auto chosen = std::find_if(names.begin(), names.end(), [&](const std::string& other) {
      return !isGzipOpenFormatName(other) && hasStem(other);
    });
    if (chosen == names.end()) chosen = std::find_if(names.begin(), names.end(), hasStem);
    if (!isGzipOpenFormatName(name) || *chosen == name) {
      kept.push_back(name);
      continue;
    }
    logMessage(LogLabel::kAlert, name + " is skipped: " + *chosen + " in the same folder is processed instead (both " +
                                     "would give " + stem + ".ms1, " + stem + ".ms2 and " + stem + ".csv).");
  }
  return kept;
}

// The jobs a route leaves for the common tail; none when the route finished the data path.
using RouteJobs = std::optional<std::vector<InputJob>>;

// What every route works on.
struct Route {
  const RunSettings& settings;
  RunResources& resources;
  const std::string& dataPath;  // resolved: a folder ending with a separator, or one file
};

void runCommonTail(const Route& route, std::vector<InputJob> jobs) {
  if (jobs.empty()) {
    skipDataPath("No MS1 files in datapath! Corvid exits!");
    return;
  }
  logMessage(LogLabel::kAlert, "MS1list completes.");
  for (InputJob& job : jobs) runPairJob(route.settings, route.resources, std::move(job));
}

// The WIFF pipelines run the pairs first; the common tail then runs them again, as it always has.
void runWiffPipelines(const Route& route, const std::string& folder, const std::vector<std::string>& ms1Names) {
  logMessage(LogLabel::kAlert, "MS1list completes");
  for (InputJob& job : pairJobs(PairSource::kWiff, folder, ms1Names)) {
    runPairJob(route.settings, route.resources, std::move(job));
  }
}

RouteJobs runMGFPath(const Route& route) {
  alertRouteNotFromExtension(route.dataPath, extensionSpellings(InputFormat::kMGF), "MGF");
  runMGFPipeline(folderOf(route.dataPath), {fileNameOf(route.dataPath)});
  return std::nullopt;
}

RouteJobs runRawPath(const Route& route) {
  alertRouteNotFromExtension(route.dataPath, extensionSpellings(InputFormat::kRaw), "RAW");
  const std::string folder = folderOf(route.dataPath);
  const std::string fileName = fileNameOf(route.dataPath);
  runRawExtractor(route.settings, folder, fileName);
  return pairJobs(PairSource::kRaw, folder, {ms1NameFor(fileName)});
}

RouteJobs runOpenFormatPath(const Route& route) {
  // "run.mzML.gz" is named by its extension as much as "run.mzML" is.
  alertRouteNotFromExtension(std::string(withoutGzipEnding(route.dataPath)), openFormatSpellings(), "mzML/mzXML");
  return extractOpenFormatFiles(route.settings, folderOf(route.dataPath), {fileNameOf(route.dataPath)});
}

RouteJobs runRawFolder(const Route& route) {
  const std::string& dataPath = route.dataPath;
  if (containsExtension(dataPath, InputFormat::kWiff)) {
    logMessage(LogLabel::kAlert, "The data path " + dataPath + " names a WIFF file, but input_format is \"" +
                                     route.settings.inputFormat.givenText +
                                     "\": the RAW files of its folder are processed instead and the WIFF file is "
                                     "not. Give -F wiff to process it.");
  }
  const auto rawNames =
      announceFound(listRawFiles(dataPath), "No Raw files in datapath!\n" + dataPath, "Rawlist completes");
  if (!rawNames) return std::nullopt;
  for (const std::string& name : *rawNames) runRawExtractor(route.settings, dataPath, name);
  return pairJobs(PairSource::kRaw, dataPath, listMS1Files(dataPath));
}

RouteJobs runMGFFolder(const Route& route) {
  const auto mgfNames =
      announceFound(listMGFFiles(route.dataPath), "No MGF files in datapath!\n" + route.dataPath, "MGFlist completes");
  if (mgfNames) runMGFPipeline(route.dataPath, *mgfNames);
  return std::nullopt;
}

// A single WIFF file goes through the WIFF pipelines and then, as it always has, through the
// common tail as well.
RouteJobs runWiffPath(const Route& route) {
  alertRouteNotFromExtension(route.dataPath, extensionSpellings(InputFormat::kWiff), "WIFF");
  const std::string folder = folderOf(route.dataPath);
  const std::string fileName = fileNameOf(route.dataPath);
  logMessage(LogLabel::kAlert, "Wifflist completes");
  runWiffExtractor(route.settings, folder, fileName);
  const std::vector<std::string> ms1Names = {ms1NameFor(fileName)};
  runWiffPipelines(route, folder, ms1Names);
  logMessage(LogLabel::kNote, "Process complete!");
  return pairJobs(PairSource::kRaw, folder, ms1Names);
}

RouteJobs runWiffFolder(const Route& route) {
  const std::string& dataPath = route.dataPath;
  const auto wiffNames =
      announceFound(listWiffFiles(dataPath), "No Wiff files in datapath!\n" + dataPath, "Wifflist completes");
  if (!wiffNames) return std::nullopt;
  for (const std::string& name : *wiffNames) runWiffExtractor(route.settings, dataPath, name);
  const std::vector<std::string> ms1Names = listMS1Files(dataPath);
  if (ms1Names.empty()) {
    skipDataPath("No MS1 files in datapath! Corvid exits!");
    return std::nullopt;
  }
  runWiffPipelines(route, dataPath, ms1Names);
  return pairJobs(PairSource::kRaw, dataPath, ms1Names);
}

RouteJobs runOpenFormatFolder(const Route& route, bool mzxml) {
  std::vector<std::string> names = listOpenFormatFiles(route.dataPath);
  // The lister takes both formats; keep the one asked for.
  std::erase_if(names, [mzxml](const std::string& name) { return isMzXMLName(name) != mzxml; });
  const std::string kind = mzxml ? "mzXML" : "mzML";
  const auto found = announceFound(skipCompressedDuplicates(names),
                                   "No " + kind + " files in datapath!\n" + route.dataPath, kind + "list completes");
  if (!found) return std::nullopt;
  return extractOpenFormatFiles(route.settings, route.dataPath, *found);
}

bool namesAnInputFile(const std::string& dataPath) {
  return containsExtension(dataPath, InputFormat::kRaw) || containsExtension(dataPath, InputFormat::kMGF) ||
         containsExtension(dataPath, InputFormat::kWiff) || isOpenFormatPath(dataPath);
}

// The first route that matches wins, in this order: one file named by its extension (MGF, RAW,
// mzML/mzXML), then the folder formats, one WIFF file, and MS1/MS2 pairs.
RouteJobs runRouteOf(const Route& route) {
  const std::string& dataPath = route.dataPath;
  const std::optional<InputFormat> folderFormat = route.settings.inputFormat.folderFormat;
  if (containsExtension(dataPath, InputFormat::kMGF)) return runMGFPath(route);
  if (containsExtension(dataPath, InputFormat::kRaw)) return runRawPath(route);
  if (isOpenFormatPath(dataPath)) return runOpenFormatPath(route);
  if (folderFormat == InputFormat::kRaw) return runRawFolder(route);
  if (folderFormat == InputFormat::kMGF) return runMGFFolder(route);
  if (containsExtension(dataPath, InputFormat::kWiff)) return runWiffPath(route);
  if (folderFormat == InputFormat::kWiff) return runWiffFolder(route);
  if (folderFormat == InputFormat::kMzML || folderFormat == InputFormat::kMzXML) {
    return runOpenFormatFolder(route, folderFormat == InputFormat::kMzXML);
  }
  return pairJobs(PairSource::kRaw, dataPath, listMS1Files(dataPath));
}

}  // namespace

void resolveRunPaths(RunPaths& paths) {
  createRunLog();
  std::string& dataPath = paths.data;
  if (isDirectory(dataPath)) {
    dataPath = withTrailingSeparator(dataPath);
    paths.dataFolder = dataPath;
  } else if (namesAnInputFile(dataPath)) {
    if (lastSeparator(dataPath) == std::string::npos) dataPath = std::string(kBareNamePrefix) + dataPath;
    paths.dataFolder = folderOf(dataPath);
  } else {
    logMessage(LogLabel::kError, "Path Invalid! datapath = " + dataPath);
    throw RunFailure("Task abort!");
  }
  for (std::string* folder : {&paths.log, &paths.output}) {
    *folder = *folder == kEmptyPath ? paths.dataFolder : withTrailingSeparator(*folder);
  }
}

void dispatchRun(const RunSettings& settings, RunResources& resources) {
  if (!isDirectory(settings.paths.output)) {
    skipDataPath("Invalid output path: " + settings.paths.output);
    return;
  }
  if (!isDirectory(settings.paths.log)) {
    skipDataPath("Invalid log path: " + settings.paths.log);
    return;
  }
  setLogFolder(settings.paths.log);
  const Route route{settings, resources, settings.paths.data};
  RouteJobs jobs = runRouteOf(route);
  if (jobs) runCommonTail(route, std::move(*jobs));
}

RunSettings runOnce(RunSettings settings, RunResources& resources) {
  if (settings.strictExit) requestStrictExit();
  resolveRunPaths(settings.paths);
  for (const std::string& alert : settings.valueAlerts) logMessage(LogLabel::kAlert, alert);
  // The classifier is read before any file is touched.
  if (precisionModelChooses(settings)) precisionModelFor(resources, settings.paths.program);
  dispatchRun(settings, resources);
  return settings;
}

}  // namespace corvid
