#include "startup/voltage_detection.h"

#include "detection/parallel_detection.h"
#include "platform/paths.h"
#include "startup/group_scan_tasks.h"

namespace corvid {

void splitFaimsRun(const DetectionInput& whole, MS1File& ms1File, const MS2File& ms2File, const std::string& ms2Path,
                   VoltageViews& views) {
  if (!hasCompensationVoltages(ms1File)) return;
  splitByVoltage(whole, ms1File, ms2File, views);
  reportVoltageViews(views, fileNameOf(ms2Path));
}

std::vector<std::size_t> detectGroupScans(PairRun& run, int group) {
  std::vector<std::size_t> positions = groupPositions(run.ms2File, group);
  const VoltageViews& views = run.voltageViews;
  if (views.inputs.empty()) {
    detectScans(run.detectionInput, groupScanTasks(run.ms2File, positions, group, run.debug, run.scans),
                run.settings.threads, run.detected);
  } else {
    detectScans(views.inputs, groupScanTasks(run.ms2File, positions, group, run.debug, run.scans, views.ms2View),
                run.settings.threads, run.detected);
  }
  return positions;
}

}  // namespace corvid
