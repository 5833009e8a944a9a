#include "platform/heap_tuning.h"
#include "startup/entry.h"

int main(int argc, char** argv) {
  corvid::useHugePageHeap(argv);
  return corvid::runEntry(argc, argv);
}
