// The byte Huffman decoder from call to call: whatever the sizes of sources and rooms, what it decodes, how much it
// reads and what it keeps are those of the plain decoder, which loads byte by byte.

#include <algorithm>

#include "entropy/huffman_model.h"
#include "entropy/huffman_state.h"
#include "gtest/gtest.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

class Pair {
 public:
  explicit Pair(const Lengths& lengths) : model_(lengths) {
    EXPECT_EQ(zelsDecodeHuffInit_8u(lengths.data(), record_.get()), zelOk);
  }

  // One call. The number of source bytes that it reads.
  size_t Call(const Bytes& source, size_t room) {
    const GuardedBuffer in(source);
    const GuardedBuffer out(room);
    std::fill_n(out.data(), room, uint8_t{0xA5});
    int32_t len = static_cast<int32_t>(room);
    EXPECT_EQ(zelsDecodeHuff_8u(in.data(), static_cast<int32_t>(source.size()), out.data(), &len, record_.get()),
              zelOk);
    const Bytes expected = model_.Decode(source, room);
    EXPECT_EQ(static_cast<size_t>(len), expected.size());
    EXPECT_TRUE(Front(out.ToBytes(), static_cast<size_t>(len)) == expected);
    EXPECT_TRUE(std::all_of(out.data() + len, out.end(), [](uint8_t byte) { return byte == 0xA5; }));
    CheckState();
    return model_.loaded();
  }

  // Encodes with the decoder's record, which leaves pending bits.
  void Encode(const Bytes& data, const Codes& codes) {
    Bytes words(4 * data.size());
    int32_t len = 0;
    EXPECT_EQ(zelsEncodeHuff_8u(data.data(), static_cast<int32_t>(data.size()), words.data(), &len, record_.get()),
              zelOk);
    model_.Hold(ModelBits(codes, data).substr(static_cast<size_t>(len) * 8));
    CheckState();
  }

  // A stream in pieces: all of them, or fewer should decoding end.
  void Run(const Bytes& stream, size_t max_piece, size_t max_room, Random& random) {
    for (size_t at = 0; at < stream.size() && !testing::Test::HasFailure();) {
      const size_t size = std::min(Uniform(random, 1, max_piece), stream.size() - at);
      const auto begin = stream.begin() + static_cast<ptrdiff_t>(at);
      const size_t room = Uniform(random, 1, max_room);
      const size_t loaded = Call(Bytes(begin, begin + static_cast<ptrdiff_t>(size)), room);
      at += loaded;
      stalled_ = loaded == 0 ? stalled_ + 1 : 0;
      if (stalled_ > 100) return;  // codes that are not complete
    }
  }

 private:
  void CheckState() {
    const zelHuffState* const s = record_.get();
    const std::string& held = model_.held();
    ASSERT_EQ(s->bitCount, static_cast<int32_t>(held.size()));
    ASSERT_EQ(s->ZeroCount(), model_.zeros());
    std::string bits = held;
    bits.resize(32, '0');
    ASSERT_EQ(s->accumulator, static_cast<uint32_t>(std::stoull(bits, nullptr, 2)));
  }

  HuffRecord record_;
  ModelDecoder model_;
  int stalled_ = 0;
};

// Streams for a code: of its own symbols, of runs of zeros and ones, of noise.
std::vector<Bytes> Streams(const Frequencies& frequencies, const Codes& codes, size_t symbols, uint64_t seed) {
  const Bytes data = DrawBytes(frequencies, symbols, seed);
  const uint8_t zero =
      static_cast<uint8_t>(std::max_element(codes.begin(), codes.end(),
                                            [](const std::string& a, const std::string& b) {
                                              return std::pair(a.size(), std::count(a.begin(), a.end(), '0')) <
                                                     std::pair(b.size(), std::count(b.begin(), b.end(), '0'));
                                            }) -
                           codes.begin());
  Random random(seed);
  Bytes with_runs;  // of the byte whose code is zeros
  for (uint8_t byte : data) {
    with_runs.push_back(byte);
    if (random() % 16 == 0) with_runs.insert(with_runs.end(), Uniform(random, 1, 40), zero);
  }
  Bytes sparse(symbols / 8);
  for (uint8_t& byte : sparse) byte = random() % 4 == 0 ? static_cast<uint8_t>(1 << Uniform(random, 0, 7)) : uint8_t{0};
  return {BytesOfBits(ModelBits(codes, data)), BytesOfBits(ModelBits(codes, with_runs)), sparse,
          RandomBytes(symbols / 4, seed)};
}

TEST(HuffmanCalls, AnyPiecesAndRooms) {
  for (const auto& [name, frequencies] : AllFrequencies()) {
    SCOPED_TRACE(name);
    const Lengths lengths = ModelLengths(frequencies);
    const Codes codes = ModelCodes(lengths);
    for (const Bytes& stream : Streams(frequencies, codes, 3000, 1)) {
      Random random(2);
      Pair(lengths).Run(Front(stream, std::min<size_t>(stream.size(), 300)), 1, 3, random);
      Pair(lengths).Run(stream, 40, 60, random);
      Pair(lengths).Run(stream, 300, 5000, random);
      Pair(lengths).Run(stream, 5000, 300, random);
      Pair(lengths).Call(stream, 40000);
    }
  }
}

TEST(HuffmanCalls, EverySplitOfTheSource) {
  const Frequencies frequencies = FibonacciFrequencies(18, 5);
  const Lengths lengths = ModelLengths(frequencies);
  for (const Bytes& stream : Streams(frequencies, ModelCodes(lengths), 500, 3)) {
    for (size_t split = 1; split < stream.size(); ++split) {
      Pair pair(lengths);
      const auto at = stream.begin() + static_cast<ptrdiff_t>(split);
      pair.Call(Bytes(stream.begin(), at), 5000);
      pair.Call(Bytes(at, stream.end()), 5000);
      if (HasFailure()) return;
    }
  }
}

TEST(HuffmanCalls, EveryRoom) {
  for (const Frequencies& frequencies :
       {FibonacciFrequencies(12), CountBytes(Text(3000, 1)), FibonacciFrequencies(33)}) {
    const Lengths lengths = ModelLengths(frequencies);
    for (const Bytes& stream : Streams(frequencies, ModelCodes(lengths), 600, 4)) {
      for (size_t room = 1; room < 500; ++room) {
        Pair pair(lengths);
        const size_t loaded = pair.Call(stream, room);
        if (loaded < stream.size()) {
          pair.Call(Bytes(stream.begin() + static_cast<ptrdiff_t>(loaded), stream.end()), 1000);
        }
        if (HasFailure()) return;
      }
    }
  }
}

TEST(HuffmanCalls, LongCallsThatEndAnywhere) {
  // Long enough for tables that only one call uses.
  for (const Frequencies& frequencies : {FibonacciFrequencies(20), FibonacciFrequencies(3), CountBytes(Text(30000, 1)),
                                         CountBytes(RandomBytes(5000, 1))}) {
    const Lengths lengths = ModelLengths(frequencies);
    Random random(5);
    for (const Bytes& stream : Streams(frequencies, ModelCodes(lengths), 60000, 6)) {
      const size_t size = stream.size();
      for (int i = 0; i < 12; ++i) {
        Pair pair(lengths);
        const size_t piece = size - Uniform(random, 0, std::min<size_t>(size / 2, 50));
        const size_t loaded = pair.Call(Front(stream, piece), Uniform(random, 40000, 70000));
        const auto rest = stream.begin() + static_cast<ptrdiff_t>(loaded);
        if (loaded < size) pair.Call(Bytes(rest, stream.end()), 70000);
        if (HasFailure()) return;
      }
    }
  }
}

TEST(HuffmanCalls, RunsOfTheZeroCodeAtTheEndOfTheRoom) {
  // The call that fills its room within such a run has read as far as there are zeros.
  const Lengths lengths = ModelLengths(FibonacciFrequencies(7));  // codes of up to 6 bits
  const Codes codes = ModelCodes(lengths);
  const std::string zeros = codes[7], ones = codes[42];
  for (size_t before : {0, 3, 200, 900}) {
    for (size_t run : {1, 2, 3, 10, 47, 300}) {
      std::string bits;
      for (size_t i = 0; i < before; ++i) bits += ones;
      for (size_t i = 0; i < run; ++i) bits += zeros;
      for (size_t i = 0; i < 300; ++i) bits += ones;
      const Bytes stream = BytesOfBits(bits);
      for (size_t room = std::max<size_t>(before, 1); room < before + run + 10; ++room) {
        Pair pair(lengths);
        const size_t loaded = pair.Call(stream, room);
        pair.Call(Bytes(stream.begin() + static_cast<ptrdiff_t>(loaded), stream.end()), 2000);
        ASSERT_FALSE(HasFailure()) << before << " " << run << " " << room;
      }
    }
  }
}

TEST(HuffmanCalls, IncompleteCodes) {
  Random random(7);
  for (int i = 0; i < 300; ++i) {
    Lengths lengths{};
    uint64_t space = 0;
    const size_t shortest = Uniform(random, 1, 20);
    for (size_t k = Uniform(random, 1, 60); k > 0; --k) {
      const size_t length = Uniform(random, shortest, i % 3 == 0 ? 32 : std::min<size_t>(shortest + 6, 32));
      if (space + (uint64_t{1} << (32 - length)) >= uint64_t{1} << 32) continue;
      int32_t& entry = lengths[Uniform(random, 0, 255)];
      if (entry != 0) continue;
      entry = static_cast<int32_t>(length);
      space += uint64_t{1} << (32 - length);
    }
    Bytes sparse(300);
    for (uint8_t& byte : sparse) byte = random() % 3 == 0 ? static_cast<uint8_t>(random()) : uint8_t{0};
    for (const Bytes& stream : {RandomBytes(300, random()), sparse, Bytes(50, 0)}) {
      Pair(lengths).Run(stream, 20, 20, random);
      Pair(lengths).Run(stream, 300, 1000, random);
    }
    ASSERT_FALSE(HasFailure()) << i;
  }
}

TEST(HuffmanCalls, ARecordThatHasEncodedIsStillADecoder) {
  // Encoding leaves up to 31 bits pending where decoding leaves 24.
  const Frequencies frequencies = CountBytes(Text(1000, 1));
  const Lengths lengths = ModelLengths(frequencies);
  const Codes codes = ModelCodes(lengths);
  const Bytes data = DrawBytes(frequencies, 2000, 8);
  const Bytes stream = BytesOfBits(ModelBits(codes, data));
  for (size_t n = 1; n < 40; ++n) {
    Pair pair(lengths);
    pair.Encode(Front(data, n), codes);
    pair.Call(stream, n % 7 + 1);
    pair.Call(stream, 4000);
    ASSERT_FALSE(HasFailure()) << n;
  }
}

// A record is the caller's memory: whatever it holds, no call leaves it or the buffers.
TEST(HuffmanCalls, ARecordOfAnyContentHarmsNothingElse) {
  Random random(21);
  const std::vector<NamedFrequencies> all = AllFrequencies();
  for (int round = 0; round < 600; ++round) {
    const HuffRecord record;
    zelHuffState* const s = record.get();
    const Frequencies& frequencies = all[Uniform(random, 0, all.size() - 1)].frequencies;
    if (zelsEncodeHuffInit_8u(frequencies.data(), s) != zelOk) continue;
    Lengths lengths;
    ASSERT_EQ(zelsHuffGetLenCodeTable_8u(s, lengths.data()), zelOk);
    if (round % 4 != 0) {
      ASSERT_EQ(zelsDecodeHuffInit_8u(lengths.data(), s), zelOk);
    }

    // The codes, the fields behind them, a stretch anywhere, or all of it.
    uint8_t* const bytes = reinterpret_cast<uint8_t*>(s);
    const size_t begin = round % 3 == 0 ? sizeof(s->codes) : Uniform(random, 0, 2500);
    const size_t end = round % 3 == 2 ? sizeof(zelHuffState) : begin + Uniform(random, 1, 64);
    for (size_t i = begin; i < end; ++i) {
      if (round % 2 || random() % 4 == 0) bytes[i] = static_cast<uint8_t>(random());
    }

    int32_t len = 0;
    const GuardedBuffer rest(4);
    ASSERT_EQ(zelsEncodeHuffFinal_8u(rest.data(), &len, s), zelOk);
    ASSERT_GE(len, 0);
    ASSERT_LE(len, 4);
    const GuardedBuffer five(RandomBytes(5, random()));
    uint8_t byte = 0;
    for (int32_t bit = 0; bit < 8; ++bit) zelsDecodeHuffOne_8u(five.data(), bit, &byte, s);
    const GuardedBuffer codes(5);
    for (int32_t bit = 0; bit < 8; ++bit) zelsEncodeHuffOne_8u(static_cast<uint8_t>(random()), codes.data(), bit, s);

    const GuardedBuffer source(RandomBytes(Uniform(random, 1, round % 5 ? 200 : 4000), random()));
    const int32_t size = static_cast<int32_t>(source.size());
    const GuardedBuffer room(Uniform(random, 1, round % 2 ? 300 : 20000));
    len = static_cast<int32_t>(room.size());
    zelsDecodeHuff_8u(source.data(), size, room.data(), &len, s);
    ASSERT_GE(len, 0);
    ASSERT_LE(static_cast<size_t>(len), room.size());
    const GuardedBuffer words(4 * source.size() + 4);
    zelsEncodeHuff_8u(source.data(), size, words.data(), &len, s);
  }
}

}  // namespace
}  // namespace zeldc_test
