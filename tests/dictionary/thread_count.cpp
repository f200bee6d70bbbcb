#include "dictionary/thread_count.h"

#include "zelcore.h"

namespace zeldc_test {

ThreadCount& Threads() {
  static ThreadCount count;
  return count;
}

}  // namespace zeldc_test

extern "C" int32_t ownGetNumThreads(void) {
  ++zeldc_test::Threads().asked;
  return zeldc_test::Threads().answer;
}
