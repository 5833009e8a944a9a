#include "spectra/read_buffer.h"

#include <cstdint>
#include <new>

#include "platform/run_failure.h"

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace corvid {
namespace {

// Under AddressSanitizer every buffer comes from the heap, where overruns are caught.
#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__)
constexpr bool kMapLargeBuffers = true;
#else
constexpr bool kMapLargeBuffers = false;
#endif

// Size and alignment of a transparent huge page on x86-64 and most 64-bit ARM kernels.
constexpr std::size_t kHugePageBytes = std::size_t{2} << 20;

[[noreturn]] void failAllocation(std::size_t bytes, const std::string& path) {
  throw RunFailure{"Fail to get " + std::to_string(bytes) + " bytes of memory to read " + path +
                   "!\n"};
}

}  // namespace

ReadBuffer::ReadBuffer(std::size_t bytes, const std::string& path) : size(bytes) {
  if (bytes == 0) bytes = 1;
#ifdef __linux__
  if (kMapLargeBuffers && bytes >= kHugePageBytes) {
    // One huge page extra, so that the buffer can start on a huge-page boundary.
    mappingBytes_ = bytes + kHugePageBytes;
    void* mapping = mmap(nullptr, mappingBytes_, PROT_READ | PROT_WRITE,
                         MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapping == MAP_FAILED) failAllocation(bytes, path);
    mapping_ = mapping;
    const auto start = reinterpret_cast<std::uintptr_t>(mapping);
    const std::uintptr_t aligned = (start + kHugePageBytes - 1) & ~(kHugePageBytes - 1);
    data = reinterpret_cast<char*>(aligned);
    madvise(data, bytes, MADV_HUGEPAGE);  // a hint: without huge pages it still works
    return;
  }
#endif
  data = new (std::nothrow) char[bytes];
  if (data == nullptr) failAllocation(bytes, path);
}

ReadBuffer::~ReadBuffer() {
#ifdef __linux__
  if (mapping_ != nullptr) {
    munmap(mapping_, mappingBytes_);
    return;
  }
#endif
  delete[] data;
}

}  // namespace corvid
