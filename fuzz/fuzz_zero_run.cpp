// Zero-run coding: any bytes in any rooms come back, any symbols in any room give what the plain definition gives, and
// nothing outside the buffers is touched.

#include <string.h>

#include <algorithm>

#include "bzip2/plain_zero_run.h"
#include "fuzz_support.h"
#include "support/data.h"
#include "support/guarded_buffer.h"
#include "zeldc.h"

using namespace zeldc_fuzz;
using zeldc_test::GuardedBuffer;
using zeldc_test::PlainDecoded;
using zeldc_test::PlainDecodeZ1Z2;
using zeldc_test::PlainEncoded;
using zeldc_test::PlainEncodeZ1Z2;
using zeldc_test::Random;
using zeldc_test::Symbols;
using zeldc_test::Uniform;

namespace {

struct Decoded {
  zelStatus status;
  Bytes bytes;
  size_t consumed;
};

Decoded Decode(const Symbols& symbols, size_t room) {
  const GuardedBuffer destination(room);
  Symbols copy = symbols;
  uint16_t* src = copy.data();
  int32_t src_len = static_cast<int32_t>(copy.size());
  int32_t dst_len = static_cast<int32_t>(room);
  const zelStatus status = zelsDecodeZ1Z2_BZ2_16u8u(&src, &src_len, destination.data(), &dst_len);
  const auto consumed = static_cast<size_t>(src - copy.data());
  Check(consumed + static_cast<size_t>(src_len) == copy.size(), "the symbols left are not those not consumed");
  return {status, Bytes(destination.data(), destination.data() + dst_len), consumed};
}

void CheckDecoder(const Symbols& symbols, size_t room) {
  const Decoded got = Decode(symbols, room);
  const PlainDecoded expected = PlainDecodeZ1Z2(symbols, room);
  Check(got.bytes == expected.bytes, "the decoder's output is not the plain definition's");
  Check(got.consumed == expected.consumed, "the decoder consumes other symbols than the plain definition");
  Check(got.status == expected.status, "the decoder's status is not the plain definition's");
}

// One call after the other, with rooms of 1 to `largest_room`.
void CheckEncoder(Bytes bytes, size_t largest_room, Random& rooms) {
  size_t done = 0;
  while (done < bytes.size()) {
    const size_t room = Uniform(rooms, 1, largest_room);
    const GuardedBuffer destination(2 * (room + 1));
    int32_t freq[257] = {};
    uint8_t* src = bytes.data() + done;
    int32_t src_len = static_cast<int32_t>(bytes.size() - done);
    int32_t dst_len = static_cast<int32_t>(room);
    const zelStatus status =
        zelsEncodeZ1Z2_BZ2_8u16u(&src, &src_len, reinterpret_cast<uint16_t*>(destination.data()), &dst_len, freq);
    Symbols symbols(static_cast<size_t>(dst_len));
    memcpy(symbols.data(), destination.data(), 2 * symbols.size());

    const PlainEncoded expected =
        PlainEncodeZ1Z2(Bytes(bytes.begin() + static_cast<ptrdiff_t>(done), bytes.end()), room);
    Check(symbols == expected.symbols, "the encoder's symbols are not the plain definition's");
    Check(status == expected.status, "the encoder's status is not the plain definition's");
    for (uint16_t symbol : symbols) --freq[symbol];
    Check(std::all_of(freq, freq + 257, [](int32_t left) { return left == 0; }), "the frequencies are not exact");
    const size_t consumed = bytes.size() - done - static_cast<size_t>(src_len);
    Check(consumed == expected.consumed && consumed > 0, "the encoder consumes other bytes than the plain definition");
    Check(Decode(symbols, consumed).bytes == Bytes(bytes.begin() + static_cast<ptrdiff_t>(done),
                                                   bytes.begin() + static_cast<ptrdiff_t>(done + consumed)),
          "the decoder does not give the bytes back");
    done += consumed;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const size_t room = 1 + input.Word() % 6000;
  const unsigned divisor = 1 + input.Byte();  // makes symbols and bytes small
  const size_t zeros = input.Word();          // a long run somewhere
  const Bytes rest = input.Rest();

  Symbols symbols;
  for (size_t i = 0; i + 1 < rest.size(); i += 2) {
    symbols.push_back(static_cast<uint16_t>((rest[i] | rest[i + 1] << 8) / divisor));
  }
  if (!symbols.empty()) CheckDecoder(symbols, room);
  symbols.clear();
  for (uint8_t byte : rest) symbols.push_back(static_cast<uint16_t>(byte / divisor));
  if (!symbols.empty()) CheckDecoder(symbols, room);

  Bytes bytes = rest;
  for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(byte / divisor);
  bytes.insert(bytes.begin() + static_cast<ptrdiff_t>(bytes.size() / 2), zeros, uint8_t{0});
  // Small rooms cost time: the smaller they are, the less data.
  if (bytes.size() > 40 * room) bytes.resize(40 * room);
  Random rooms(size);
  CheckEncoder(bytes, room, rooms);
  return 0;
}
