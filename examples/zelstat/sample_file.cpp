#include "zelstat/sample_file.h"

#include <algorithm>
#include <cstring>

namespace zelstat {

namespace {

constexpr int32_t kMostChannels = 64;

uint32_t LittleEndian(const Bytes& file, size_t at, int bytes) {
  uint32_t value = 0;
  for (int i = bytes; i-- > 0;) value = value << 8 | file[at + static_cast<size_t>(i)];
  return value;
}

bool Stands(const char* name, const Bytes& file, size_t at) {
  return at + 4 <= file.size() && std::memcmp(&file[at], name, 4) == 0;
}

struct Wave {
  size_t start = 0;
  size_t size = 0;
  int32_t channels = 1;
};

// Where a RIFF file of kind WAVE has its samples; size 0 when it has none of 16 bits. A chunk that ends behind the
// file, as programs that write to a pipe leave it, ends with the file.
Wave FindWave(const Bytes& file) {
  Wave wave;
  bool has16Bits = false;
  for (size_t at = 12; at + 8 <= file.size();) {
    const size_t start = at + 8;
    const size_t size = std::min(static_cast<size_t>(LittleEndian(file, at + 4, 4)), file.size() - start);
    if (Stands("fmt ", file, at) && size >= 16) {
      const int32_t channels = static_cast<int32_t>(LittleEndian(file, start + 2, 2));
      wave.channels = std::clamp(channels, 1, kMostChannels);
      has16Bits = LittleEndian(file, start + 14, 2) == 16;
    }
    if (Stands("data", file, at)) {
      wave.start = start;
      wave.size = has16Bits ? size : 0;
      break;
    }
    at = start + size + size % 2;
  }
  return wave;
}

}  // namespace

Samples ReadSamples(const Bytes& file) {
  Samples samples;
  Wave wave = {0, file.size(), 1};
  samples.kind = "raw samples";
  if (Stands("RIFF", file, 0) && Stands("WAVE", file, 8)) {
    const Wave found = FindWave(file);
    if (found.size >= 2) {
      wave = found;
      samples.kind = "WAV, " + std::to_string(found.channels) + (found.channels == 1 ? " channel" : " channels");
    }
  }
  samples.channels = wave.channels;
  for (size_t at = wave.start; at + 2 <= wave.start + wave.size; at += 2) {
    samples.values.push_back(static_cast<int16_t>(LittleEndian(file, at, 2)));
  }
  return samples;
}

}  // namespace zelstat
