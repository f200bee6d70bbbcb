#include "zelzlib/zlib_format.h"

#include <algorithm>
#include <limits>

#include "common/messages.h"
#include "zeldc.h"

namespace zelzlib {

namespace {

constexpr uint32_t kDeflate = 8;
constexpr uint32_t kDictionaryFlag = 0x20;

void WriteBigEndian(uint32_t value, example::Output& output) {
  const uint8_t bytes[4] = {static_cast<uint8_t>(value >> 24), static_cast<uint8_t>(value >> 16),
                            static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
  output.Put(bytes, sizeof bytes);
}

uint32_t ReadBigEndian(BitReader& reader) {
  uint32_t value = 0;
  for (int i = 0; i < 4; ++i) value = value << 8 | reader.Take(8);
  return value;
}

}  // namespace

void Add(const uint8_t* bytes, size_t count, uint32_t& adler) {
  while (count > 0) {
    const size_t part = std::min<size_t>(count, std::numeric_limits<int32_t>::max());
    zelsAdler32_8u(bytes, static_cast<int32_t>(part), &adler);
    bytes += part;
    count -= part;
  }
}

void WriteHeader(const Header& header, example::Output& output) {
  const uint32_t method = static_cast<uint32_t>(header.windowBits - 8) << 4 | kDeflate;
  const uint32_t levelClass = header.level < 2 ? 0 : header.level < 6 ? 1 : header.level == 6 ? 2 : 3;
  uint32_t flags = levelClass << 6 | (header.hasDictionary ? kDictionaryFlag : 0);
  flags += 31 - (method << 8 | flags) % 31;  // both bytes together are a multiple of 31
  const uint8_t bytes[2] = {static_cast<uint8_t>(method), static_cast<uint8_t>(flags)};
  output.Put(bytes, sizeof bytes);
  if (header.hasDictionary) WriteBigEndian(header.dictionaryAdler, output);
}

void WriteTrailer(uint32_t adler, example::Output& output) { WriteBigEndian(adler, output); }

Header ReadHeader(BitReader& reader) {
  Header header;
  const uint32_t method = reader.Take(8);
  const uint32_t flags = reader.Take(8);
  header.windowBits = static_cast<int>(method >> 4) + 8;
  if ((method << 8 | flags) % 31 != 0 || (method & 15) != kDeflate || header.windowBits > kMaxWindowBits) {
    throw example::Failure(reader.name() + ": not in zlib format");
  }
  header.hasDictionary = (flags & kDictionaryFlag) != 0;
  if (header.hasDictionary) header.dictionaryAdler = ReadBigEndian(reader);
  return header;
}

uint32_t ReadTrailer(BitReader& reader) {
  reader.SkipToByte();
  return ReadBigEndian(reader);
}

}  // namespace zelzlib
