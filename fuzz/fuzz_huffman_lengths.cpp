// Any bytes as a packed table of code lengths; what comes of it is packed again and made a code.

#include <algorithm>

#include "entropy/huffman_model.h"
#include "fuzz_support.h"
#include "zeldc.h"

using namespace zeldc_fuzz;
using namespace zeldc_test;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const size_t room = 1 + input.Word() % 500;
  const Bytes bytes = input.Rest();
  if (bytes.empty()) return 0;

  const GuardedBuffer source(bytes), table(256 * sizeof(int32_t));
  int32_t* const lengths = reinterpret_cast<int32_t*>(table.data());
  int32_t used = static_cast<int32_t>(bytes.size());
  const zelStatus unpacked = zelsHuffLenCodeTableUnpack_8u(source.data(), &used, lengths);
  Check(unpacked == zelOk || unpacked == zelErrSize, "Unpack's status");
  Check(used >= 1 && used <= static_cast<int32_t>(bytes.size()), "bytes that the table takes");
  if (unpacked == zelErrSize) Check(used == static_cast<int32_t>(bytes.size()), "short, with source left");
  Check(std::all_of(lengths, lengths + 256, [](int32_t n) { return n >= 0 && n <= 41; }), "a number beyond 41");
  const bool valid = std::all_of(lengths, lengths + 256, [](int32_t n) { return n <= 32; });

  const GuardedBuffer packed(room);
  int32_t len = static_cast<int32_t>(room);
  const zelStatus status = zelsHuffLenCodeTablePack_8u(lengths, packed.data(), &len);
  Check(len >= 1 && len <= static_cast<int32_t>(room), "bytes that Pack writes");
  Check(valid == (status != zelErrHuffLenTable), "Pack's opinion of the lengths");
  Check(room < 384 || status != zelErrSize, "384 bytes do not suffice");
  Lengths copy;
  std::copy_n(lengths, 256, copy.begin());
  if (status == zelOk) {
    Check(Bytes(packed.data(), packed.data() + len) == ModelPacked(copy), "another packed table");
    Lengths back;
    int32_t back_used = len;
    Check(zelsHuffLenCodeTableUnpack_8u(packed.data(), &back_used, back.data()) == zelOk, "Unpack of what Pack wrote");
    Check(back == copy && back_used == len, "the lengths do not come back");
  }

  const HuffRecord record;
  const zelStatus init = zelsDecodeHuffInit_8u(lengths, record.get());
  Check(init == zelOk || init == zelErrHuffLenTable, "DecodeHuffInit's status");
  Check(valid || init == zelErrHuffLenTable, "lengths that are none are accepted");
  if (init == zelOk) {
    Lengths back;
    Check(zelsHuffGetLenCodeTable_8u(record.get(), back.data()) == zelOk && back == copy, "lengths of the record");
    for (int32_t n : {1, 1000, INT32_MAX}) {
      int32_t encoded = 0, decoded = 0;
      const zelStatus sizes = zelsHuffGetDstBuffSize_8u(lengths, n, &encoded, &decoded);
      Check(sizes == (n == INT32_MAX ? zelErrSize : zelOk), "GetDstBuffSize's status");
      Check(sizes != zelOk || (encoded > 0 && decoded > 0), "sizes");
    }
  }
  return 0;
}
