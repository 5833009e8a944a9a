#include "spectra/spectrum_pipe.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>
#include <vector>

namespace corvid {
namespace {

// A reader of `count` spectra named "s0", "s1", ... with i peaks each.
SpectrumReader readerOf(int count, bool failAtEnd = false) {
  return [count, failAtEnd](const SpectrumSink& sink, std::string& error) {
    OpenSpectrum spectrum;
    for (int i = 0; i < count; ++i) {
      spectrum.nativeId = "s" + std::to_string(i);
      spectrum.mz.assign(static_cast<std::size_t>(i % 50), 100.0 + i);
      spectrum.intensity.assign(spectrum.mz.size(), 1.0);
      if (!sink(spectrum, error)) return false;
    }
    if (failAtEnd) error = "truncated at the end";
    return !failAtEnd;
  };
}

TEST(SpectrumPipe, EverySpectrumArrivesOnceInOrderOnAnotherThread) {
  std::vector<std::string> seen;
  std::thread::id consumer;
  std::string error;
  const bool read = readThroughPipe(readerOf(5000), [&](const OpenSpectrum& spectrum, std::string&) {
    seen.push_back(spectrum.nativeId);
    EXPECT_EQ(spectrum.mz.size(), (seen.size() - 1) % 50);
    consumer = std::this_thread::get_id();
    return true;
  }, error, 4);
  ASSERT_TRUE(read) << error;
  ASSERT_EQ(seen.size(), 5000u);
  for (int i = 0; i < 5000; ++i) EXPECT_EQ(seen[static_cast<std::size_t>(i)], "s" + std::to_string(i));
  EXPECT_NE(consumer, std::this_thread::get_id());
}

TEST(SpectrumPipe, ConsumerFailureStopsTheReadingWithItsReason) {
  int consumed = 0;
  std::string error;
  const bool read = readThroughPipe(readerOf(100000), [&](const OpenSpectrum&, std::string& reason) {
    if (++consumed == 10) {
      reason = "disk full";
      return false;
    }
    return true;
  }, error, 2);
  EXPECT_FALSE(read);
  EXPECT_EQ(error, "disk full");
  EXPECT_EQ(consumed, 10);
}

TEST(SpectrumPipe, ReaderFailureIsReportedAfterEverythingReadWasConsumed) {
  int consumed = 0;
  std::string error;
  const bool read = readThroughPipe(readerOf(300, true), [&](const OpenSpectrum&, std::string&) {
    ++consumed;
    return true;
  }, error);
  EXPECT_FALSE(read);
  EXPECT_EQ(error, "truncated at the end");
  EXPECT_EQ(consumed, 300);
}

TEST(SpectrumPipe, ConsumerExceptionBecomesAFailure) {
  std::string error;
  const bool read = readThroughPipe(readerOf(50), [&](const OpenSpectrum&, std::string&) -> bool {
    throw std::runtime_error("out of memory");
  }, error);
  EXPECT_FALSE(read);
  EXPECT_EQ(error, "out of memory");
}

TEST(SpectrumPipe, NothingToRead) {
  std::string error;
  int consumed = 0;
  EXPECT_TRUE(readThroughPipe(readerOf(0), [&](const OpenSpectrum&, std::string&) { return ++consumed > 0; }, error));
  EXPECT_EQ(consumed, 0);
}

}  // namespace
}  // namespace corvid
