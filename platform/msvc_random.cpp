#include "platform/msvc_random.h"

namespace corvid {

MsvcRandom& processRandom() {
  static MsvcRandom generator;
  return generator;
}

}  // namespace corvid
