// Records of any content, and streams of any: no call leaves its buffers, hangs or answers what it may not.

#include <string.h>

#include "gtest/gtest.h"
#include "inflate/one_call.h"
#include "inflate/random_stream.h"
#include "support/guarded_buffer.h"
#include "support/oracle.h"

namespace zeldc_test {
namespace {

// Calls with the record until an error, the end of the block, or nothing more happens. Answers the bytes written.
size_t RunHostile(zelInflateState* record, Random& random, const Bytes& stream, size_t window_size) {
  const GuardedBuffer window(RandomBytes(window_size, random()), random() % 2 ? Guard::kBehind : Guard::kBefore);
  record->window = window.data();
  record->windowSize = static_cast<uint32_t>(window_size);
  uint32_t count = static_cast<uint32_t>(random() % 33);
  uint32_t bits = static_cast<uint32_t>((random() & 0xFFFFFFFF) >> (32 - count));
  int32_t mode = random() % 2 ? 2 : 1;
  size_t written = 0;
  size_t from = 0;
  for (int calls = 0; calls < 12; ++calls) {
    const size_t piece = Uniform(random, 0, std::min<size_t>(stream.size() - from, random() % 2 ? 20 : 3000));
    const GuardedBuffer source(
        Bytes(stream.begin() + static_cast<ptrdiff_t>(from), stream.begin() + static_cast<ptrdiff_t>(from + piece)));
    const size_t before = Uniform(random, 0, random() % 2 ? 10 : 40000);
    const size_t room = Uniform(random, 0, random() % 2 ? 300 : 9000);
    GuardedBuffer out(before + room, random() % 2 ? Guard::kBehind : Guard::kBefore);
    const uint8_t* src = source.data();
    uint8_t* dst = out.data() + before;
    uint32_t src_len = static_cast<uint32_t>(piece), dst_len = static_cast<uint32_t>(room);
    const uint32_t fill = static_cast<uint32_t>(Uniform(random, 0, window_size));
    const zelStatus status = zelsInflate_8u(&src, &src_len, &bits, &count, fill, &dst, &dst_len,
                                            static_cast<uint32_t>(before), &mode, record);
    EXPECT_TRUE(status == zelOk || status == zelErrBadData) << status;
    EXPECT_EQ(src + src_len, source.end());
    EXPECT_EQ(dst + dst_len, out.end());
    EXPECT_LE(count, 32u);
    EXPECT_EQ(count < 32 ? bits >> count : 0u, 0u);
    EXPECT_TRUE(mode >= 0 && mode <= 2);
    written += room - dst_len;
    from += piece - src_len;
    if (status != zelOk || mode == 0) return written;
  }
  return written;
}

TEST(OneCallHostile, RecordsOfRandomContent) {
  Random random(6);
  const Bytes stream = RandomBytes(20000, 7);
  size_t written = 0;
  for (int i = 0; i < 1000; ++i) {
    zelInflateState record = RandomRecord(random);
    record.tableForm = static_cast<uint32_t>(random() % 3);
    record.maxLitBits = static_cast<uint32_t>(random() % 13);
    record.maxDistBits = static_cast<uint32_t>(random() % 12);
    if (random() % 2) record.resumeState = static_cast<uint32_t>(random() % 8);
    if (random() % 2) record.resumeValue = static_cast<uint32_t>(random() % 260);
    if (random() % 2) record.resumeInfo = static_cast<uint32_t>(random() % 15);
    if (random() % 2) record.resumeDist = static_cast<uint32_t>(random() % 33000);
    written += RunHostile(&record, random, stream, Uniform(random, 0, 2000));
  }
  EXPECT_GT(written, 0u);
}

// Tables of real codes with some entries changed reach deeper.
TEST(OneCallHostile, TablesWithWrongEntries) {
  Random random(8);
  const Bytes stream = RandomBytes(20000, 9);
  size_t written = 0;
  for (int i = 0; i < 1000; ++i) {
    zelInflateState record = RandomRecord(random);
    const Lengths lit_len = RandomCode(random, 286, random() % 2 ? 286 : 30, 256);
    const Lengths distance = RandomCode(random, 30, 30, 0);
    std::vector<uint16_t> lengths;
    for (int length : lit_len) lengths.push_back(static_cast<uint16_t>(length));
    for (int length : distance) lengths.push_back(static_cast<uint16_t>(length));
    ASSERT_EQ(zelsInflateBuildHuffTable(lengths.data(), 286, 30, &record), zelOk);
    for (size_t n = Uniform(random, 0, 300); n > 0; --n) {
      record.tables[random() % 8192] = static_cast<uint8_t>(random() % 4 ? random() : 0xFF);
    }
    if (random() % 8 == 0) record.maxLitBits = static_cast<uint32_t>(random() % 12);
    if (random() % 8 == 0) record.tableForm = 3 - record.tableForm;
    written += RunHostile(&record, random, stream, 32768);
  }
  EXPECT_GT(written, 1000u);
}

// All entries the same: whatever an entry can say, also to the fast loop.
TEST(OneCallHostile, TablesOfOneEntry) {
  Random random(10);
  const Bytes stream = RandomBytes(5000, 11);
  for (const uint32_t form : {1u, 2u}) {
    for (unsigned info = 0; info < 256; ++info) {
      for (const unsigned value : {0u, 0xE0u}) {
        zelInflateState record = RandomRecord(random);
        record.tableForm = form;
        record.maxLitBits = 11;
        record.maxDistBits = 10;
        if (form == 2) {
          for (size_t i = 0; i < 4096; i += 2) {
            record.tables[i] = static_cast<uint8_t>(info);
            record.tables[i + 1] = static_cast<uint8_t>(value);
          }
        } else {
          memset(record.tables, static_cast<int>(value), 1536);
          memset(record.tables + 1536, static_cast<int>(info), 1536);
        }
        RunHostile(&record, random, stream, 1000);
        memset(record.tables, static_cast<int>(value ^ info), 4096);
        memset(record.tables + 4096, static_cast<int>(info), 4096);
        RunHostile(&record, random, stream, 40000);
      }
    }
  }
}

TEST(OneCallHostile, RandomLengthsNeverWriteOutsideTheRecord) {
  Random random(12);
  const Bytes stream = RandomBytes(3000, 13);
  for (int i = 0; i < 2000; ++i) {
    const uint32_t lit_lens = static_cast<uint32_t>(Uniform(random, 0, 286));
    const uint32_t distances = static_cast<uint32_t>(Uniform(random, 0, 30));
    const uint64_t most = Uniform(random, 1, random() % 8 ? 15 : 17);
    const uint64_t least = random() % 2 ? 0 : most / 2;
    Bytes bytes;
    for (uint32_t k = 0; k < lit_lens + distances; ++k) {
      bytes.push_back(static_cast<uint8_t>(least + random() % (most - least + 1)));
      bytes.push_back(0);
    }
    const GuardedBuffer lengths(bytes);
    GuardedBuffer memory(sizeof(zelInflateState));
    zelInflateState* const record = new (memory.data()) zelInflateState(RandomRecord(random));
    const zelStatus status =
        zelsInflateBuildHuffTable(reinterpret_cast<const uint16_t*>(lengths.data()), lit_lens, distances, record);
    ASSERT_TRUE(status == zelOk || status == zelErrBadData);
    if (status == zelOk) RunHostile(record, random, stream, 300);
  }
}

// Streams with wrong bits: never more than zlib accepts, and whole and split the same.
TEST(OneCallHostile, DamagedStreams) {
  Random random(14);
  for (int i = 0; i < 300; ++i) {
    Bytes stream = i % 2 ? DeflateWithZlib(Mixed(3000, random())) : RandomStream(random(), 4, 60).stream();
    for (size_t n = Uniform(random, 1, 3); n > 0; --n) {
      uint8_t& byte = stream[Uniform(random, 0, stream.size() - 1)];
      byte = static_cast<uint8_t>(byte ^ 1u << random() % 8);
    }
    OneCallOptions whole;
    whole.max_output = 100000;
    const OneCallResult undivided = DecodeOneCall(stream, whole);
    OneCallOptions split = OneCallSplits(random())[Uniform(random, 0, 26)];
    split.max_output = whole.max_output;
    const OneCallResult divided = DecodeOneCall(stream, split);
    if (undivided.status == zelWarnDstFull || divided.status == zelWarnDstFull) continue;
    ASSERT_EQ(undivided.status, divided.status);
    ASSERT_TRUE(undivided.data == divided.data);
    const Inflated oracle = InflateWithZlib(stream, whole.max_output);
    if (oracle.complete) {
      ASSERT_EQ(undivided.status, zelOk);
      ASSERT_TRUE(undivided.data == oracle.data);
      ASSERT_EQ(undivided.consumed, oracle.consumed);
    }
  }
}

}  // namespace
}  // namespace zeldc_test
