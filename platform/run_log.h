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

// Creates the log unless it exists: first piece is the start time, path the working folder's file.
void createRunLog();
bool runLogExists();
// Points the log file at folder + "CorvidPlusLog.txt"; the folder ends with a separator.
void setLogFolder(const std::string& folder);
// Console: "[Corvid] <msg> " for label "Info", "[Corvid] msg " otherwise; then collects msg and "\n".
void logMessage(std::FILE* stream, std::string_view label, std::string_view message);
inline void logMessage(std::string_view label, std::string_view message) {
  logMessage(stdout, label, message);
}
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
