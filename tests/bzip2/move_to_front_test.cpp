// Move-to-front in both directions: statuses, edge cases, and the plain definition on data of every kind.

#include <string.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include "bzip2/plain_move_to_front.h"
#include "gtest/gtest.h"
#include "support/data.h"
#include "support/guarded_buffer.h"
#include "zeldc.h"

namespace {

using namespace zeldc_test;

using Transform = zelStatus (*)(const uint8_t*, uint8_t*, int32_t, zelMTFState*);

struct Direction {
  const char* name;
  Transform transform;
  Bytes (*plain)(const Bytes&, MTFTable&);
};

const Direction kDirections[] = {{"forward", zelsMTFFwd_8u, PlainMTFFwd}, {"inverse", zelsMTFInv_8u, PlainMTFInv}};

zelMTFState FreshState() {
  zelMTFState state;
  memset(&state, 0xA5, sizeof(state));
  EXPECT_EQ(zelsMTFInit_8u(&state), zelOk);
  return state;
}

MTFTable TableOf(const zelMTFState& state) {
  MTFTable table;
  std::copy(state.table, state.table + 256, table.begin());
  return table;
}

Bytes Transformed(Transform transform, const Bytes& input, zelMTFState* state) {
  Bytes output(input.size(), 0xEE);
  if (input.empty()) return output;
  EXPECT_EQ(transform(input.data(), output.data(), static_cast<int32_t>(input.size()), state), zelOk);
  return output;
}

// Output and table are those of the plain definition.
testing::AssertionResult IsRight(const Direction& direction, const Bytes& input, zelMTFState* state) {
  MTFTable table = TableOf(*state);
  const Bytes expected = direction.plain(input, table);
  const Bytes output = Transformed(direction.transform, input, state);
  if (output != expected) {
    const auto at = std::mismatch(output.begin(), output.end(), expected.begin()).first - output.begin();
    return testing::AssertionFailure() << direction.name << ", " << input.size() << " bytes: wrong at " << at;
  }
  if (TableOf(*state) != table) return testing::AssertionFailure() << direction.name << ": wrong table";
  return testing::AssertionSuccess();
}

// Pieces of `piece` bytes over small alphabets, as in a sorted block: another one in each piece.
Bytes LocalAlphabets(size_t size, size_t piece, unsigned symbols, uint64_t seed) {
  Random random(seed);
  Bytes out;
  while (out.size() < size) {
    Bytes alphabet(256);
    std::iota(alphabet.begin(), alphabet.end(), uint8_t{0});
    std::shuffle(alphabet.begin(), alphabet.end(), random);
    for (size_t i = 0; i < piece; ++i) out.push_back(alphabet[Uniform(random, 0, symbols - 1)]);
  }
  out.resize(size);
  return out;
}

std::vector<NamedData> Inputs() {
  std::vector<NamedData> all = AllKinds(20000);
  for (unsigned symbols : {1, 2, 15, 16, 17, 31, 32, 33, 47, 48, 49, 63, 64, 65, 127, 128, 129, 200, 255, 256}) {
    for (size_t piece : {100, 700, 5000}) {
      all.push_back({std::to_string(symbols) + " symbols in " + std::to_string(piece),
                     LocalAlphabets(12000, piece, symbols, symbols * 7919 + piece)});
    }
  }
  Bytes ranks = SmallAlphabet(10000, 17, 3);  // mostly near the front, some at its very end
  for (size_t i = 0; i < ranks.size(); i += 7) ranks[i] = static_cast<uint8_t>(i / 7 % 2 ? 255 : 240 + i % 16);
  all.push_back({"far ranks", ranks});
  Bytes alternating(5000, 1);
  all.push_back({"ones", alternating});
  all.push_back({"last ranks", Bytes(5000, 255)});
  return all;
}

}  // namespace

TEST(MoveToFrontStatus, GetSizeTells256) {
  int32_t size = 0;
  EXPECT_EQ(zelsMTFGetSize_8u(&size), zelOk);
  EXPECT_EQ(size, 256);
  EXPECT_EQ(sizeof(zelMTFState), 256u);
  EXPECT_EQ(zelsMTFGetSize_8u(nullptr), zelErrNullPtr);
}

TEST(MoveToFrontStatus, InitMakesTheIdentityAtAnyAddress) {
  EXPECT_EQ(zelsMTFInit_8u(nullptr), zelErrNullPtr);
  for (Guard guard : {Guard::kBehind, Guard::kBefore}) {
    for (size_t offset = 0; offset < 16; ++offset) {
      const GuardedBuffer memory(256 + offset, guard);
      memset(memory.data(), 0xA5, memory.size());
      uint8_t* const state = guard == Guard::kBehind ? memory.data() : memory.data() + offset;
      EXPECT_EQ(zelsMTFInit_8u(reinterpret_cast<zelMTFState*>(state)), zelOk);
      for (int i = 0; i < 256; ++i) ASSERT_EQ(state[i], i);
    }
  }
}

TEST(MoveToFrontStatus, InitAllocMakesTheIdentity) {
  EXPECT_EQ(zelsMTFInitAlloc_8u(nullptr), zelErrNullPtr);
  zelMTFState* state = nullptr;
  ASSERT_EQ(zelsMTFInitAlloc_8u(&state), zelOk);
  EXPECT_EQ(TableOf(*state), FreshMTFTable());
  EXPECT_EQ(zelsMTFFree_8u(state), zelOk);
}

TEST(MoveToFrontStatus, ErrorsInTheirOrderChangeNothing) {
  for (const Direction& direction : kDirections) {
    SCOPED_TRACE(direction.name);
    const Bytes source = {1, 2, 3};
    Bytes room(3, 0xEE);
    zelMTFState state = FreshState();
    EXPECT_EQ(direction.transform(nullptr, room.data(), 0, &state), zelErrNullPtr);
    EXPECT_EQ(direction.transform(source.data(), nullptr, 0, &state), zelErrNullPtr);
    EXPECT_EQ(direction.transform(source.data(), room.data(), 0, nullptr), zelErrNullPtr);
    for (int32_t len : {0, -1, INT32_MIN}) {
      EXPECT_EQ(direction.transform(source.data(), room.data(), len, &state), zelErrSize);
    }
    EXPECT_EQ(room, Bytes(3, 0xEE));
    EXPECT_EQ(TableOf(state), FreshMTFTable());
  }
}

TEST(MoveToFront, RepeatedByteHasItsRankOnce) {
  zelMTFState state = FreshState();
  EXPECT_EQ(Transformed(zelsMTFFwd_8u, {98, 98, 98}, &state), (Bytes{98, 0, 0}));
  EXPECT_EQ(state.table[98], 0);
  for (int i = 0; i < 98; ++i) EXPECT_EQ(state.table[i], i + 1);
  for (int i = 99; i < 256; ++i) EXPECT_EQ(state.table[i], i);
}

TEST(MoveToFront, RankFollowedByZerosIsARepeatedByte) {
  zelMTFState state = FreshState();
  EXPECT_EQ(Transformed(zelsMTFInv_8u, {98, 0, 0}, &state), (Bytes{98, 98, 98}));
  EXPECT_EQ(state.table[0], 98);
  for (int i = 1; i <= 98; ++i) EXPECT_EQ(state.table[i], i - 1);
}

TEST(MoveToFront, FirstByteMayBeAtTheFrontAlready) {
  zelMTFState state = FreshState();
  EXPECT_EQ(Transformed(zelsMTFFwd_8u, {0, 0, 1, 0}, &state), (Bytes{0, 0, 1, 1}));
  EXPECT_EQ(Transformed(zelsMTFFwd_8u, {0, 1}, &state), (Bytes{0, 1}));
  zelMTFState list = FreshState();
  EXPECT_EQ(Transformed(zelsMTFInv_8u, {0, 0, 1, 1}, &list), (Bytes{0, 0, 1, 0}));
}

TEST(MoveToFront, TheTwoTablesAreInversesOfEachOther) {
  const Bytes input = Text(3000, 11);
  zelMTFState ranks = FreshState();
  zelMTFState list = FreshState();
  EXPECT_EQ(Transformed(zelsMTFInv_8u, Transformed(zelsMTFFwd_8u, input, &ranks), &list), input);
  for (int v = 0; v < 256; ++v) ASSERT_EQ(list.table[ranks.table[v]], v);
  EXPECT_NE(TableOf(ranks), TableOf(list));
}

TEST(MoveToFront, ForwardStateIsNoUseToTheInverse) {
  const Bytes input = Text(100, 11);
  zelMTFState state = FreshState();
  Transformed(zelsMTFFwd_8u, Text(3000, 12), &state);
  zelMTFState handed_over = state;
  EXPECT_NE(Transformed(zelsMTFInv_8u, Transformed(zelsMTFFwd_8u, input, &state), &handed_over), input);
}

TEST(MoveToFront, IsThePlainDefinitionOnDataOfEveryKind) {
  for (const Direction& direction : kDirections) {
    for (const NamedData& input : Inputs()) {
      zelMTFState state = FreshState();
      ASSERT_TRUE(IsRight(direction, input.data, &state)) << input.name;
      ASSERT_TRUE(IsRight(direction, input.data, &state)) << input.name << ", going on";
    }
  }
}

TEST(MoveToFront, InverseGivesBackWhatForwardTook) {
  for (const NamedData& input : Inputs()) {
    zelMTFState ranks = FreshState();
    zelMTFState list = FreshState();
    ASSERT_EQ(Transformed(zelsMTFInv_8u, Transformed(zelsMTFFwd_8u, input.data, &ranks), &list), input.data)
        << input.name;
  }
}

TEST(MoveToFront, EveryRankMovesToTheFront) {
  Random random(4);
  MTFTable shuffled = FreshMTFTable();
  std::shuffle(shuffled.begin(), shuffled.end(), random);
  for (const Direction& direction : kDirections) {
    for (int i = 0; i < 256; ++i) {
      zelMTFState state;
      std::copy(shuffled.begin(), shuffled.end(), state.table);
      ASSERT_TRUE(IsRight(direction, {static_cast<uint8_t>(i)}, &state)) << i;
      ASSERT_TRUE(IsRight(direction, {static_cast<uint8_t>(255 - i), static_cast<uint8_t>(i)}, &state)) << i;
    }
  }
}

TEST(MoveToFront, EveryLengthAtEveryAlignment) {
  const Bytes data = Text(400, 1);
  for (const Direction& direction : kDirections) {
    for (size_t len = 1; len <= 300; len = len < 140 ? len + 1 : len + 13) {
      for (size_t offset = 0; offset < 17; ++offset) {
        const Bytes input(data.begin() + static_cast<ptrdiff_t>(offset),
                          data.begin() + static_cast<ptrdiff_t>(offset + len));
        Bytes memory(len + 64, 0xEE);
        zelMTFState state = FreshState();
        MTFTable table = FreshMTFTable();
        Bytes expected(memory);
        const Bytes output = direction.plain(input, table);
        std::copy(output.begin(), output.end(), expected.begin() + static_cast<ptrdiff_t>(offset));
        ASSERT_EQ(direction.transform(data.data() + offset, memory.data() + offset, static_cast<int32_t>(len), &state),
                  zelOk);
        ASSERT_EQ(memory, expected) << direction.name << " " << len << " " << offset;
        ASSERT_EQ(TableOf(state), table);
      }
    }
  }
}

TEST(MoveToFront, StaysBetweenGuardPages) {
  const Bytes data = LocalAlphabets(5000, 200, 30, 5);
  for (const Direction& direction : kDirections) {
    for (Guard guard : {Guard::kBehind, Guard::kBefore}) {
      for (size_t len = 1; len <= data.size(); len = len < 200 ? len + 1 : len + 311) {
        const Bytes input(data.begin(), data.begin() + static_cast<ptrdiff_t>(len));
        const GuardedBuffer source(input, guard);
        const GuardedBuffer destination(len, guard);
        const GuardedBuffer state(256, guard);
        zelMTFState* const record = reinterpret_cast<zelMTFState*>(state.data());
        ASSERT_EQ(zelsMTFInit_8u(record), zelOk);
        ASSERT_EQ(direction.transform(source.data(), destination.data(), static_cast<int32_t>(len), record), zelOk);
        MTFTable table = FreshMTFTable();
        ASSERT_EQ(destination.ToBytes(), direction.plain(input, table)) << direction.name << " " << len;
      }
    }
  }
}

TEST(MoveToFront, WorksInPlace) {
  for (const Direction& direction : kDirections) {
    for (const NamedData& input : Inputs()) {
      if (input.data.empty()) continue;
      MTFTable table = FreshMTFTable();
      zelMTFState state = FreshState();
      Bytes bytes = input.data;
      ASSERT_EQ(direction.transform(bytes.data(), bytes.data(), static_cast<int32_t>(bytes.size()), &state), zelOk);
      ASSERT_EQ(bytes, direction.plain(input.data, table)) << direction.name << ", " << input.name;
      ASSERT_EQ(TableOf(state), table);
    }
  }
}

TEST(MoveToFront, EverySplitIsTheWhole) {
  const Bytes input = LocalAlphabets(700, 150, 40, 6);
  for (const Direction& direction : kDirections) {
    zelMTFState whole = FreshState();
    const Bytes expected = Transformed(direction.transform, input, &whole);
    for (size_t at = 1; at < input.size(); ++at) {
      zelMTFState state = FreshState();
      Bytes output =
          Transformed(direction.transform, Bytes(input.begin(), input.begin() + static_cast<ptrdiff_t>(at)), &state);
      const Bytes rest =
          Transformed(direction.transform, Bytes(input.begin() + static_cast<ptrdiff_t>(at), input.end()), &state);
      output.insert(output.end(), rest.begin(), rest.end());
      ASSERT_EQ(output, expected) << direction.name << ", split at " << at;
      ASSERT_EQ(TableOf(state), TableOf(whole));
    }
  }
}

TEST(MoveToFront, ManySmallPiecesAreTheWhole) {
  const Bytes input = Mixed(30000, 7);
  Random random(8);
  for (const Direction& direction : kDirections) {
    zelMTFState whole = FreshState();
    const Bytes expected = Transformed(direction.transform, input, &whole);
    zelMTFState state = FreshState();
    Bytes output(input.size());
    for (size_t done = 0; done < input.size();) {
      const size_t piece = std::min(Uniform(random, 1, 40), input.size() - done);
      ASSERT_EQ(direction.transform(input.data() + done, output.data() + done, static_cast<int32_t>(piece), &state),
                zelOk);
      done += piece;
    }
    ASSERT_EQ(output, expected) << direction.name;
  }
}

// A table that is no permutation can give nothing sensible, but must do no harm.
TEST(MoveToFront, AnyTableIsHarmless) {
  const Bytes input = Mixed(9000, 9);
  for (const Direction& direction : kDirections) {
    for (const Bytes& garbage : {Bytes(256, 0), Bytes(256, 0xFF), RandomBytes(256, 10), SmallAlphabet(256, 3, 11)}) {
      const GuardedBuffer state(256);
      std::copy(garbage.begin(), garbage.end(), state.data());
      const GuardedBuffer destination(input.size());
      EXPECT_EQ(direction.transform(input.data(), destination.data(), static_cast<int32_t>(input.size()),
                                    reinterpret_cast<zelMTFState*>(state.data())),
                zelOk);
    }
  }
}
