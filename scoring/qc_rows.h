#pragma once
// The QC report's rows of one activation group: one per exported spectrum block, in the order
// the spectrum files and the precursor table list them, plus one for each scan whose spectrum
// was not exported.
#include <vector>

#include "scoring/qc_figures.h"
#include "spectra/group_export.h"
#include "spectra/precursor_features.h"

namespace corvid {

// group.accepted[i] has the features keptFeatures[i] (score last), as for the precursor table.
void appendQcRows(GroupExport group, const MS2File& ms2File, const std::vector<PrecursorFeatures>& keptFeatures,
                  std::vector<QcPrecursorRow>& rows);

}  // namespace corvid
