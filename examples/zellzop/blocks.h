// The blocks of a member of an .lzo file.
//
//   4 bytes  size of the data, at least 1; 0 ends the member, and nothing follows
//   4        size of what it is compressed to; the same as the data's: the data stands there as it is
//   4 each   Adler-32 and CRC-32 of the data, as far as the member's flags say so
//   4 each   the same of the compressed data, unless the data stands there as it is
//   n        the compressed data
#pragma once

#include <memory>
#include <vector>

#include "common/file_streams.h"
#include "zellzop/member_header.h"

namespace zellzop {

// Data of a block that is written.
inline constexpr size_t kBlockBytes = 256 << 10;

// Compresses the whole input into the blocks of a member whose header is written.
void CompressBlocks(example::Input& input, uint32_t flags, example::Output& output);

struct BlockSums {
  uint64_t data = 0;
  uint64_t compressed = 0;
};

// What is done with the blocks of a member.
enum class Blocks { kDecode, kDecodeUnchecked, kSkip };

// Reads the blocks up to the member's end. Damage is a Failure that names the file; what was good before it is in the
// output, which is flushed.
BlockSums ReadBlocks(example::InputCursor& input, const MemberHeader& header, Blocks what, example::Output& output);

// Whether another member follows the file's first one, whose header has been read. Looks at the heads of the blocks
// alone; what can't be read is no member.
bool HasSecondMember(int descriptor, const MemberHeader& header);

}  // namespace zellzop
