#include "startup/entry.h"

namespace corvid {

int runEntry(int, char**) { return 0; }

}  // namespace corvid
