// Any data through the LZO encoder, by one thread and by several, and back through both decoders. A record serves many
// inputs, and what it was used for before does not show.

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

// Pieces of the input, some of them again and again, so that there are matches from near and far.
Bytes ReadData(Input& input) {
  Bytes data;
  while (!input.IsEmpty() && data.size() < 150000) {
    const uint8_t kind = input.Byte();
    const Bytes piece = input.Take(1 + kind % 32);
    size_t repeats = kind < 160 ? 1 : kind < 224 ? 3 : 200;
    if (kind == 255) repeats = 5000;
    for (; repeats > 0; --repeats) data.insert(data.end(), piece.begin(), piece.end());
    if (kind % 5 == 0 && data.size() > 300) {
      const size_t from = input.Word() % data.size();
      const Bytes again(data.begin() + static_cast<ptrdiff_t>(from),
                        data.begin() + static_cast<ptrdiff_t>(std::min(from + 50, data.size())));
      data.insert(data.end(), again.begin(), again.end());
    }
  }
  return data;
}

class Record {
 public:
  Record(zelLZOMethod method, uint32_t max_size, uint8_t fill) : memory_(Size(method, max_size)) {
    std::fill(memory_.data(), memory_.end(), fill);
    Check(zelsEncodeLZOInit_8u(method, max_size, get()) == zelOk, "Init");
  }
  zelLZOState* get() const { return reinterpret_cast<zelLZOState*>(memory_.data()); }

 private:
  static size_t Size(zelLZOMethod method, uint32_t max_size) {
    int32_t size = 0;
    Check(zelsEncodeLZOGetSize(method, max_size, &size) == zelOk, "GetSize");
    return (static_cast<size_t>(size) + 3) / 4 *
           4;  // so that a record that ends at a guard page starts at a multiple of 4
  }
  GuardedBuffer memory_;
};

Bytes Encode(const Bytes& data, const Record& record, Guard guard) {
  const GuardedBuffer src(data, guard);
  const GuardedBuffer dst(data.size() + data.size() / 16 + 67 + 129, guard);
  uint32_t size = 0;
  Check(zelsEncodeLZO_8u(src.data(), static_cast<uint32_t>(data.size()), dst.data(), &size, record.get()) == zelOk,
        "encode");
  Check(size <= dst.size(), "size");
  return Bytes(dst.data(), dst.data() + size);
}

void CheckComesBack(const Bytes& stream, const Bytes& data) {
  const GuardedBuffer src(stream);
  for (const auto decode : {zelsDecodeLZOSafe_8u, zelsDecodeLZO_8u}) {
    const GuardedBuffer dst(data.size());
    uint32_t size = static_cast<uint32_t>(data.size());
    Check(decode(src.data(), static_cast<uint32_t>(stream.size()), dst.data(), &size) == zelOk, "decode");
    Check(size == data.size() && dst.ToBytes() == data, "the data does not come back");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const Record used(zelLZOMethodSingle, 0, 0xA5);
  Input input(data, size);
  const Bytes bytes = ReadData(input);
  const Bytes stream = Encode(bytes, used, Guard::kBehind);
  CheckComesBack(stream, bytes);
  Check(Encode(bytes, Record(zelLZOMethodSingle, 0, 0), Guard::kBefore) == stream, "earlier inputs show");
  const Record parallel(zelLZOMethodParallel, static_cast<uint32_t>(bytes.size()), 0xFF);
  CheckComesBack(Encode(bytes, parallel, Guard::kBehind), bytes);
  return 0;
}
