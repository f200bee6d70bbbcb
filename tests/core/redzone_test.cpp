// Redzones between the areas of records, in builds with the address sanitizer.

#include "core/redzone.h"

#include <sanitizer/asan_interface.h>
#include <string.h>

#include "bzip2/huffman_decode_state.h"
#include "deflate/encoder_state.h"
#include "dictionary/lzss_state.h"
#include "gtest/gtest.h"
#include "inflate/decoder_state.h"
#include "zeldc.h"

namespace {

using namespace zeldc;

template <typename Record>
class Redzones : public testing::Test {};

using Records = testing::Types<EncoderState, DecoderState, LzssEncoder, LzssDecoder, zelBZ2HuffDecodeState>;
TYPED_TEST_SUITE(Redzones, Records);

template <typename Record>
int ForbiddenZones(const Record* record) {
  int forbidden = 0;
  // Wherever a record stands, the sanitizer's granules of 8 bytes leave no more than the last 7 bytes out.
  record->ForEachRedzone([&](const auto&... zones) {
    ((forbidden += __asan_region_is_poisoned(const_cast<Redzone*>(&zones), 1) != nullptr), ...);
    ((forbidden += __asan_address_is_poisoned(zones.words + 5) ? 1 : 0), ...);
  });
  return forbidden;
}

TYPED_TEST(Redzones, AreForbiddenDuringACallAndTheCallersBehindIt) {
  for (const size_t offset : {0, 1}) {
    std::vector<uint32_t> memory(sizeof(TypeParam) / 4 + offset);
    const TypeParam* const record = reinterpret_cast<const TypeParam*>(memory.data() + offset);
    int zones = 0;
    record->ForEachRedzone([&](const auto&... z) { zones += static_cast<int>(sizeof...(z)); });
    EXPECT_GT(zones, 0);
    EXPECT_EQ(ForbiddenZones(record), 0);
    {
      const RedzoneGuard<TypeParam> guard(record);
      EXPECT_EQ(ForbiddenZones(record), 2 * zones);
    }
    EXPECT_EQ(ForbiddenZones(record), 0);
    memset(memory.data(), 0xA5, memory.size() * 4);
  }
}

// A damaged record, whose history seems to end within the redzone behind it.
TEST(RedzonesDeathTest, AnOverrunWithinARecordEndsTheProgram) {
  std::vector<uint32_t> memory(kDecoderRecordSize / 4);
  zelLZ77State* const record = reinterpret_cast<zelLZ77State*>(memory.data());
  ASSERT_EQ(zelsDecodeLZ77Init_8u(0, record), zelOk);
  auto expand = [&] {
    zelLZ77Pair pair{3, 8};
    zelLZ77Pair* pairs = &pair;
    uint8_t room[3];
    uint8_t* dst = room;
    int32_t pairs_len = 1, dst_len = sizeof(room);
    return zelsDecodeLZ77_8u(&pairs, &pairs_len, &dst, &dst_len, zelLZ77FlushNone, record);
  };
  Decoder(record)->history.fill = sizeof(History::window);
  EXPECT_EQ(expand(), zelOk);
  Decoder(record)->history.fill = sizeof(History::window) + 16;
  EXPECT_DEATH(expand(), "use-after-poison");
}

}  // namespace
