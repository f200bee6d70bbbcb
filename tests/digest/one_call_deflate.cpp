// The helpers of one-call Deflate, with all that they leave in the caller's tables.

#include "families.h"
#include "zeldc/deflate_helpers.h"

namespace zeldc_digest {

namespace {

constexpr int32_t kLitSymbols = 286;
constexpr int32_t kDistSymbols = 30;
constexpr int32_t kNoPosition = -32768;

// Any codes will do: the writer takes what it is given.
void MakeCodes(const Memory<zelDeflateHuffCode>& codes, Numbers& numbers) {
  for (size_t i = 0; i < codes.size(); ++i) {
    const uint32_t bits = numbers.Below(16);
    codes[i].lenBits = static_cast<uint16_t>(bits);
    codes[i].code = static_cast<uint16_t>(numbers.Below(uint32_t{1} << bits));
  }
}

struct Choices {
  explicit Choices(uint32_t number) : numbers(number) {
    level = static_cast<int32_t>(numbers.Below(11)) - 1;
    window_size = kWindows[numbers.Below(4)];
    hash_size = kHashes[numbers.Below(5)];
    flush = static_cast<zelLZ77FlushMode>(numbers.Below(4));
    source_split = numbers.Below(3) == 0 ? 0 : numbers.Below(1000);
    room_split = numbers.Below(3) == 0 ? 0 : numbers.Below(1000);
    dictionary_size = numbers.Below(2) == 0 ? numbers.Below(40000) : 0;
  }

  static constexpr int32_t kWindows[] = {32768, 256, 1000, 32768};
  static constexpr int32_t kHashes[] = {32768, 256, 4096, 65536, 32768};

  Numbers numbers;
  int32_t level;
  int32_t window_size;
  int32_t hash_size;
  zelLZ77FlushMode flush;
  uint32_t source_split;
  uint32_t room_split;
  uint32_t dictionary_size;
};

class Stream {
 public:
  Stream(Run& run, const Data& data, uint32_t number)
      : run_(run),
        choices_(number),
        source_(run.conditions, data),
        window_(run.conditions, static_cast<size_t>(choices_.window_size)),
        heads_(run.conditions, std::vector<int32_t>(static_cast<size_t>(choices_.hash_size), kNoPosition)),
        chain_(run.conditions, std::vector<int32_t>(static_cast<size_t>(choices_.window_size), kNoPosition)),
        lit_frequencies_(run.conditions, std::vector<int32_t>(kLitSymbols)),
        dist_frequencies_(run.conditions, std::vector<int32_t>(kDistSymbols)),
        lit_codes_(run.conditions, kLitSymbols),
        dist_codes_(run.conditions, kDistSymbols) {
    MakeCodes(lit_codes_, choices_.numbers);
    MakeCodes(dist_codes_, choices_.numbers);
  }

  void Write() {
    if (choices_.dictionary_size > 0) SetDictionary();
    // Each call makes tables of its own, so small pieces are slow.
    Split pieces(choices_.source_split, 50), rooms(choices_.room_split, 50);
    // What is not consumed is given again, with what follows; the last piece to the end.
    for (size_t done = 0, given = 0; done < source_.size();) {
      given += pieces.Next(source_.size() - given);
      done += Search(done, given, rooms.Next(given - done));
    }
    DigestTable(heads_);
    DigestTable(chain_);
    run_.digest.Ints(lit_frequencies_.data(), lit_frequencies_.size());
    run_.digest.Ints(dist_frequencies_.data(), dist_frequencies_.size());
    run_.digest.Short(code_);
    run_.digest.Int(code_bits_);
  }

 private:
  void SetDictionary() {
    const Memory<uint8_t> dictionary(run_.conditions, Make(Kind::kText, choices_.dictionary_size, 4));
    run_.Status(zelsDeflateDictionarySet_8u(dictionary.data(), static_cast<int32_t>(dictionary.size()), heads_.data(),
                                            choices_.hash_size, chain_.data(), window_.data(), choices_.window_size,
                                            choices_.level));
    if (dictionary.size() >= 3) index_ = static_cast<int32_t>(std::min(dictionary.size(), window_.size()));
    run_.digest.Bytes(window_.data(), static_cast<size_t>(index_));
    DigestTable(heads_);
    DigestTable(chain_);
  }

  // The entries that are no longer what they were at first, which most may be.
  void DigestTable(const Memory<int32_t>& table) {
    for (size_t i = 0; i < table.size(); ++i) {
      if (table[i] == kNoPosition) continue;
      run_.digest.Number(i);
      run_.digest.Int(table[i]);
    }
    run_.digest.Number(table.size());
  }

  // Finds and writes the items of source[done..given]; returns how many bytes are consumed.
  size_t Search(size_t done, size_t given, size_t room) {
    const Memory<uint8_t> lits(run_.conditions, room);
    const Memory<uint16_t> dists(run_.conditions, room);
    uint8_t* next = source_.data() + done;
    int32_t left = static_cast<int32_t>(given - done), room_left = static_cast<int32_t>(room);
    const int32_t before = index_;
    const zelLZ77FlushMode flush = given == source_.size() ? zelLZ77FlushFinal : choices_.flush;
    run_.Status(zelsDeflateLZ77_8u(&next, &left, &index_, window_.data(), choices_.window_size, heads_.data(),
                                   chain_.data(), choices_.hash_size, lit_frequencies_.data(), dist_frequencies_.data(),
                                   lits.data(), dists.data(), &room_left, choices_.level, flush));
    const size_t items = room - static_cast<size_t>(room_left);
    run_.digest.Int(left);
    run_.digest.Int(index_);
    run_.digest.Bytes(lits.data(), items);
    run_.digest.Shorts(dists.data(), items);
    WriteItems(lits, dists, items);
    const size_t consumed = given - done - static_cast<size_t>(left);
    MoveWindow(static_cast<size_t>(before), source_.data() + done, consumed);
    return consumed;
  }

  void WriteItems(const Memory<uint8_t>& lits, const Memory<uint16_t>& dists, size_t items) {
    const Memory<uint8_t> output(run_.conditions, items * 6 + 8);
    int32_t count = 0;
    run_.Status(zelsDeflateHuff_8u(lits.data(), dists.data(), static_cast<int32_t>(items), &code_, &code_bits_,
                                   lit_codes_.data(), dist_codes_.data(), output.data(), &count));
    run_.digest.Bytes(output.data(), static_cast<size_t>(count));
  }

  // The last bytes of the stream so far go to the window's start.
  void MoveWindow(size_t before, const uint8_t* consumed, size_t count) {
    uint8_t* const window = window_.data();
    const size_t size = window_.size();
    if (count >= size) {
      std::copy_n(consumed + count - size, size, window);
      return;
    }
    const size_t have = std::min(before, size);
    const size_t keep = std::min(have, size - count);
    std::copy(window + have - keep, window + have, window);
    std::copy_n(consumed, count, window + keep);
  }

  Run& run_;
  Choices choices_;
  const Memory<uint8_t> source_;
  const Memory<uint8_t> window_;
  const Memory<int32_t> heads_;
  const Memory<int32_t> chain_;
  const Memory<int32_t> lit_frequencies_;
  const Memory<int32_t> dist_frequencies_;
  const Memory<zelDeflateHuffCode> lit_codes_;
  const Memory<zelDeflateHuffCode> dist_codes_;
  int32_t index_ = 0;
  uint16_t code_ = 0;
  int32_t code_bits_ = 0;
};

}  // namespace

void DigestOneCallDeflate(Run& run) {
  uint32_t number = 0;
  for (const Data* data : AllInputs()) {
    for (int i = 0; i < 3; ++i) Stream(run, *data, ++number).Write();
  }
}

}  // namespace zeldc_digest
