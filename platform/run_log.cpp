#include "platform/run_log.h"

#include <ctime>
#include <memory>

namespace corvid {
namespace {

std::unique_ptr<RunLog>& theLog() {
  static std::unique_ptr<RunLog> log;
  return log;
}

thread_local DeferredLog* deferredLog = nullptr;

}  // namespace

DeferLogOnThisThread::DeferLogOnThisThread(DeferredLog& into) : previous_(deferredLog) {
  deferredLog = &into;
}

DeferLogOnThisThread::~DeferLogOnThisThread() { deferredLog = previous_; }

void logDeferredMessages(const DeferredLog& deferred) {
  for (const DeferredLog::Message& message : deferred.messages)
    logMessage(message.stream, message.label, message.text);
}

std::string timestamp() {
  std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char text[64];
  // Same layout as asctime(): "Www Mmm dd hh:mm:ss yyyy".
  std::strftime(text, sizeof text, "%a %b %e %H:%M:%S %Y", &local);
  return text;
}

void createRunLog() {
  if (theLog()) return;
  theLog() = std::make_unique<RunLog>();
  theLog()->lines.push_back(timestamp() + "\n");
  theLog()->path = kLogFileName;
}

bool runLogExists() { return theLog() != nullptr; }

void setLogFolder(const std::string& folder) {
  createRunLog();
  theLog()->path = folder + kLogFileName;
}

void logMessage(std::FILE* stream, LogLabel label, std::string_view message) {
  if (deferredLog != nullptr) {
    deferredLog->messages.push_back({stream, label, std::string(message)});
    return;
  }
  createRunLog();
  if (label == LogLabel::kInfo) {
    std::fprintf(stream, "[Corvid] <%.*s> \n", static_cast<int>(message.size()), message.data());
  } else {
    std::fprintf(stream, "[Corvid] %.*s \n", static_cast<int>(message.size()), message.data());
  }
  std::fflush(stream);
  theLog()->lines.emplace_back(message);
  theLog()->lines.emplace_back("\n");
}

void printConsoleError(std::string_view line) {
  std::fflush(stdout);
  std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data());
  std::fflush(stderr);
}

void appendLogPiece(std::string piece) {
  createRunLog();
  theLog()->lines.push_back(std::move(piece));
}

const std::vector<std::string>& runLogLines() {
  createRunLog();
  return theLog()->lines;
}

std::string runLogPath() { return theLog() ? theLog()->path : std::string(kLogFileName); }

void discardRunLog() { theLog().reset(); }

void closeRunLog() {
  std::unique_ptr<RunLog>& log = theLog();
  if (!log) return;
  std::FILE* file = std::fopen(log->path.c_str(), "ab");
  if (file == nullptr) {
    std::printf("Fail to create log, %s not exists!\n", log->path.c_str());
    std::fflush(stdout);
  } else {
    // Text files end lines with CR LF on every platform, as on Windows.
    std::string block;
    for (const std::string& piece : log->lines) {
      for (char c : piece) {
        if (c == '\n') block += '\r';
        block += c;
      }
    }
    std::fwrite(block.data(), 1, block.size(), file);
    std::fclose(file);
  }
  log.reset();
}

}  // namespace corvid
