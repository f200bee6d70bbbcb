#include "zelzlib/block_writer.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "zelzlib/code_lengths.h"

namespace zelzlib {

namespace {

constexpr int kLongestCode = 15;
constexpr int kLongestCodeLengthCode = 7;
constexpr size_t kCodeLengthSymbols = 19;
constexpr size_t kLongestStoredBlock = 65535;
constexpr std::array<uint8_t, kCodeLengthSymbols> kCodeLengthOrder = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                                      11, 4,  12, 3, 13, 2, 14, 1, 15};

enum BlockType : uint32_t { kStored = 0, kFixed = 1, kDynamic = 2 };

int LitLenExtraBits(size_t symbol) { return symbol < 265 || symbol == 285 ? 0 : static_cast<int>(symbol - 261) / 4; }
int DistanceExtraBits(size_t symbol) { return symbol < 4 ? 0 : static_cast<int>(symbol) / 2 - 1; }

// A code for each alphabet.
struct Codes {
  std::vector<uint8_t> litLenLengths;
  std::vector<uint8_t> distanceLengths;

  // Bits of a block's body.
  uint64_t Cost(const Frequencies& frequencies) const {
    uint64_t bits = 0;
    for (size_t i = 0; i < kLitLenSymbols; ++i) {
      bits +=
          static_cast<uint64_t>(frequencies.litLen[i]) * static_cast<uint64_t>(litLenLengths[i] + LitLenExtraBits(i));
    }
    for (size_t i = 0; i < kDistanceSymbols; ++i) {
      bits += static_cast<uint64_t>(frequencies.distance[i]) *
              static_cast<uint64_t>(distanceLengths[i] + DistanceExtraBits(i));
    }
    return bits;
  }
};

// Section 3.2.6. The canonical code counts symbols that never occur, too.
Codes FixedCodes() {
  Codes codes{std::vector<uint8_t>(288, 8), std::vector<uint8_t>(32, 5)};
  std::fill(codes.litLenLengths.begin() + 144, codes.litLenLengths.begin() + 256, uint8_t{9});
  std::fill(codes.litLenLengths.begin() + 256, codes.litLenLengths.begin() + 280, uint8_t{7});
  return codes;
}

// The header of a dynamic block: both alphabets' code lengths, zeros at the ends left out, runs shortened, in a code of
// their own (section 3.2.7).
class CodeDescription {
 public:
  explicit CodeDescription(const Codes& codes)
      : litLens_(UsedCount(codes.litLenLengths, 257)), distances_(UsedCount(codes.distanceLengths, 1)) {
    std::vector<uint8_t> all(codes.litLenLengths.begin(), codes.litLenLengths.begin() + Signed(litLens_));
    all.insert(all.end(), codes.distanceLengths.begin(), codes.distanceLengths.begin() + Signed(distances_));
    for (size_t i = 0; i < all.size();) {
      size_t run = 1;
      while (i + run < all.size() && all[i + run] == all[i]) ++run;
      i += AddRun(all[i], run);
    }
    std::array<int32_t, kCodeLengthSymbols> frequencies{};
    for (const Symbol& symbol : symbols_) ++frequencies[symbol.symbol];
    lengths_ = MakeCodeLengths(frequencies, kLongestCodeLengthCode);
    count_ = kCodeLengthSymbols;
    while (count_ > 4 && lengths_[kCodeLengthOrder[count_ - 1]] == 0) --count_;
  }

  uint64_t Cost() const {
    uint64_t bits = 5 + 5 + 4 + 3 * count_;
    for (const Symbol& symbol : symbols_) bits += uint64_t{lengths_[symbol.symbol]} + symbol.extraBits;
    return bits;
  }

  void Write(BitWriter& writer) const {
    writer.Put(static_cast<uint32_t>(litLens_ - 257), 5);
    writer.Put(static_cast<uint32_t>(distances_ - 1), 5);
    writer.Put(static_cast<uint32_t>(count_ - 4), 4);
    for (size_t i = 0; i < count_; ++i) writer.Put(lengths_[kCodeLengthOrder[i]], 3);
    const std::vector<zelDeflateHuffCode> codes = MakeCode(lengths_);
    for (const Symbol& symbol : symbols_) {
      writer.Put(codes[symbol.symbol]);
      writer.Put(symbol.extra, symbol.extraBits);
    }
  }

 private:
  struct Symbol {
    uint8_t symbol;
    uint8_t extra;
    uint8_t extraBits;
  };

  static ptrdiff_t Signed(size_t count) { return static_cast<ptrdiff_t>(count); }

  static size_t UsedCount(const std::vector<uint8_t>& lengths, size_t atLeast) {
    size_t count = lengths.size();
    while (count > atLeast && lengths[count - 1] == 0) --count;
    return count;
  }

  // Adds symbols for the beginning of a run of one length; answers how much of it they stand for.
  size_t AddRun(uint8_t length, size_t run) {
    if (length == 0 && run >= 11) {
      run = std::min<size_t>(run, 138);
      symbols_.push_back({18, static_cast<uint8_t>(run - 11), 7});
    } else if (length == 0 && run >= 3) {
      symbols_.push_back({17, static_cast<uint8_t>(run - 3), 3});
    } else if (length > 0 && run >= 4) {
      // The length itself, and a repetition.
      run = std::min<size_t>(run, 7);
      symbols_.push_back({length, 0, 0});
      symbols_.push_back({16, static_cast<uint8_t>(run - 4), 2});
    } else {
      run = 1;
      symbols_.push_back({length, 0, 0});
    }
    return run;
  }

  size_t litLens_;
  size_t distances_;
  std::vector<Symbol> symbols_;
  std::vector<uint8_t> lengths_;  // of the code-length code
  size_t count_;                  // of these that are written
};

void PutBlockHeader(BlockType type, bool last, BitWriter& writer) {
  writer.Put(last ? 1 : 0, 1);
  writer.Put(type, 2);
}

void WriteStored(std::span<const uint8_t> bytes, bool last, BitWriter& writer) {
  do {
    const auto part = bytes.first(std::min(bytes.size(), kLongestStoredBlock));
    bytes = bytes.subspan(part.size());
    PutBlockHeader(kStored, last && bytes.empty(), writer);
    writer.PadToByte();
    const uint32_t size = static_cast<uint32_t>(part.size());
    writer.Put(size, 16);
    writer.Put(size ^ 0xFFFF, 16);
    writer.PutBytes(part);
  } while (!bytes.empty());
}

uint64_t StoredCost(size_t bytes) {
  // The header's three bits and the rest of their byte are about a byte.
  const size_t blocks = (bytes + kLongestStoredBlock - 1) / kLongestStoredBlock;
  return 8 * (bytes + 5 * std::max<size_t>(blocks, 1));
}

}  // namespace

void WriteBlock(const Items& items, Frequencies frequencies, std::span<const uint8_t> bytes, bool last,
                BitWriter& writer) {
  frequencies.litLen[kEndOfBlock] = 1;
  const Codes dynamic{MakeCodeLengths(frequencies.litLen, kLongestCode),
                      MakeCodeLengths(frequencies.distance, kLongestCode)};
  const CodeDescription description(dynamic);
  const Codes fixed = FixedCodes();
  const uint64_t dynamicCost = description.Cost() + dynamic.Cost(frequencies);
  const uint64_t fixedCost = fixed.Cost(frequencies);
  const bool mayBeStored = items.values.empty() ? false : !bytes.empty();
  if (mayBeStored && StoredCost(bytes.size()) < std::min(dynamicCost, fixedCost)) {
    return WriteStored(bytes, last, writer);
  }

  const bool isFixed = fixedCost <= dynamicCost;
  const Codes& codes = isFixed ? fixed : dynamic;
  PutBlockHeader(isFixed ? kFixed : kDynamic, last, writer);
  if (!isFixed) description.Write(writer);
  const std::vector<zelDeflateHuffCode> litLenCodes = MakeCode(codes.litLenLengths);
  writer.Put(items, litLenCodes, MakeCode(codes.distanceLengths));
  writer.Put(litLenCodes[kEndOfBlock]);
}

}  // namespace zelzlib
