// The run-length stages: any bytes through the decoders and any data, in any pieces and rooms, through the encoders
// give what the plain definitions give, data comes back, and nothing outside the buffers is touched.

#include <string.h>

#include <algorithm>

#include "bzip2/plain_run_length_model.h"
#include "fuzz_support.h"
#include "support/data.h"
#include "support/guarded_buffer.h"
#include "zeldc.h"

using namespace zeldc_fuzz;
using zeldc_test::GuardedBuffer;
using zeldc_test::PlainDecodeBzip2;
using zeldc_test::PlainDecodePairs;
using zeldc_test::PlainEncodeBzip2;
using zeldc_test::PlainEncodePairs;
using zeldc_test::Random;
using zeldc_test::RunLengthResult;
using zeldc_test::Uniform;

namespace {

// One call, with source and room before guard pages.
template <typename Coder>
RunLengthResult Call(const Bytes& bytes, size_t room, Coder coder) {
  const GuardedBuffer source(bytes);
  const GuardedBuffer destination(room);
  uint8_t* src = source.data();
  int32_t src_len = static_cast<int32_t>(bytes.size());
  int32_t dst_len = static_cast<int32_t>(room);
  RunLengthResult result;
  result.status = coder(&src, &src_len, destination.data(), &dst_len);
  Check(src + src_len == source.end() && src_len >= 0, "the bytes left are not those not consumed");
  result.consumed = static_cast<size_t>(src - source.data());
  result.bytes = Bytes(destination.data(), destination.data() + dst_len);
  return result;
}

void CheckAsPlain(const RunLengthResult& got, const RunLengthResult& expected) {
  Check(got.bytes == expected.bytes, "the output is not the plain definition's");
  Check(got.consumed == expected.consumed, "other bytes are consumed than by the plain definition");
  Check(got.status == expected.status, "the status is not the plain definition's");
}

Bytes Slice(const Bytes& bytes, size_t from, size_t size) {
  const size_t to = std::min(bytes.size(), from + size);
  return Bytes(bytes.begin() + static_cast<ptrdiff_t>(from), bytes.begin() + static_cast<ptrdiff_t>(to));
}

void Append(Bytes& to, const Bytes& bytes) { to.insert(to.end(), bytes.begin(), bytes.end()); }

void CheckBzip2(const Bytes& data, size_t largest_piece, size_t largest_room, Random& splits) {
  zelRLEState_BZ2 state;
  zelRLEState_BZ2 plain_state;
  zelsEncodeRLEInit_BZ2_8u(&state);
  zelsEncodeRLEInit_BZ2_8u(&plain_state);
  Bytes encoded;
  for (size_t done = 0; done < data.size();) {
    const Bytes piece = Slice(data, done, Uniform(splits, 1, largest_piece));
    const size_t room = Uniform(splits, 1, largest_room);
    const RunLengthResult got = Call(piece, room, [&](uint8_t** src, int32_t* src_len, uint8_t* dst, int32_t* dst_len) {
      return zelsEncodeRLE_BZ2_8u(src, src_len, dst, dst_len, &state);
    });
    CheckAsPlain(got, PlainEncodeBzip2(piece, room, plain_state));
    Check(memcmp(&state, &plain_state, sizeof(state)) == 0, "the state is not the plain definition's");
    Append(encoded, got.bytes);
    done += got.consumed;
  }
  uint8_t count;
  int32_t count_len = 1;
  Check(zelsEncodeRLEFlush_BZ2_8u(&count, &count_len, &state) == zelOk, "Flush fails");
  if (count_len == 1) encoded.push_back(count);
  Check(Call(encoded, data.size() + 1, zelsDecodeRLE_BZ2_8u).bytes == data,
        "the bzip2 decoder does not give the data back");
}

void CheckPlainCode(const Bytes& data, size_t largest_room, Random& splits) {
  Bytes encoded;
  for (size_t done = 0; done < data.size();) {
    const Bytes left = Slice(data, done, data.size());
    const size_t room = Uniform(splits, 1, largest_room);
    const RunLengthResult got = Call(left, room, zelsEncodeRLE_8u);
    CheckAsPlain(got, PlainEncodePairs(left, room));
    Check(got.consumed > 0 || room < 3, "a room of 3 is not enough");
    Append(encoded, got.bytes);
    done += got.consumed;
    if (got.consumed == 0) largest_room += 3;
  }
  if (data.empty()) return;
  Check(Call(encoded, data.size(), zelsDecodeRLE_8u).bytes == data, "the plain decoder does not give the data back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  Input input(bytes, size);
  const size_t decoder_room = 1 + input.Word() % 20000;
  const size_t largest_piece = 1 + input.Word() % 3000;
  const size_t largest_room = 1 + input.Word() % 3000;
  const unsigned longest_run = 1 + input.Byte() * 3u;
  const Bytes rest = input.Rest();
  if (rest.empty()) return 0;

  CheckAsPlain(Call(rest, decoder_room, zelsDecodeRLE_BZ2_8u), PlainDecodeBzip2(rest, decoder_room));
  CheckAsPlain(Call(rest, decoder_room, zelsDecodeRLE_8u), PlainDecodePairs(rest, decoder_room));

  // The input's bytes, some of them repeated. Small pieces cost time: the smaller they are, the less data.
  const size_t most = std::min<size_t>(20000, 200 * std::min(largest_piece, largest_room));
  Bytes data;
  for (size_t i = 0; i < rest.size() && data.size() < most; ++i) {
    data.insert(data.end(), 1 + (i % 3 == 0 ? rest[i] * 5u % longest_run : 0), static_cast<uint8_t>(rest[i] / 16));
  }
  Random splits(size);
  CheckBzip2(data, largest_piece, largest_room, splits);
  CheckPlainCode(data, largest_room, splits);
  return 0;
}
