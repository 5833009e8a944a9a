#pragma once
// Multi-gigabyte spectrum files become hundreds of megabytes of peak lists, and on a virtual
// machine first-touch page faults then cost more than parsing: backing the heap with
// transparent huge pages doubles to triples loading speed at the same peak memory. glibc reads
// that setting only at process start, so the program re-executes itself once with it set.
namespace corvid {

// Call first in main(). Returns normally when the setting is in force, unavailable (not glibc,
// sanitizer builds with their own allocator) or the re-execution failed.
void useHugePageHeap(char** argv);

}  // namespace corvid
