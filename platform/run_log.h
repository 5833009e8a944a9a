#pragma once
// The one process-wide log. Messages show on the console at once and are collected in memory;
// the collection is appended to the log file once, when the process ends, so logging costs no
// file operation while spectra are processed.
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace corvid {

struct RunLog {
  std::vector<std::string> lines;  // pieces written as they stand; line ends are pieces of their own
  std::string path;                // file to append to
};

inline constexpr const char* kLogFileName = "CorvidPlusLog.txt";

// What a message is. Only kInfo changes how it shows: "[Corvid] <msg> " instead of "[Corvid] msg ".
enum class LogLabel {
  kInfo,   // a bracketed notice
  kNote,   // progress and information
  kState,  // what the run is doing now
  kAlert,  // something the user must know: data dropped, replaced or read unusually
  kError,  // a failure: the file or data path is skipped, or the run ends
  kExit,   // the run ends after an unexpected failure
};

// Creates the log unless it exists: first piece is the start time, path the working folder's file.
void createRunLog();
bool runLogExists();
// Points the log file at folder + "CorvidPlusLog.txt"; the folder ends with a separator.
void setLogFolder(const std::string& folder);
// Console: "[Corvid] <msg> " for kInfo, "[Corvid] msg " otherwise; then collects msg and "\n".
void logMessage(std::FILE* stream, LogLabel label, std::string_view message);
inline void logMessage(LogLabel label, std::string_view message) { logMessage(stdout, label, message); }
// Messages of a thread that works beside the main thread. The log is the main thread's; such a
// thread keeps its messages here, and the main thread logs them, in order, once it has joined it,
// so the console reads the same as when the work is done in turn.
struct DeferredLog {
  struct Message {
    std::FILE* stream;
    LogLabel label;
    std::string text;
  };
  std::vector<Message> messages;
};
// While alive, logMessage on this thread keeps its messages in `into` instead of logging them.
class DeferLogOnThisThread {
 public:
  explicit DeferLogOnThisThread(DeferredLog& into);
  ~DeferLogOnThisThread();
  DeferLogOnThisThread(const DeferLogOnThisThread&) = delete;
  DeferLogOnThisThread& operator=(const DeferLogOnThisThread&) = delete;

 private:
  DeferredLog* previous_;
};
// Logs the kept messages in order (on the main thread).
void logDeferredMessages(const DeferredLog& deferred);
// A line for standard error alone, not kept in the log (after the console is flushed).
void printConsoleError(std::string_view line);
// Adds a piece to the file without console output (the command line is recorded this way).
void appendLogPiece(std::string piece);
// Appends the collected pieces to the log file and discards the log; does nothing the second time.
void closeRunLog();
// Drops the log and its pieces without writing them (a fresh start, e.g. between tests).
void discardRunLog();
// The pieces collected so far (for tests and diagnostics).
const std::vector<std::string>& runLogLines();
std::string runLogPath();
// Local time in the classic 24-character asctime form, without its line end.
std::string timestamp();

}  // namespace corvid
