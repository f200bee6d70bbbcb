// Checksums: one call on a fresh value, from the short messages that decide real programs to main memory.

#include <libdeflate.h>
#include <zlib.h>

#include <array>

#include "bench.h"

namespace {

constexpr size_t kLargest = size_t{16} << 20;

// Pseudo-random bytes, the same in every run and at the start of a cache line: some peers' speed on short messages
// depends on the address, and they shall have their best.
const uint8_t* Data() {
  struct Line {
    alignas(64) uint8_t bytes[64];
  };
  static const std::vector<Line> lines = [] {
    std::vector<Line> made(kLargest / sizeof(Line));
    uint64_t x = 0x9E3779B97F4A7C15;
    for (Line& line : made) {
      for (uint8_t& byte : line.bytes) {
        x ^= x << 13;
        x ^= x >> 7;
        x ^= x << 17;
        byte = static_cast<uint8_t>(x >> 56);
      }
    }
    return made;
  }();
  return reinterpret_cast<const uint8_t*>(lines.data());
}

// The plain definitions: one table look-up a byte.
using Table = std::array<uint32_t, 256>;

constexpr Table ReflectedTable(uint32_t polynomial) {
  Table table{};
  for (uint32_t i = 0; i < 256; ++i) {
    uint32_t r = i;
    for (int bit = 0; bit < 8; ++bit) r = (r >> 1) ^ (r & 1 ? polynomial : 0);
    table[i] = r;
  }
  return table;
}

constexpr Table ForwardTable(uint32_t polynomial) {
  Table table{};
  for (uint32_t i = 0; i < 256; ++i) {
    uint32_t r = i << 24;
    for (int bit = 0; bit < 8; ++bit) r = (r << 1) ^ (r >> 31 ? polynomial : 0);
    table[i] = r;
  }
  return table;
}

uint32_t PlainCrc32C(const uint8_t* data, size_t size) {
  static constexpr Table kTable = ReflectedTable(0x82F63B78);
  uint32_t r = ~uint32_t{0};
  for (size_t i = 0; i < size; ++i) r = kTable[(r ^ data[i]) & 0xFF] ^ (r >> 8);
  return ~r;
}

uint32_t PlainBzip2Crc(const uint8_t* data, size_t size) {
  static constexpr Table kTable = ForwardTable(0x04C11DB7);
  uint32_t r = ~uint32_t{0};
  for (size_t i = 0; i < size; ++i) r = kTable[(r >> 24) ^ data[i]] ^ (r << 8);
  return ~r;
}

uint32_t ZeldcAdler32(const uint8_t* data, size_t size) {
  uint32_t value = 1;
  zelsAdler32_8u(data, static_cast<int32_t>(size), &value);
  return value;
}

uint32_t ZeldcCrc32(const uint8_t* data, size_t size) {
  uint32_t value = 0;
  zelsCRC32_8u(data, static_cast<int32_t>(size), &value);
  return value;
}

uint32_t ZeldcCrc32C(const uint8_t* data, size_t size) {
  uint32_t value = ~uint32_t{0};
  zelsCRC32C_8u(data, static_cast<uint32_t>(size), &value);
  return ~value;
}

uint32_t ZeldcBzip2Crc(const uint8_t* data, size_t size) {
  uint32_t value = 0;
  zelsCRC32_BZ2_8u(data, static_cast<int32_t>(size), &value);
  return value;
}

uint32_t ZlibAdler32(const uint8_t* data, size_t size) {
  return static_cast<uint32_t>(adler32(1, data, static_cast<uInt>(size)));
}

uint32_t ZlibCrc32(const uint8_t* data, size_t size) {
  return static_cast<uint32_t>(crc32(0, data, static_cast<uInt>(size)));
}

uint32_t LibdeflateAdler32(const uint8_t* data, size_t size) { return libdeflate_adler32(1, data, size); }

uint32_t LibdeflateCrc32(const uint8_t* data, size_t size) { return libdeflate_crc32(0, data, size); }

using Checksum = uint32_t (*)(const uint8_t* data, size_t size);

// The function is a template argument, so that it is inlined and a short message pays for the library's call alone.
template <Checksum kChecksum>
void RegisterChecksum(const char* stage, const char* coder, size_t size, Checksum reference) {
  const std::string name = Name("checksum", stage, coder, size);
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    const uint8_t* data = Data();
    if (kChecksum(data, size) != reference(data, size)) Fail(name + " is wrong");
    for (auto _ : state) {
      uint32_t value = kChecksum(data, size);
      benchmark::DoNotOptimize(value);
    }
    state.SetBytesProcessed(static_cast<int64_t>(size) * static_cast<int64_t>(state.iterations()));
  });
}

}  // namespace

void RegisterChecksums(size_t largest) {
  std::vector<size_t> sizes = LadderSizes(std::min(largest, kLargest));
  sizes.insert(sizes.begin(), {1, 8, 16, 32});
  for (size_t size : sizes) {
    RegisterChecksum<ZeldcAdler32>("adler32", "zeldc", size, ZlibAdler32);
    RegisterChecksum<ZlibAdler32>("adler32", "zlib", size, ZlibAdler32);
    RegisterChecksum<LibdeflateAdler32>("adler32", "libdeflate", size, ZlibAdler32);
  }
  for (size_t size : sizes) {
    RegisterChecksum<ZeldcCrc32>("crc32", "zeldc", size, ZlibCrc32);
    RegisterChecksum<ZlibCrc32>("crc32", "zlib", size, ZlibCrc32);
    RegisterChecksum<LibdeflateCrc32>("crc32", "libdeflate", size, ZlibCrc32);
  }
  for (size_t size : sizes) {  // no peer knows this one; the yardstick is the speed of the CRC-32
    RegisterChecksum<ZeldcCrc32C>("crc32c", "zeldc", size, PlainCrc32C);
    RegisterChecksum<ZeldcCrc32>("crc32c", "own CRC-32", size, ZlibCrc32);
  }
  for (size_t size : sizes) {
    RegisterChecksum<ZeldcBzip2Crc>("crc32bz2", "zeldc", size, PlainBzip2Crc);
    RegisterChecksum<PlainBzip2Crc>("crc32bz2", "byte table", size, PlainBzip2Crc);
  }
}
