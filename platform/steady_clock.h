#pragma once
// Wall-clock milliseconds from a steady clock: elapsed times are wall time, never CPU time.
#include <chrono>
#include <cstdint>

namespace corvid {

inline std::int64_t steadyMilliseconds() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

}  // namespace corvid
