#include "spectra/spectrum_pipe.h"

#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace corvid {
namespace {

struct Pipe {
  std::mutex lock;
  std::condition_variable changed;
  std::deque<OpenSpectrum> waiting;
  // Records the consumer is done with: the reader's copies reuse their vectors' capacity, so a
  // spectrum costs no allocation once the pipe has warmed up.
  std::vector<OpenSpectrum> spare;
  bool readingDone = false;
  bool consumerFailed = false;
  bool consumerAsleep = false;
  bool readerAsleep = false;
  std::string failure;
};

// Each side sleeps until the other has made real progress (a few spectra, not one), so that the
// threads wake each other rarely instead of at every spectrum.
std::size_t wakeBatch(std::size_t depth) { return depth / 4 > 0 ? depth / 4 : 1; }

void consumeAll(Pipe& pipe, const SpectrumSink& consume, std::size_t depth) {
  OpenSpectrum spectrum;
  bool haveSpent = false;
  for (;;) {
    {
      std::unique_lock<std::mutex> guard(pipe.lock);
      if (haveSpent) pipe.spare.push_back(std::move(spectrum));
      if (pipe.readerAsleep && pipe.waiting.size() + wakeBatch(depth) <= depth)
        pipe.changed.notify_all();
      if (pipe.waiting.empty()) {
        pipe.consumerAsleep = true;
        pipe.changed.wait(guard, [&pipe, depth] {
          return pipe.waiting.size() >= wakeBatch(depth) || pipe.readingDone;
        });
        pipe.consumerAsleep = false;
      }
      if (pipe.waiting.empty()) return;
      spectrum = std::move(pipe.waiting.front());
      pipe.waiting.pop_front();
    }
    haveSpent = true;
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

bool readThroughPipe(const SpectrumReader& read, const SpectrumSink& consume, std::string& error,
                     std::size_t depth) {
  if (depth == 0) depth = 1;
  Pipe pipe;
  std::thread consumer([&pipe, &consume, depth] { consumeAll(pipe, consume, depth); });
  const SpectrumSink handOver = [&pipe, depth](const OpenSpectrum& spectrum, std::string& reason) {
    OpenSpectrum copy;
    {
      std::unique_lock<std::mutex> guard(pipe.lock);
      if (pipe.waiting.size() >= depth && !pipe.consumerFailed) {
        pipe.readerAsleep = true;
        pipe.changed.wait(guard, [&pipe, depth] {
          return pipe.waiting.size() + wakeBatch(depth) <= depth || pipe.consumerFailed;
        });
        pipe.readerAsleep = false;
      }
      if (pipe.consumerFailed) {
        reason = pipe.failure;
        return false;
      }
      if (!pipe.spare.empty()) {
        copy = std::move(pipe.spare.back());
        pipe.spare.pop_back();
      }
    }
    copy = spectrum;  // outside the lock; reuses the spare record's capacity
    std::lock_guard<std::mutex> guard(pipe.lock);
    pipe.waiting.push_back(std::move(copy));
    if (pipe.consumerAsleep && pipe.waiting.size() >= wakeBatch(depth)) pipe.changed.notify_all();
    return true;
  };
  bool readOk = false;
  auto finishReading = [&pipe] {
    {
      std::lock_guard<std::mutex> guard(pipe.lock);
      pipe.readingDone = true;
    }
    pipe.changed.notify_all();
  };
  try {
    readOk = read(handOver, error);
  } catch (...) {
    finishReading();
    consumer.join();
    throw;
  }
  finishReading();
  consumer.join();
  if (pipe.consumerFailed) {
    error = pipe.failure;
    return false;
  }
  return readOk;
}

}  // namespace corvid
