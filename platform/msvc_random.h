#pragma once
// The C runtime generator of the Windows build, reproduced exactly so that sampled scans are
// identical on every platform: state = state * 214013 + 2531011 (mod 2^32), draw = bits 16..30.
#include <cstdint>

namespace corvid {

struct MsvcRandom {
  std::uint32_t state = 1;  // the runtime's state before any srand()
  void seed(std::uint32_t value) { state = value; }
  int next() {
    state = state * 214013u + 2531011u;
    return static_cast<int>((state >> 16) & 0x7FFF);
  }
};

}  // namespace corvid
