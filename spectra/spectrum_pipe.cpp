#include "spectra/spectrum_pipe.h"

#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>

namespace corvid {
namespace {

struct Pipe {
  std::mutex lock;
  std::condition_variable changed;
  std::deque<OpenSpectrum> waiting;
  bool readingDone = false;
  bool consumerFailed = false;
  std::string failure;
};

void consumeAll(Pipe& pipe, const SpectrumSink& consume) {
  for (;;) {
    OpenSpectrum spectrum;
    {
      std::unique_lock<std::mutex> guard(pipe.lock);
      pipe.changed.wait(guard, [&pipe] { return !pipe.waiting.empty() || pipe.readingDone; });
      if (pipe.waiting.empty()) return;
      spectrum = std::move(pipe.waiting.front());
      pipe.waiting.pop_front();
    }
    pipe.changed.notify_all();
    std::string reason;
    bool consumed = false;
    try {
      consumed = consume(spectrum, reason);
    } catch (const std::exception& error) {
      reason = error.what();
    }
    if (!consumed) {
      std::lock_guard<std::mutex> guard(pipe.lock);
      pipe.consumerFailed = true;
      pipe.failure = reason.empty() ? "a spectrum could not be written" : reason;
      pipe.changed.notify_all();
      return;
    }
  }
}

}  // namespace

bool readThroughPipe(const SpectrumReader& read, const SpectrumSink& consume, std::string& error, std::size_t depth) {
  Pipe pipe;
  std::thread consumer([&pipe, &consume] { consumeAll(pipe, consume); });
  const SpectrumSink handOver = [&pipe, depth](const OpenSpectrum& spectrum, std::string& reason) {
    std::unique_lock<std::mutex> guard(pipe.lock);
    pipe.changed.wait(guard, [&pipe, depth] { return pipe.waiting.size() < depth || pipe.consumerFailed; });
    if (pipe.consumerFailed) {
      reason = pipe.failure;
      return false;
    }
    pipe.waiting.push_back(spectrum);
    guard.unlock();
    pipe.changed.notify_all();
    return true;
  };
  bool readOk = false;
  try {
    readOk = read(handOver, error);
  } catch (...) {
    {
      std::lock_guard<std::mutex> guard(pipe.lock);
      pipe.readingDone = true;
    }
    pipe.changed.notify_all();
    consumer.join();
    throw;
  }
  {
    std::lock_guard<std::mutex> guard(pipe.lock);
    pipe.readingDone = true;
  }
  pipe.changed.notify_all();
  consumer.join();
  if (pipe.consumerFailed) {
    error = pipe.failure;
    return false;
  }
  return readOk;
}

}  // namespace corvid
