#include "dictionary/lzo_calls.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace zeldc_test {

namespace {

void Expect(zelStatus status, const char* what) {
  if (status != zelOk) throw std::runtime_error(std::string(what) + " answers " + std::to_string(status));
}

// A record may stand at multiples of 4 only, so it takes up to 3 bytes more to end at a guard page.
size_t RecordSize(zelLZOMethod method, uint32_t max_src_len) {
  int32_t size = -1;
  Expect(zelsEncodeLZOGetSize(method, max_src_len, &size), "zelsEncodeLZOGetSize");
  return (static_cast<size_t>(size) + 3) / 4 * 4;
}

}  // namespace

LzoRecord::LzoRecord(zelLZOMethod method, uint32_t max_src_len, Guard guard, uint8_t fill)
    : memory_(RecordSize(method, max_src_len), guard) {
  std::fill(memory_.data(), memory_.end(), fill);
  Expect(zelsEncodeLZOInit_8u(method, max_src_len, get()), "zelsEncodeLZOInit_8u");
}

Bytes LzoEncode(const Bytes& in, const LzoRecord& record, size_t threads, Guard guard) {
  const GuardedBuffer src(in, guard);
  const GuardedBuffer dst(in.size() + in.size() / 16 + 67 + (threads > 1 ? 4 * threads + 1 : 0), guard);
  uint32_t size = 0x5A5A5A5A;
  Expect(zelsEncodeLZO_8u(src.data(), static_cast<uint32_t>(in.size()), dst.data(), &size, record.get()),
         "zelsEncodeLZO_8u");
  if (size > dst.size()) throw std::runtime_error("the result is longer than its room");
  return Bytes(dst.data(), dst.data() + size);
}

Bytes LzoEncode(const Bytes& in) { return LzoEncode(in, LzoRecord(zelLZOMethodSingle, 0)); }

std::optional<Bytes> LzoDecode(const Bytes& in, size_t room, LzoDecoder decoder, Guard guard, uint8_t fill) {
  const GuardedBuffer src(in, guard);
  const GuardedBuffer dst(room, guard);
  std::fill(dst.data(), dst.end(), fill);
  uint32_t size = static_cast<uint32_t>(room);
  const auto decode = decoder == LzoDecoder::kChecked ? zelsDecodeLZOSafe_8u : zelsDecodeLZO_8u;
  const zelStatus status = decode(src.data(), static_cast<uint32_t>(in.size()), dst.data(), &size);
  if (status == zelErrLzoBroken) {
    if (size != room) throw std::runtime_error("the length has changed in spite of the error");
    return std::nullopt;
  }
  Expect(status, "the decoder");
  if (size > room) throw std::runtime_error("the result is longer than its room");
  return Bytes(dst.data(), dst.data() + size);
}

}  // namespace zeldc_test
