#include "zelstat/measure.h"

#include <time.h>

#include <algorithm>
#include <cmath>

namespace zelstat {

namespace {

constexpr int kMostRuns = 5;
constexpr double kEnoughSeconds = 0.3;

double ProcessorSeconds() {
  timespec time;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

}  // namespace

void Check(zelStatus status, const char* function) {
  if (status == zelErrNoMem) throw CoderError("memory exhausted");
  if (status < 0) throw CoderError(std::string(function) + " answers " + std::to_string(status));
}

double SecondsOf(const std::function<void()>& run) {
  double shortest = 0, sum = 0;
  for (int i = 0; i < kMostRuns && sum < kEnoughSeconds; ++i) {
    const double start = ProcessorSeconds();
    run();
    const double seconds = ProcessorSeconds() - start;
    shortest = i == 0 ? seconds : std::min(shortest, seconds);
    sum += seconds;
  }
  return shortest;
}

uint64_t EntropyBytes(const std::vector<uint32_t>& counts) {
  double sum = 0;
  for (const uint32_t count : counts) sum += count;
  double bits = 0;
  for (const uint32_t count : counts) {
    if (count > 0) bits += count * std::log2(sum / count);
  }
  return static_cast<uint64_t>(std::ceil(bits / 8 - 1e-6));
}

}  // namespace zelstat
