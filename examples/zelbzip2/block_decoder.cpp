#include "zelbzip2/block_decoder.h"

#include <algorithm>

#include "zelbzip2/randomisation.h"

namespace zelbzip2 {

namespace {

// A record for streams that may be anything holds the selectors of so many symbols, all that 15 bits can count.
constexpr int32_t kLongestUntrusted = 1638350;

// Each symbol stands for a byte or more, and the end of the block is stored, too.
constexpr int32_t kMostSymbols = kLargestBlock + 1;

}  // namespace

// Reads the block's header by itself, and then in the form that the library's readers go on from.
struct BlockDecoder::Bits {
  Bits(const uint8_t* bytes, size_t size, int start) : next(bytes), left(static_cast<int32_t>(size)) {
    if (left > 0) Load();
    pending <<= start;
    pendingBits -= start;
  }

  // At most 24 bits; zeros beyond the end.
  uint32_t Take(int32_t bits) {
    while (pendingBits < bits && left > 0) Load();
    ended = ended || pendingBits < bits;
    const uint32_t value = pending >> (32 - bits);
    pending <<= bits;
    pendingBits = std::max(pendingBits - bits, 0);
    return value;
  }

  void Load() {
    pending |= uint32_t{*next} << (24 - pendingBits);
    pendingBits += 8;
    ++next;
    --left;
  }

  const uint8_t* next;
  int32_t left;
  uint32_t pending = 0;  // left-aligned
  int32_t pendingBits = 0;
  bool ended = false;  // more was asked for than there is
};

BlockDecoder::BlockDecoder() {
  int32_t codeBytes = 0;
  int32_t linkBytes = 0;
  Expect(zelsDecodeHuffGetSize_BZ2_8u16u(kLongestUntrusted, &codeBytes), "zelsDecodeHuffGetSize_BZ2_8u16u");
  Expect(zelsBWTInvGetSize_8u(kLargestBlock, &linkBytes), "zelsBWTInvGetSize_8u");
  codeMemory_ = std::make_unique_for_overwrite<uint8_t[]>(static_cast<size_t>(codeBytes));
  symbols_ = std::make_unique_for_overwrite<uint16_t[]>(kMostSymbols);
  column_ = std::make_unique_for_overwrite<uint8_t[]>(kLargestBlock);
  linkMemory_ = std::make_unique_for_overwrite<uint8_t[]>(static_cast<size_t>(linkBytes));
}

Verdict BlockDecoder::Decode(const uint8_t* bytes, size_t size, int start, DecodedBlock& block) {
  Bits bits(bytes, size, start);
  Header header;
  Verdict verdict = ReadHeader(bits, header, block);
  if (verdict == Verdict::kGood) verdict = ReadSymbols(bits, header.used + 2);
  if (verdict == Verdict::kGood) verdict = ExpandSymbols(header, block);
  block.bits = (size - static_cast<size_t>(bits.left)) * 8 - static_cast<size_t>(bits.pendingBits + start);
  return verdict;
}

Verdict BlockDecoder::ReadHeader(Bits& bits, Header& header, DecodedBlock& block) {
  bits.Take(kMarkBits / 2);
  bits.Take(kMarkBits / 2);
  block.crc = bits.Take(16) << 16;
  block.crc |= bits.Take(16);
  header.randomised = bits.Take(1) != 0;
  header.origin = static_cast<int32_t>(bits.Take(24));

  // Sixteen bits for the groups of sixteen bytes that have any in use, then sixteen for each of those.
  header.inUse.fill(0);
  header.used = 0;
  const uint32_t groups = bits.Take(16);
  for (size_t group = 0; group < 16; ++group) {
    if ((groups & 0x8000u >> group) == 0) continue;
    const uint32_t members = bits.Take(16);
    for (size_t i = 0; i < 16; ++i) {
      if ((members & 0x8000u >> i) == 0) continue;
      header.inUse[16 * group + i] = 1;
      ++header.used;
    }
  }
  if (bits.ended) return Verdict::kShort;
  return header.used > 0 ? Verdict::kGood : Verdict::kDamaged;
}

Verdict BlockDecoder::ReadSymbols(Bits& bits, int32_t alphabet) {
  if (bits.left == 0) return Verdict::kShort;
  auto* const codes = reinterpret_cast<zelBZ2HuffDecodeState*>(codeMemory_.get());
  Expect(zelsDecodeHuffInit_BZ2_8u16u(alphabet, codes), "zelsDecodeHuffInit_BZ2_8u16u");
  zelStatus status = zelsUnpackHuffContext_BZ2_8u16u(&bits.pending, &bits.pendingBits, &bits.next, &bits.left, codes);
  if (status == zelWarnSrcShort) return Verdict::kShort;
  if (status == zelErrBadData) return Verdict::kDamaged;
  Expect(status, "zelsUnpackHuffContext_BZ2_8u16u");

  // It wants some bits more than the block may have left; those of the mark behind it serve.
  symbolCount_ = kMostSymbols;
  status = zelsDecodeHuff_BZ2_8u16u(&bits.pending, &bits.pendingBits, &bits.next, &bits.left, symbols_.get(),
                                    &symbolCount_, codes);
  if (status == zelWarnSrcShort) return Verdict::kShort;
  if (status == zelWarnDstFull) return Verdict::kDamaged;
  Expect(status, "zelsDecodeHuff_BZ2_8u16u");
  return symbolCount_ > 0 ? Verdict::kGood : Verdict::kDamaged;
}

Verdict BlockDecoder::ExpandSymbols(const Header& header, DecodedBlock& block) {
  uint16_t* from = symbols_.get();
  int32_t left = symbolCount_;
  int32_t size = kLargestBlock;
  const zelStatus status = zelsDecodeZ1Z2_BZ2_16u8u(&from, &left, column_.get(), &size);
  if (status == zelWarnDstFull) return Verdict::kDamaged;
  Expect(status, "zelsDecodeZ1Z2_BZ2_16u8u");
  if (header.origin >= size) return Verdict::kDamaged;

  zelMTFState ranks;
  Expect(zelsMTFInit_8u(&ranks), "zelsMTFInit_8u");
  Expect(zelsMTFInv_8u(column_.get(), column_.get(), size, &ranks), "zelsMTFInv_8u");
  Expect(zelsExpandDictionary_8u_I(header.inUse.data(), column_.get(), size, header.used), "zelsExpandDictionary_8u_I");

  block.data.resize(static_cast<size_t>(size));
  Expect(zelsBWTInv_8u(column_.get(), block.data.data(), size, header.origin, linkMemory_.get()), "zelsBWTInv_8u");
  if (header.randomised) Derandomise(block.data);
  return Verdict::kGood;
}

}  // namespace zelbzip2
