// corvid_qc_page_render: renders a QC page document (JSON) to its self-contained HTML page, as
// corvid writes it; for looking at a page and for the browser test.
//   corvid_qc_page_render <document.json> <page.html> [folder holding qc/]
// The chart library is looked for in qc/ of the given folder (by default this program's own),
// then where corvid looks for its support files.
#include <cstdio>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "platform/paths.h"
#include "platform/text_file.h"
#include "scoring/qc_page.h"

int main(int argc, char** argv) {
  if (argc != 3 && argc != 4) {
    std::fprintf(stderr, "usage: %s <document.json> <page.html> [folder holding qc/]\n", argv[0]);
    return 2;
  }
  const std::optional<std::string> text = corvid::readWholeFile(argv[1]);
  if (!text) {
    std::fprintf(stderr, "cannot read %s\n", argv[1]);
    return 1;
  }
  const nlohmann::json page = nlohmann::json::parse(*text, nullptr, false);
  if (page.is_discarded()) {
    std::fprintf(stderr, "%s is not JSON\n", argv[1]);
    return 1;
  }
  const std::string folder = argc == 4 ? corvid::withTrailingSeparator(argv[3]) : corvid::folderOf(argv[0]);
  return corvid::writeQcPage(argv[2], page, folder) ? 0 : 1;
}
