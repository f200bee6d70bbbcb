// The header of a member of an .lzo file. A file is one member or several, one behind the other.
//
//   9 bytes  89 4C 5A 4F 00 0D 0A 1A 0A
//   2        version of the program that wrote the file
//   2        version of its library
//   2        version that a program must have to read it
//   1        method: 1 LZO1X-1, 2 LZO1X-1 with a smaller table, 3 LZO1X-999
//   1        level
//   4        flags
//   4        filter, if the flags say so
//   4        permissions and kind of the file
//   4 + 4    time of its last change, lower word first
//   1 + n    length of its name, and the name
//   4        checksum of all of this but the first 9 bytes: CRC-32 if the flags say so, else Adler-32
//
// All numbers have the most significant byte first. Blocks follow, see blocks.h.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

#include "common/file_streams.h"
#include "zellzop/options.h"

namespace zellzop {

enum HeaderFlags : uint32_t {
  kAdlerOfData = 0x1,        // a block has the Adler-32 of its data
  kAdlerOfCompressed = 0x2,  // and of what it is compressed to
  kFromStdin = 0x4,
  kToStdout = 0x8,
  kCrcOfData = 0x100,  // the same with CRC-32
  kCrcOfCompressed = 0x200,
  kHasFilter = 0x800,
  kCrcOfHeader = 0x1000,
  kUnix = 0x03000000,
};

enum Method : uint8_t { kLzo1x1 = 1, kLzo1x1Of15Bits = 2, kLzo1x999 = 3 };

struct MemberHeader {
  uint8_t method = kLzo1x1;
  uint8_t level = 5;
  uint32_t flags = kUnix;
  uint32_t filter = 0;
  uint32_t mode = 0;
  uint64_t time = 0;
  std::string name;
  uint64_t size = 0;  // as it was read: bytes of it in the file, with the magic bytes
};

inline constexpr int kMagicBytes = 9;
extern const uint8_t kMemberMagic[kMagicBytes];

// The header with its magic bytes.
std::vector<uint8_t> Encode(const MemberHeader& header);

// Reads what follows the magic bytes. What cannot be read is a Failure that names the file.
MemberHeader ReadMemberHeader(example::InputCursor& input);

uint32_t Adler32(const uint8_t* bytes, size_t count);
uint32_t Crc32(const uint8_t* bytes, size_t count);

void PutWord(std::vector<uint8_t>& bytes, uint32_t value);
uint32_t WordAt(const uint8_t* bytes);

}  // namespace zellzop
