#include "dictionary/lzss_calls.h"

#include <string.h>

#include <algorithm>
#include <stdexcept>

namespace zeldc_test {

namespace {

void Require(bool holds, const char* what) {
  if (!holds) throw std::runtime_error(what);
}

Bytes Slice(const Bytes& bytes, size_t from, size_t size) {
  const auto start = bytes.begin() + static_cast<ptrdiff_t>(from);
  return Bytes(start, start + static_cast<ptrdiff_t>(size));
}

class Pieces {
 public:
  explicit Pieces(const LzssSplits& splits) : splits_(splits), random_(splits.seed) {}
  size_t Piece(size_t left) { return left == 0 ? 0 : Next(std::min(splits_.piece, left)); }
  size_t Room(size_t most) { return Next(std::min(splits_.room, most)); }

 private:
  size_t Next(size_t most) { return splits_.seed == 0 ? most : Uniform(random_, 1, most); }

  LzssSplits splits_;
  Random random_;
};

}  // namespace

LzssRecord::LzssRecord(LzssKind kind, uint8_t fill, Guard guard) : memory_(kLzssRecordSize, guard) {
  memset(memory_.data(), fill, memory_.size());
  Require((kind == LzssKind::kEncoder ? zelsEncodeLZSSInit_8u : zelsDecodeLZSSInit_8u)(get()) == zelOk, "Init");
}

LzssResult LzssEncodeCall(zelLZSSState* state, const Bytes& input, size_t room) {
  const GuardedBuffer source(input);
  const GuardedBuffer output(room);
  uint8_t* src = source.data();
  uint8_t* dst = output.data();
  int32_t src_len = static_cast<int32_t>(input.size());
  int32_t dst_len = static_cast<int32_t>(room);
  LzssResult r;
  r.status = zelsEncodeLZSS_8u(&src, &src_len, &dst, &dst_len, state);
  Require(src_len >= 0 && src + src_len == source.end(), "the encoder's source is moved by what it counts");
  Require(dst_len >= 0 && dst + dst_len == output.end(), "the encoder's output is moved by what it counts");
  Require(r.status == zelOk || r.status == zelWarnDstFull, "the encoder answers Ok or DstFull");
  if (room > 0 && !input.empty()) {
    Require((r.status == zelWarnDstFull) == (dst_len == 0), "the encoder answers DstFull when the room is filled");
  }
  if (r.status == zelOk) Require(src_len == 0, "the encoder leaves input only when the room is filled");
  r.bytes = Bytes(output.data(), dst);
  r.consumed = static_cast<size_t>(src - source.data());
  return r;
}

LzssResult LzssFlushCall(zelLZSSState* state, size_t room) {
  const GuardedBuffer output(room);
  uint8_t* dst = output.data();
  int32_t dst_len = static_cast<int32_t>(room);
  LzssResult r;
  r.status = zelsEncodeLZSSFlush_8u(&dst, &dst_len, state);
  Require(dst_len >= 0 && dst + dst_len == output.end(), "Flush's output is moved by what it counts");
  Require(r.status == (dst_len == 0 ? zelWarnDstFull : zelOk), "Flush answers DstFull when the room is filled");
  r.bytes = Bytes(output.data(), dst);
  return r;
}

LzssResult LzssDecodeCall(zelLZSSState* state, const Bytes& stream, size_t room) {
  const GuardedBuffer source(stream);
  const GuardedBuffer output(room);
  uint8_t* src = source.data();
  uint8_t* dst = output.data();
  int32_t src_len = static_cast<int32_t>(stream.size());
  int32_t dst_len = static_cast<int32_t>(room);
  LzssResult r;
  r.status = zelsDecodeLZSS_8u(&src, &src_len, &dst, &dst_len, state);
  Require(src_len >= 0 && src + src_len == source.end(), "the decoder's source is moved by what it counts");
  Require(dst_len >= 0 && dst + dst_len == output.end(), "the decoder's output is moved by what it counts");
  Require((r.status == zelWarnDstFull) == (dst_len == 0) || r.status == zelErrBadData,
          "the decoder answers DstFull when the room is filled");
  if (r.status == zelOk) Require(src_len == 0, "the decoder answers Ok when the input is spent");
  r.bytes = Bytes(output.data(), dst);
  r.consumed = static_cast<size_t>(src - source.data());
  return r;
}

Bytes LzssEncodeWith(zelLZSSState* state, const Bytes& input, const LzssSplits& splits) {
  Pieces pieces(splits);
  Bytes stream;
  const size_t enough = input.size() + input.size() / 8 + 8;
  for (size_t done = 0; done < input.size();) {
    size_t piece = pieces.Piece(input.size() - done);
    while (piece > 0) {
      const LzssResult r = LzssEncodeCall(state, Slice(input, done, piece), pieces.Room(enough));
      Append(stream, r.bytes);
      done += r.consumed;
      piece -= r.consumed;
    }
  }
  for (;;) {
    const LzssResult r = LzssFlushCall(state, pieces.Room(5));
    Append(stream, r.bytes);
    if (r.status == zelOk) return stream;
  }
}

Bytes LzssEncode(const Bytes& input, const LzssSplits& splits) {
  return LzssEncodeWith(LzssRecord(LzssKind::kEncoder).get(), input, splits);
}

LzssResult LzssDecodeWith(zelLZSSState* state, const Bytes& stream, const LzssSplits& splits, size_t max_output) {
  Pieces pieces(splits);
  LzssResult all;
  while (all.bytes.size() < max_output) {
    const size_t piece = pieces.Piece(stream.size() - all.consumed);
    const size_t most = std::min(LzssDecodedBound(piece), max_output - all.bytes.size());
    const LzssResult r = LzssDecodeCall(state, Slice(stream, all.consumed, piece), pieces.Room(most));
    Append(all.bytes, r.bytes);
    all.consumed += r.consumed;
    all.status = r.status;
    if (r.status < 0 || (r.status == zelOk && all.consumed == stream.size())) break;
  }
  return all;
}

LzssResult LzssDecode(const Bytes& stream, const LzssSplits& splits, size_t max_output) {
  return LzssDecodeWith(LzssRecord(LzssKind::kDecoder).get(), stream, splits, max_output);
}

}  // namespace zeldc_test
