#pragma once
// The whole conversion behind corvid-reference-list, from the options to the list's text and
// the summary shown on standard error; main() only prints and writes.
#include <string>
#include <vector>

#include "tools/reference_list/command_line.h"

namespace corvid::reflist {

struct Conversion {
  std::string referenceList;
  std::vector<std::string> summary;  // lines without the program name or line end
};

// Throws UsageError (a --score whose direction is unknown) or InputError (anything about the
// files: unreadable, not pepXML/mzIdentML, malformed, without q-values, a scan map that fits not).
Conversion convertSearchResults(const Options& options);

}  // namespace corvid::reflist
