#include "zelbzip2/run_expansion.h"

#include <algorithm>

#include "zelbzip2/format.h"

namespace zelbzip2 {

namespace {

// A piece fits into the output's buffer even if it is nothing but runs: five bytes stand for at most 259.
constexpr ptrdiff_t kPieceBytes = 16 << 10;
static_assert(kPieceBytes / 5 * 259 + 259 <= static_cast<ptrdiff_t>(kExpansionBufferBytes));

// Where to cut the bytes so that no run of equal ones and no run's count is cut off; at most at `most` bytes. Fewer
// than five bytes are no reason to cut.
const uint8_t* CutBetweenRuns(const uint8_t* begin, const uint8_t* end, ptrdiff_t most) {
  if (end - begin <= most) return end;
  // Between two different bytes no run goes on, and the second is no count unless four equal ones stand before it.
  for (const uint8_t* cut = begin + most; cut - begin >= 4; --cut) {
    const bool behindFour = cut[-4] == cut[-1] && cut[-3] == cut[-1] && cut[-2] == cut[-1];
    if (cut[-1] != cut[0] && !behindFour) return cut;
  }
  // Nothing but runs with counts: find them from the start.
  const uint8_t* cut = begin;
  int run = 0;
  for (const uint8_t* at = begin; at < begin + most; ++at) {
    if (run == 4) {
      cut = at + 1;
      run = 0;
    } else {
      run = run > 0 && at[0] == at[-1] ? run + 1 : 1;
    }
  }
  return cut;
}

}  // namespace

uint32_t ExpandRuns(std::vector<uint8_t>& block, example::Output& output) {
  uint32_t crc = 0;
  uint8_t* from = block.data();
  const uint8_t* const end = from + block.size();
  while (from < end) {
    // Most pieces are no longer behind the stage than before it, so several fit into the buffer.
    if (output.room < kPieceBytes / 5 * 259 + 259) output.Flush();
    int32_t left = static_cast<int32_t>(CutBetweenRuns(from, end, kPieceBytes) - from);
    int32_t written = output.room;
    Expect(zelsDecodeRLE_BZ2_8u(&from, &left, output.next, &written), "zelsDecodeRLE_BZ2_8u");
    Expect(zelsCRC32_BZ2_8u(output.next, written, &crc), "zelsCRC32_BZ2_8u");
    output.next += written;
    output.room -= written;
  }
  return crc;
}

}  // namespace zelbzip2
