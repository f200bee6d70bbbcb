// Samples of 16 bits in a file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "zelstat/measure.h"

namespace zelstat {

struct Samples {
  std::vector<int16_t> values;
  int32_t channels = 1;  // the samples of each moment stand side by side
  std::string kind;      // what the file turned out to be
};

// The samples of a WAV file; of any other all bytes, the low byte of each sample first. An odd last byte is dropped.
Samples ReadSamples(const Bytes& file);

}  // namespace zelstat
