// corvid-reference-list: turns the identifications of an earlier search (pepXML, mzIdentML) into
// the reference list of known precursors that Corvid trains on (-T).
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "tools/reference_list/conversion.h"
#include "tools/reference_list/errors.h"
#include "tools/reference_list/reference_list_writer.h"

namespace {

constexpr const char* kProgram = "corvid-reference-list";
constexpr int kInputFailure = 1;
constexpr int kUsageFailure = 2;

void printError(const std::string& message) { std::fprintf(stderr, "%s: error: %s\n", kProgram, message.c_str()); }

}  // namespace

int main(int argc, char** argv) {
  using namespace corvid::reflist;
  try {
    const Options options = parseCommandLine(std::vector<std::string>(argv + 1, argv + argc));
    if (options.help) {
      std::fputs(usageText().c_str(), stdout);
      return 0;
    }
    if (options.version) {
      std::printf("%s (Corvid) %s\n", kProgram, CORVID_VERSION);
      return 0;
    }
    const Conversion conversion = convertSearchResults(options);
    if (options.outputPath.empty()) {
      std::fwrite(conversion.referenceList.data(), 1, conversion.referenceList.size(), stdout);
      if (std::fflush(stdout) != 0) throw InputError("cannot write to standard output");
    } else {
      writeFileAtomically(options.outputPath, conversion.referenceList);
    }
    for (const std::string& line : conversion.summary) std::fprintf(stderr, "%s: %s\n", kProgram, line.c_str());
    if (!options.outputPath.empty()) {
      std::size_t lines = 0;
      for (const char c : conversion.referenceList) lines += c == '\n' ? 1 : 0;
      std::fprintf(stderr, "%s: wrote %zu entries to %s\n", kProgram, lines, options.outputPath.c_str());
    }
    return 0;
  } catch (const UsageError& error) {
    printError(error.what());
    return kUsageFailure;
  } catch (const InputError& error) {
    printError(error.what());
    return kInputFailure;
  } catch (const std::exception& error) {
    printError(error.what());
    return kInputFailure;
  }
}
