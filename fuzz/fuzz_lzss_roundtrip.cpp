// Any data through the LZSS coder and back, with any splits on either side. How the output is split does not show in
// the stream.

#include <algorithm>

#include "dictionary/lzss_calls.h"
#include "fuzz_support.h"

using namespace zeldc_fuzz;
using namespace zeldc_test;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  Input input(bytes, size);
  LzssSplits encode, decode;
  encode.piece = input.Piece();
  encode.room = input.Piece();
  encode.seed = input.Byte();
  decode.piece = input.Piece();
  decode.room = input.Piece();
  decode.seed = input.Byte();
  // The rest, again and again where it says so, with bytes changed: so that there is more than a window of it.
  const size_t copies = 1 + input.Byte() % 64u;
  const Bytes rest = input.Rest();
  const bool small = std::min({encode.piece, encode.room, decode.piece, decode.room}) < 100;
  const size_t most = small ? 1500 : 80000;
  Bytes data;
  for (size_t i = 0; i < copies && data.size() + rest.size() <= most; ++i) {
    Append(data, rest);
    if (!data.empty()) data[data.size() / 2] ^= static_cast<uint8_t>(i);
  }

  const Bytes stream = LzssEncode(data, encode);
  Check(stream.size() <= (data.size() * 9 + 7) / 8, "more than 9 bits a byte");
  if (encode.seed == 0) {
    LzssSplits other = encode;
    other.room = SIZE_MAX;
    Check(LzssEncode(data, other) == stream, "the split of the output shows");
  }
  const LzssResult back = LzssDecode(stream, decode);
  Check(back.status == zelOk && back.bytes == data && back.consumed == stream.size(),
        "the decoder does not give the data back");
  return 0;
}
