#pragma once
// Opening and committing one of Corvid's output files with a failure said once: an "Error" line
// naming the kind of file, its path and the cause, and the run noted as having an output it could
// not write.
#include <string>
#include <string_view>

#include "platform/pending_file.h"

namespace corvid {

// openPending; on failure the Error "Fail to create <kind> <path>: <cause>" (kind: "MGF file").
bool openReportedOutput(const std::string& path, std::string_view kind, PendingFile& pending);

// commitPending; on failure the Error "Fail to write <kind> <path>: <cause>".
bool commitReportedOutput(PendingFile& pending, std::string_view kind);

}  // namespace corvid
