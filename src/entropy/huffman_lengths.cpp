// Code lengths without a record: packed and unpacked, and the sizes of buffers that follow from them.

#include <algorithm>

#include "entropy/huffman_state.h"

using namespace zeldc;

namespace {

// The packed table: nibbles above a bank of 13 numbers, runs of equal lengths with their count.
constexpr int32_t kBankSize = 13;
constexpr int32_t kLargestNumber = 3 * kBankSize - 1;
constexpr int kEqualBeforeCount = 2;  // lengths equal to their predecessors, behind which a count stands
constexpr int kLongestRun = 32;       // that the packer counts

class NibbleWriter {
 public:
  NibbleWriter(uint8_t* dst, int32_t len) : dst_(dst), end_(2 * int64_t{len}) {}

  void PutNumber(int32_t v) {
    const int32_t bank = v / kBankSize;
    if (bank != bank_) PutNibble(kBankSize + bank);
    bank_ = bank;
    PutNibble(v - bank * kBankSize);
  }

  bool isFull() const { return at_ > end_; }
  int32_t bytes() const { return static_cast<int32_t>((std::min(at_, end_) + 1) / 2); }

 private:
  void PutNibble(int32_t v) {
    if (at_ < end_) {
      uint8_t& byte = dst_[at_ / 2];
      byte = static_cast<uint8_t>(at_ % 2 == 0 ? v << 4 : byte | v);
    }
    ++at_;
  }

  uint8_t* dst_;
  int64_t at_ = 0, end_;  // in nibbles
  int32_t bank_ = 0;
};

class NibbleReader {
 public:
  NibbleReader(const uint8_t* src, int32_t len) : src_(src), end_(2 * int64_t{len}) {}

  int32_t TakeNumber() {
    int32_t v = TakeNibble();
    if (v >= kBankSize) {
      bank_ = v - kBankSize;
      v = TakeNibble();
    }
    return bank_ * kBankSize + v;
  }

  bool isBehindEnd() const { return at_ > end_; }
  int32_t bytes() const { return static_cast<int32_t>((std::min(at_, end_) + 1) / 2); }

 private:
  int32_t TakeNibble() {
    const int64_t at = at_++;
    if (at >= end_) return 0;
    return at % 2 == 0 ? src_[at / 2] >> 4 : src_[at / 2] & 15;
  }

  const uint8_t* src_;
  int64_t at_ = 0, end_;  // in nibbles
  int32_t bank_ = 0;
};

}  // namespace

extern "C" {

zelStatus zelsHuffLenCodeTablePack_8u(const int32_t* pCodeLenTable, uint8_t* pDst, int32_t* pDstLen) {
  if (!pCodeLenTable || !pDst || !pDstLen) return zelErrNullPtr;
  if (*pDstLen < 1) return zelErrSize;
  NibbleWriter out(pDst, *pDstLen);
  bool allValid = true;
  int32_t previous = 0;
  int equal = 0;
  for (int v = 0; v < kHuffSymbols;) {
    const int32_t length = pCodeLenTable[v++];
    allValid = allValid && length >= 0 && length <= kLongestHuffCode;
    out.PutNumber(std::clamp(length, 0, kLargestNumber));
    equal = length == previous ? equal + 1 : 0;
    previous = length;
    if (equal == kEqualBeforeCount) {
      int32_t run = 0;
      while (v < kHuffSymbols && pCodeLenTable[v] == length && run < kLongestRun) ++run, ++v;
      out.PutNumber(run);
      equal = 0;
    }
  }
  *pDstLen = out.bytes();
  if (!allValid) return zelErrHuffLenTable;
  return out.isFull() ? zelErrSize : zelOk;
}

zelStatus zelsHuffLenCodeTableUnpack_8u(const uint8_t* pSrc, int32_t* pSrcLen, int32_t* pCodeLenTable) {
  if (!pSrc || !pSrcLen || !pCodeLenTable) return zelErrNullPtr;
  if (*pSrcLen < 1) return zelErrSize;
  NibbleReader in(pSrc, *pSrcLen);
  int32_t previous = 0;
  int equal = 0;
  for (int v = 0; v < kHuffSymbols;) {
    const int32_t length = in.TakeNumber();
    pCodeLenTable[v++] = length;
    equal = length == previous ? equal + 1 : 0;
    previous = length;
    if (equal == kEqualBeforeCount) {
      for (int32_t run = in.TakeNumber(); run > 0 && v < kHuffSymbols; --run) pCodeLenTable[v++] = length;
      equal = 0;
    }
  }
  *pSrcLen = in.bytes();
  return in.isBehindEnd() ? zelErrSize : zelOk;
}

zelStatus zelsHuffGetDstBuffSize_8u(const int32_t* pCodeLenTable, int32_t srcLen, int32_t* pEncDstBuffSize,
                                    int32_t* pDecDstBuffSize) {
  if (!pCodeLenTable) return zelErrNullPtr;
  if (srcLen < 1) return zelErrSize;
  int32_t min = kLongestHuffCode, max = 1;
  for (int v = 0; v < kHuffSymbols; ++v) {
    if (pCodeLenTable[v] == 0) continue;
    min = std::min(min, pCodeLenTable[v]);
    max = std::max(max, pCodeLenTable[v]);
  }
  if (min < 0 || max > kLongestHuffCode) return zelErrHuffLenTable;
  const int64_t encoded = (int64_t{srcLen} * max + max + 7) / 8;
  const int64_t decoded = int64_t{srcLen} * 64 / min;
  if ((pEncDstBuffSize && encoded > INT32_MAX) || (pDecDstBuffSize && decoded > INT32_MAX)) return zelErrSize;
  if (pEncDstBuffSize) *pEncDstBuffSize = static_cast<int32_t>(encoded);
  if (pDecDstBuffSize) *pDecDstBuffSize = static_cast<int32_t>(decoded);
  return zelOk;
}

}  // extern "C"
