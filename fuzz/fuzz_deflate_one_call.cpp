// The one-call Deflate helpers: any data with any level, sizes, splits and dictionary makes a stream that zlib reads,
// and with tables and window of any content the items still stand for the input.

#include <algorithm>

#include "deflate/one_call_stream.h"
#include "fuzz_support.h"

using namespace zeldc_fuzz;
using zeldc_test::EncodeByOneCalls;
using zeldc_test::ExpandItems;
using zeldc_test::Front;
using zeldc_test::Items;
using zeldc_test::OneCallOptions;
using zeldc_test::OneCallSearched;
using zeldc_test::OneCallStream;

namespace {

void CheckStream(const Bytes& data, const OneCallOptions& options) {
  const Bytes stream = EncodeByOneCalls(data, options);
  Bytes known;
  if (options.dictionary.size() >= 3) {
    const size_t n = std::min(options.dictionary.size(), static_cast<size_t>(options.win_size));
    known.assign(options.dictionary.end() - static_cast<ptrdiff_t>(n), options.dictionary.end());
  }
  const Oracle oracle = InflateRaw(stream, data.size(), known);
  Check(oracle.complete && oracle.data == data, "zlib does not give the data back");
  Check(oracle.consumed == stream.size(), "bytes follow the stream's end");
}

// Tables from the fuzzer's bytes, some of them near the index.
void CheckHostileTables(Input& input, int32_t level, int32_t win_size, int32_t hash_size) {
  OneCallStream stream(level, win_size, hash_size);
  stream.index = static_cast<int32_t>(static_cast<uint32_t>(input.Word()) << (input.Byte() % 17));
  const Bytes entries = input.Take(input.Byte() * size_t{4});
  auto fill = [&](int32_t* table, int32_t size) {
    for (int32_t i = 0; i < size && !entries.empty(); ++i) {
      const uint32_t at = static_cast<uint32_t>(i) * 2654435761u % static_cast<uint32_t>(entries.size());
      const uint32_t value = entries[at] | uint32_t{entries[(at + 1) % entries.size()]} << 8;
      table[i] = static_cast<int32_t>(static_cast<uint32_t>(stream.index) - (value & 0xFFF) + (value >> 15) * 2000);
    }
  };
  fill(stream.head(), hash_size);
  fill(stream.chain(), win_size);
  for (size_t i = 0; i < stream.window().size(); ++i) stream.window().data()[i] = static_cast<uint8_t>(i % 3);
  const Bytes history =
      Front(stream.window().ToBytes(), static_cast<size_t>(std::clamp(stream.index, 0, stream.win_size)));
  const size_t room = input.Piece();
  const zelLZ77FlushMode flush = input.Byte() % 4;
  Bytes data = input.Rest();
  for (size_t i = 0; i < 500; ++i) data.push_back(static_cast<uint8_t>(i % 3));
  const OneCallSearched got = stream.Search(data, flush, room);
  Check(got.status == zelOk && ExpandItems(got.items, history) == Front(data, got.consumed),
        "the items do not stand for the input");
  Check(got.counts == CountItems(got.items), "the counts are not those of the items");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  Input input(bytes, size);
  OneCallOptions options;
  const bool hostile = input.Byte() % 4 == 0;
  options.level = input.Byte() % 10;
  options.win_size = 256 + (input.Word() & 0x7FFF) % (32768 - 256 + 1);
  options.hash_size = 256 << (input.Byte() % 9);
  if (hostile) {
    CheckHostileTables(input, options.level, options.win_size, options.hash_size);
    return 0;
  }
  options.input_piece = input.Piece();
  options.room = input.Piece();
  options.block_items = 1 + input.Word();
  options.flush_pieces = input.Byte() % 2 == 1;
  options.split_seed = input.Byte();
  options.dictionary = Dictionary(input.Byte());
  // Small pieces cost time: the smaller they are, the less data.
  const size_t piece = std::min({options.input_piece, options.room, options.block_items, size_t{1000}});
  Bytes data = ReadRepeatedData(input);
  if (data.size() > 40 * piece) data.resize(40 * piece);
  CheckStream(data, options);
  return 0;
}
