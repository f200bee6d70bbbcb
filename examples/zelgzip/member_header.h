// The header of a gzip member (RFC 1952 section 2.3).
#pragma once

#include <cstdint>
#include <string>

#include "common/file_streams.h"
#include "zeldc.h"

namespace zelgzip {

struct MemberHeader {
  uint32_t modificationTime = 0;  // seconds since 1970; 0 when it is not known
  std::string fileName;           // without directories; empty when it is not known
};

inline constexpr uint64_t kTrailerBytes = 8;

// What a cursor stands on.
enum class Ahead { kEnd, kMember, kZeros, kGarbage };

// Looks for another member behind one. Zeros that fill the rest of the input, as on a tape, are consumed.
Ahead LookAhead(example::InputCursor& cursor);

// Whether the input begins as a gzip file does. Nothing is consumed.
bool StandsOnMember(example::InputCursor& cursor);

// Reads a header. Whatever prevents decompression is a Failure. The header's size is added to `bytes`.
MemberHeader ReadHeader(example::InputCursor& cursor, uint64_t& bytes);

// Writes a header. Returns its size.
uint64_t WriteHeader(const MemberHeader& header, zelLZ77Level level, example::Output& output);

[[noreturn]] void ThrowUnexpectedEnd(const example::InputCursor& cursor);

}  // namespace zelgzip
