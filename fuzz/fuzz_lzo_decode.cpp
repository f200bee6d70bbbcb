// Both LZO decoders on any bytes, plain and as containers: they stay in their buffers, agree with each other, answer
// the same whatever the room held before, and with more room decode the same.

#include <algorithm>

#include "fuzz_support.h"
#include "support/guarded_buffer.h"
#include "zeldc.h"

using zeldc_fuzz::Bytes;
using zeldc_fuzz::Check;
using zeldc_fuzz::Input;
using zeldc_test::Guard;
using zeldc_test::GuardedBuffer;

namespace {

constexpr size_t kMostRoom = 1 << 16;

struct Decoded {
  zelStatus status;
  Bytes data;
  bool operator==(const Decoded&) const = default;
};

Decoded Decode(const Bytes& stream, size_t room, bool checked, Guard guard, uint8_t fill) {
  const GuardedBuffer src(stream, guard);
  const GuardedBuffer dst(room, guard);
  std::fill(dst.data(), dst.end(), fill);
  uint32_t size = static_cast<uint32_t>(room);
  const auto decode = checked ? zelsDecodeLZOSafe_8u : zelsDecodeLZO_8u;
  const zelStatus status = decode(src.data(), static_cast<uint32_t>(stream.size()), dst.data(), &size);
  Check(status == zelOk || status == zelErrLzoBroken, "status");
  Check(size <= room && (status == zelOk || size == room), "size");
  return {status, status == zelOk ? Bytes(dst.data(), dst.data() + size) : Bytes()};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  size_t room = input.Word() % kMostRoom;
  const size_t chunks = input.Byte() % 4;
  Bytes stream;
  if (chunks > 0) {
    // A container's header that is right but for what the input changes; otherwise its bytes would seldom be one.
    const Bytes lengths = input.Take(2 * (chunks - 1));
    stream = {static_cast<uint8_t>(0x80 | chunks), static_cast<uint8_t>(room), static_cast<uint8_t>(room >> 8), 0, 0};
    for (size_t i = 0; i + 1 < chunks; ++i) {
      for (size_t j = 0; j < 2; ++j) stream.push_back(2 * i + j < lengths.size() ? lengths[2 * i + j] : 0);
      stream.insert(stream.end(), 2, 0);
    }
  }
  const Bytes rest = input.Rest();
  stream.insert(stream.end(), rest.begin(), rest.end());
  const Decoded first = Decode(stream, room, true, Guard::kBehind, 0x11);
  Check(Decode(stream, room, true, Guard::kBefore, 0xEE) == first, "old content shows");
  // The unchecked decoder takes a container's word for the length of its data.
  const bool plain = stream.empty() || stream[0] < 0x80 || stream.size() == stream[0] - size_t{13};
  if (!plain && stream.size() >= 5) {
    const size_t whole = stream[1] + 256u * stream[2] + 65536u * stream[3] + 16777216u * stream[4];
    if (whole > kMostRoom) return 0;
    room = whole;
  }
  const Decoded unchecked = Decode(stream, room, false, Guard::kBehind, 0x22);
  if (first.status == zelOk) Check(unchecked == first, "the decoders differ");
  if (first.status == zelOk) Check(Decode(stream, room + 77, true, Guard::kBehind, 0x33) == first, "with more room");
  return 0;
}
