#include "startup/entry.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>

#include "build_config.h"
#include "platform/crash_record.h"
#include "platform/run_failure.h"
#include "platform/run_log.h"
#include "platform/run_outcome.h"
#include "platform/steady_clock.h"
#include "spectra/input_formats.h"
#include "startup/command_line.h"
#include "startup/parameter_file.h"
#include "startup/program_texts.h"
#include "startup/start_routes.h"

namespace corvid {
namespace {

// Exit status of a caught failure: -1 as the process sees it on Windows.
constexpr int kFailureStatus = 255;

void recordCommandLine(int argc, char** argv) {
  std::string line;
  for (int i = 0; i < argc; ++i) {
    line += argv[i];
    line += ' ';
  }
  appendLogPiece(line);
  appendLogPiece("\n");
}

bool onlyLongOptionsFrom(int first, int argc, char** argv) {
  for (int i = first; i < argc; ++i) {
    if (!isLongOption(argv[i])) return false;
    // "--KEY VALUE": the value is the next argument, whatever it looks like.
    i += longOptionWidth(argv[i]) - 1;
  }
  return true;
}

// A first argument naming one input file: every argument is then a data path of its own.
bool namesInputFile(const char* argument) {
  return hasExtensionInAnyCase(argument, InputFormat::kRaw) || hasExtensionInAnyCase(argument, InputFormat::kWiff) ||
         isOpenFormatName(argument);
}

void chooseRoute(int argc, char** argv) {
  const char* const* arguments = argv;
  if (argc <= 1) {
    printVersionBlock();
    writeParameterTemplate();
    printUsage();
  } else if ((endsWith(argv[1], ".cfg", true) || endsWith(argv[1], ".para", true)) &&
             onlyLongOptionsFrom(2, argc, argv)) {
    runFromParameterFile(argc, arguments);
  } else if (namesInputFile(argv[1])) {
    runEachAsDataPath(argc, arguments);
  } else if (hasExtension(argv[1], InputFormat::kMGF)) {
    runMGFConversion(argc, arguments);
  } else {
    RunResources resources;
    runFromOptions(argc, arguments, resources);
  }
}

void logExitNotice() {
  logMessage(LogLabel::kExit, std::string("Corvid has encountered a problem and will exit. Retry with correct "
                                  "parameters.\nFor help, please mail to ") +
                         build::kSupportEmail);
}

// "--help" or "--version" anywhere: answered at once, nothing written.
bool answeredInformationRequest(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument == "--help") {
      printHelp();
      return true;
    }
    if (argument == "--version") {
      printVersionLine();
      return true;
    }
  }
  return false;
}

// With strict_exit on, a run that ended normally but skipped or lost something says so in its
// status; the log names the cause.
int finalStatus(int status) {
  const int strict = strictExitStatus(status);
  if (strict != status) {
    logMessage(LogLabel::kAlert, "strict_exit: exit status " + std::to_string(strict) + " because " +
                            describeStrictExit(strict) + ".");
  }
  return strict;
}

}  // namespace

int runRouteGuarded(const std::function<void()>& route) {
  const std::int64_t start = steadyMilliseconds();
  try {
    route();
    const std::int64_t seconds = (steadyMilliseconds() - start) / 1000;
    logMessage(LogLabel::kNote, " == == == Time elapsed: " + std::to_string(seconds) + " seconds. == == == = ");
    return 0;
  } catch (const RunFailure& failure) {
    switch (failure.kind) {
      case FailureKind::kRunAborted:
        std::printf("\n");
        logMessage(LogLabel::kError, failure.text);
        logExitNotice();
        break;
      case FailureKind::kOutOfBounds:
        std::printf("\n");
        logMessage(LogLabel::kError, "ARRAY ACCESS OUT OF BOUNDS!\n");
        break;
      case FailureKind::kEndedQuietly:
        break;
      case FailureKind::kFinishedEarly:
        return 0;
    }
  } catch (const std::out_of_range&) {
    // The standard library's own range checks (at()) end the run the same way.
    std::printf("\n");
    logMessage(LogLabel::kError, "ARRAY ACCESS OUT OF BOUNDS!\n");
  } catch (const std::exception& error) {
    std::printf("1\n");
    const char* what = error.what();
    logMessage(LogLabel::kExit, what != nullptr && what[0] != '\0' ? what : "Unknown exception");
  }
  return kFailureStatus;
}

int runEntry(int argc, char** argv) {
  if (answeredInformationRequest(argc, argv)) return 0;
  installCrashRecord();
  createRunLog();
  // Readers that end the process themselves still leave the log behind.
  std::atexit(closeRunLog);
  printBanner();
  recordCommandLine(argc, argv);
  const int status = finalStatus(runRouteGuarded([&] { chooseRoute(argc, argv); }));
  closeRunLog();
  std::fflush(stdout);
  return status;
}

}  // namespace corvid
