#include "inflate/checks.h"

#include <algorithm>
#include <ostream>

#include "support/oracle.h"

namespace zeldc_test {

namespace {

bool SamePairs(const std::vector<zelLZ77Pair>& a, const std::vector<zelLZ77Pair>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const zelLZ77Pair& x, const zelLZ77Pair& y) {
    return x.length == y.length && x.distance == y.distance;
  });
}

void ExpectAlike(const Decoded& a, const Decoded& b) {
  EXPECT_EQ(a.status, b.status);
  EXPECT_EQ(a.data.size(), b.data.size());
  EXPECT_TRUE(a.data == b.data);
  if (a.status != zelWarnStreamEnd) return;
  EXPECT_EQ(a.consumed, b.consumed);
  EXPECT_EQ(a.block_ends, b.block_ends);
  EXPECT_TRUE(SamePairs(a.pairs, b.pairs));
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const DecodeOptions& options) {
  return out << (options.path == Path::kBytes ? "byte path" : "pair path") << ", pieces of " << options.source_piece
             << ", room " << options.room << ", pairs " << options.pairs_room << ", seed " << options.split_seed;
}

Decoded DecodeOnAllSplits(Path path, const Bytes& stream, const DecodeOptions& options) {
  Decoded first;
  bool is_first = true;
  for (DecodeOptions split : AllSplits(path)) {
    split.max_output = options.max_output;
    split.dictionary = options.dictionary;
    SCOPED_TRACE(testing::Message() << split);
    Decoded got;
    EXPECT_NO_THROW(got = Decode(stream, split));
    if (is_first) {
      first = got;
    } else {
      ExpectAlike(first, got);
    }
    is_first = false;
    if (testing::Test::HasFailure()) break;
  }
  return first;
}

Decoded DecodeOnBothPaths(const Bytes& stream, const DecodeOptions& options) {
  const Decoded bytes = DecodeOnAllSplits(Path::kBytes, stream, options);
  const Decoded pairs = DecodeOnAllSplits(Path::kPairs, stream, options);
  EXPECT_TRUE(bytes.status == pairs.status || (bytes.status == zelErrSize && pairs.status == zelErrBadData))
      << "byte path " << bytes.status << ", pair path " << pairs.status;
  EXPECT_EQ(bytes.data.size(), pairs.data.size());
  EXPECT_TRUE(bytes.data == pairs.data);
  if (bytes.status == zelWarnStreamEnd) {
    EXPECT_EQ(bytes.consumed, pairs.consumed);
    EXPECT_EQ(bytes.block_ends, pairs.block_ends);
  }
  const Inflated oracle = InflateWithZlib(stream, options.max_output - 1, options.dictionary);
  if (oracle.complete) {
    EXPECT_EQ(bytes.status, zelWarnStreamEnd) << "zlib accepts the stream";
    EXPECT_TRUE(bytes.data == oracle.data);
    EXPECT_EQ(bytes.consumed, oracle.consumed);
  }
  return bytes;
}

void ExpectDecodes(const Bytes& stream, const Bytes& expected, const DecodeOptions& given) {
  DecodeOptions options = given;
  options.max_output = expected.size() + 1000;
  const Decoded got = DecodeOnBothPaths(stream, options);
  EXPECT_EQ(got.status, zelWarnStreamEnd);
  EXPECT_EQ(got.data.size(), expected.size());
  EXPECT_TRUE(got.data == expected);
  EXPECT_EQ(got.consumed, stream.size());
}

void ExpectDecodes(const StreamBuilder& built, const DecodeOptions& options) {
  ExpectDecodes(built.stream(), built.output(), options);
  for (const Path path : {Path::kBytes, Path::kPairs}) {
    DecodeOptions whole = options;
    whole.path = path;
    SCOPED_TRACE(testing::Message() << whole);
    Decoded got;
    EXPECT_NO_THROW(got = Decode(built.stream(), whole));
    EXPECT_EQ(got.block_ends, built.BlockEnds());
    EXPECT_TRUE(path == Path::kBytes || SamePairs(got.pairs, built.pairs()));
  }
}

void ExpectMalformed(const StreamBuilder& built, const DecodeOptions& options) {
  // Near the input's end, and with plenty behind, where decoders go by other ways.
  StreamBuilder with_more = built;
  with_more.Raw(RandomBytes(100, 1));
  for (const Bytes& stream : {built.stream(), with_more.stream()}) {
    SCOPED_TRACE(testing::Message() << "a stream of " << stream.size() << " bytes");
    const Decoded got = DecodeOnBothPaths(stream, options);
    EXPECT_EQ(got.status, zelErrSize);
    EXPECT_EQ(got.data, built.output());
    // The oracle is no more lenient.
    EXPECT_FALSE(InflateWithZlib(stream, options.max_output, options.dictionary).complete);
  }
}

}  // namespace zeldc_test
