// The record of the VLC decoder, and how it is made.
#pragma once

#include <stdint.h>

#include "entropy/vlc_record.h"
#include "zeldc/vlc.h"

namespace zeldc {

inline constexpr int32_t kMaxVlcLength = 32;
inline constexpr int32_t kMaxTupleBits = 31;

}  // namespace zeldc

// Behind the record stand sub-tables, the first level's first, each of them an element that holds its index width w and
// 2^w entries. An entry is
//   a leaf    bit 0 is 1, `lengthBits` bits say how many bits of the code this level takes, the rest is the value;
//   a link    bit 0 is 0, the rest is the distance in elements to the next level's sub-table;
//   unused    -2: no code begins this way.
struct zelVLCDecodeState {
  static constexpr uint32_t kMagic = 0x434D4160;

  uint32_t magic;
  int32_t isAllocated;
  int32_t maxLen;        // of all codes
  int32_t tableOffset;   // of the first sub-table, in bytes from here
  int32_t elementWidth;  // 8, 16 or 32
  int32_t lengthBits;    // of a leaf
  int32_t tupleSize;     // 0 without tuples, like the next two
  int32_t elementBits;   // of the elements of a tuple
  int32_t packedBits;    // of all of them together
  int32_t isComplete;    // 1 when every pattern of bits is a code, or the beginning of one

  const void* Table() const { return reinterpret_cast<const char*>(this) + tableOffset; }
};

namespace zeldc {

inline constexpr int32_t kVlcUnused = -2;
// Memory for a record is this and its elements.
inline constexpr int32_t kVlcDecodeBaseSize = 88;
static_assert(sizeof(zelVLCDecodeState) % 4 == 0 && alignof(zelVLCDecodeState) == 4);
static_assert(sizeof(zelVLCDecodeState) + kVlcRecordSlack <= kVlcDecodeBaseSize);

struct VlcTable {
  const zelVLCCode* codes;
  int32_t size;
  const int32_t* widths;
  int32_t numWidths;
};

struct VlcTuple {
  int32_t size = 0;
  int32_t elementBits = 0;
  bool isWanted = false;
};

// What a record for a table looks like.
struct VlcLayout {
  int32_t maxLen;
  int32_t numLevels;
  int32_t widths[kMaxVlcLength];  // of the levels; they add up to maxLen
  int32_t elements;
  int32_t elementWidth;
  int32_t lengthBits;
  bool isComplete;
  int32_t size;  // of the memory
};

// Checks everything but pointers.
zelStatus PlanVlcTable(const VlcTable& table, const VlcTuple& tuple, VlcLayout* layout);

void BuildVlcTable(const VlcTable& table, const VlcTuple& tuple, const VlcLayout& layout, int32_t isAllocated,
                   zelVLCDecodeState* memory);

}  // namespace zeldc
