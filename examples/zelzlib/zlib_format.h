// The frame of a zlib stream (RFC 1950): two bytes, perhaps the dictionary's Adler-32, Deflate data, their Adler-32.
#pragma once

#include <cstdint>
#include <vector>

#include "common/file_streams.h"
#include "zelzlib/bit_reader.h"

namespace zelzlib {

inline constexpr int kMinWindowBits = 8;
inline constexpr int kMaxWindowBits = 15;
inline constexpr uint32_t kFreshAdler = 1;

struct Header {
  int windowBits = kMaxWindowBits;
  int level = 6;  // 1 to 9; a stream keeps it in two bits only
  bool hasDictionary = false;
  uint32_t dictionaryAdler = 0;
};

// The Adler-32 goes on by these bytes.
void Add(const uint8_t* bytes, size_t count, uint32_t& adler);

void WriteHeader(const Header& header, example::Output& output);
void WriteTrailer(uint32_t adler, example::Output& output);

// A stream that ends early, or that is not zlib's, is a Failure.
Header ReadHeader(BitReader& reader);
uint32_t ReadTrailer(BitReader& reader);

}  // namespace zelzlib
