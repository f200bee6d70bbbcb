// Any data through the encoder, with any level, kind of blocks, flush mode, splits and dictionary: zlib and both paths
// of the decoder give it back.

#include <algorithm>

#include "fuzz_support.h"
#include "support/encode.h"

using namespace zeldc_fuzz;
using zeldc_test::BlockKind;
using zeldc_test::Decode;
using zeldc_test::Decoded;
using zeldc_test::DecodeOptions;
using zeldc_test::Encode;
using zeldc_test::EncodeFile;
using zeldc_test::EncodeOptions;
using zeldc_test::Path;

namespace {

Bytes ReadData(Input& input, size_t most) {
  Bytes data = ReadRepeatedData(input);
  if (data.size() > most) data.resize(most);
  return data;
}

void CheckDecodes(const Bytes& stream, const Bytes& data, DecodeOptions options) {
  options.max_output = data.size() + 1;
  const Decoded got = Decode(stream, options);
  Check(got.status == zelWarnStreamEnd && got.data == data && got.consumed == stream.size(),
        options.path == Path::kBytes ? "the byte path does not give the data back"
                                     : "the pair path does not give the data back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  Input input(bytes, size);
  EncodeOptions options;
  options.level = input.Byte() % 3;
  options.checksum = input.Byte() % 3;
  options.block = static_cast<BlockKind>(input.Byte() % 5);
  options.flush = input.Byte() % 3;
  options.input_piece = input.Piece();
  options.pairs_room = std::min<size_t>(input.Piece(), zelLZ77MaxPairs);
  options.room = input.Piece();
  options.split_seed = input.Byte();
  options.dictionary = Dictionary(input.Byte());
  const DecodeOptions split = ReadSplit(input, input.Byte() % 2 ? Path::kBytes : Path::kPairs);
  // Small pieces cost time: the smaller they are, the less data. Small blocks in small rooms cost the most.
  const size_t room = std::min<size_t>(options.room, 100), pairs = std::min<size_t>(options.pairs_room, 100);
  const size_t piece = std::min({options.input_piece, split.source_piece, split.room, split.pairs_room, size_t{100}});
  const Bytes data = ReadData(input, std::min(400 * piece, 20 * room * pairs));

  const Bytes stream = Encode(data, options);
  const Oracle oracle = InflateRaw(stream, data.size(), options.dictionary);
  Check(oracle.complete && oracle.data == data, "zlib does not give the data back");
  Check(oracle.consumed == stream.size(), "bytes follow the stream's end");
  for (const Path path : {Path::kBytes, Path::kPairs}) {
    DecodeOptions whole;
    whole.path = path;
    whole.dictionary = options.dictionary;
    CheckDecodes(stream, data, whole);
  }
  DecodeOptions divided = split;
  divided.dictionary = options.dictionary;
  CheckDecodes(stream, data, divided);

  if (options.checksum != zelLZ77CheckNone && options.dictionary.empty()) {
    const Bytes file = EncodeFile(data, options);
    const Oracle file_oracle = InflateFile(file, data.size());
    Check(file_oracle.complete && file_oracle.data == data, "zlib does not accept the trailer");
  }
  // The stream does not depend on the room.
  if (options.split_seed == 0 && options.room != SIZE_MAX) {
    options.room = SIZE_MAX;
    Check(Encode(data, options) == stream, "two rooms, two streams");
  }
  return 0;
}
