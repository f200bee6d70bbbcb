// Any bytes as an LZSS stream, with any splits: every call answers what the plain decoder does.

#include <algorithm>

#include "dictionary/lzss_model.h"
#include "fuzz_support.h"

using namespace zeldc_fuzz;
using namespace zeldc_test;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const size_t piece = input.Piece();
  const size_t room = input.Piece();
  const uint64_t seed = input.Byte();
  // As many literals first as there are bytes to reach back to.
  const size_t literals = input.Byte() * 8u;
  Bytes stream(literals / 8 * 9, 0xFF);
  Append(stream, input.Rest());
  constexpr size_t kMostOutput = 100000;

  const LzssRecord record(LzssKind::kDecoder);
  PlainLzssDecoder plain;
  Random random(seed);
  auto next = [&](size_t most) { return seed == 0 ? most : Uniform(random, 1, most); };
  size_t made = 0;
  // Small pieces and rooms cost time.
  const size_t most_calls = 3000;
  size_t done = 0;
  for (size_t call = 0; call < most_calls && made < kMostOutput; ++call) {
    const size_t left = std::min(piece, stream.size() - done);
    const size_t given = left == 0 ? 0 : next(left);
    const auto start = stream.begin() + static_cast<ptrdiff_t>(done);
    const Bytes source(start, start + static_cast<ptrdiff_t>(given));
    const size_t given_room = next(std::min(room, LzssDecodedBound(given)));
    const LzssResult expected = plain.Call(source, given_room);
    const LzssResult r = LzssDecodeCall(record.get(), source, given_room);
    Check(r.status == expected.status, "another status than the plain decoder's");
    Check(r.bytes == expected.bytes, "other bytes than the plain decoder's");
    if (r.status < 0) break;
    Check(r.consumed == expected.consumed, "the plain decoder has consumed another number of bytes");
    made += r.bytes.size();
    done += r.consumed;
    if (r.status == zelOk && done == stream.size()) break;
  }
  return 0;
}
