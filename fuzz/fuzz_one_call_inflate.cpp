// One-call decoding: any code lengths, then any bytes as a block's body, and any bytes as a whole stream. The driver
// holds each call against a plain bit-by-bit decoder, with any split, history and number of bits held back; what zlib
// accepts comes to what zlib makes of it. And records of any content: nothing outside the buffers is touched.

#include <cstring>
#include <stdexcept>

#include "fuzz_support.h"
#include "inflate/one_call.h"
#include "support/guarded_buffer.h"

using namespace zeldc_fuzz;
using zeldc_test::DecodeOneCall;
using zeldc_test::GuardedBuffer;
using zeldc_test::OneCallOptions;
using zeldc_test::OneCallResult;

namespace {

OneCallOptions ReadOptions(Input& input) {
  OneCallOptions options;
  options.source_piece = input.Piece();
  options.room = input.Piece();
  const uint8_t flags = input.Byte();
  options.random = flags & 1;
  options.history = static_cast<zeldc_test::History>(flags / 2 % 3);
  options.held_bytes = flags / 6 % 5;
  options.seed = input.Byte();
  options.dictionary = Dictionary(input.Byte());
  options.max_output = 20000;
  return options;
}

OneCallResult Decode(const Bytes& stream, const OneCallOptions& options) {
  try {
    return DecodeOneCall(stream, options);
  } catch (const std::runtime_error& error) {
    Check(false, error.what());
    throw;
  }
}

// A whole stream.
void DecodeStream(Input& input) {
  const OneCallOptions split = ReadOptions(input);
  const Bytes stream = input.Rest();
  OneCallOptions whole;
  whole.dictionary = split.dictionary;
  whole.max_output = split.max_output;
  const OneCallResult undivided = Decode(stream, whole);
  const OneCallResult divided = Decode(stream, split);
  if (undivided.status == zelWarnDstFull || divided.status == zelWarnDstFull) return;
  Check(undivided.status == divided.status, "the status of a split stream differs");
  Check(undivided.data == divided.data, "the output of a split stream differs");
  const Oracle oracle = InflateRaw(stream, split.max_output - 1, split.dictionary);
  if (oracle.complete && !undivided.lacks_distances) {
    Check(undivided.status == zelOk, "zlib accepts a stream that one-call decoding rejects");
    Check(undivided.data == oracle.data, "the output differs from zlib's");
    Check(undivided.consumed == oracle.consumed, "the end of the stream differs from zlib's");
  }
}

// A record: made of code lengths, or of any bytes, some of them changed; then calls with buffers of any size.
void DecodeBody(Input& input, bool build) {
  zelInflateState record;
  std::memset(static_cast<void*>(&record), input.Byte(), sizeof(record));
  if (build) {
    const uint32_t litLens = input.Byte() + uint32_t{input.Byte()} % 32;
    const uint32_t distances = input.Byte() % 32;
    const Bytes packed = input.Take((litLens + distances + 1) / 2);
    std::vector<uint16_t> lengths;
    for (uint32_t i = 0; i < litLens + distances; ++i) {
      lengths.push_back(i / 2 < packed.size() ? packed[i / 2] >> (i % 2 * 4) & 15 : 0);
    }
    if (lengths.empty()) lengths.push_back(0);
    if (zelsInflateBuildHuffTable(lengths.data(), litLens, distances, &record) != zelOk) return;
  } else {
    record.tableForm = input.Byte() % 4;
    record.maxLitBits = input.Byte() % 13;
    record.maxDistBits = input.Byte() % 12;
    record.resumeState = input.Byte() % 8;
    record.resumeValue = input.Word() % 300;
    record.resumeInfo = input.Byte() % 16;
    record.resumeDist = input.Word();
    const Bytes content = input.Take(input.Word() % 4096);
    for (size_t at = 0; !content.empty() && at < sizeof(record.tables); ++at) {
      record.tables[at] = content[at % content.size()];
    }
  }
  for (size_t changes = input.Byte() % 16; changes > 0; --changes) {
    record.tables[input.Word() % sizeof(record.tables)] = input.Byte();
  }
  const GuardedBuffer window(Bytes(input.Word(), 'w'));
  record.window = window.data();
  record.windowSize = static_cast<uint32_t>(window.size());
  uint32_t count = input.Byte() % 33;
  uint32_t bits = 0;
  int32_t mode = input.Byte() % 3;
  for (int calls = 0; calls < 20 && !input.IsEmpty(); ++calls) {
    const GuardedBuffer source(input.Take(input.Byte() % 2 ? input.Word() % 2048 : input.Byte()));
    const size_t before = input.Word() % 35000;
    GuardedBuffer out(before + (input.Byte() % 2 ? input.Word() : input.Byte()));
    const uint8_t* src = source.data();
    uint8_t* dst = out.data() + before;
    uint32_t srcLen = static_cast<uint32_t>(source.size());
    uint32_t dstLen = static_cast<uint32_t>(out.size() - before);
    const uint32_t fill = static_cast<uint32_t>(input.Word() % (window.size() + 1));
    const zelStatus status = zelsInflate_8u(&src, &srcLen, &bits, &count, fill, &dst, &dstLen,
                                            static_cast<uint32_t>(before), &mode, &record);
    Check(status == zelOk || status == zelErrBadData, "a status that is none of this function's");
    Check(src + srcLen == source.end() && dst + dstLen == out.end(), "pointers and counts do not agree");
    Check(count <= 32 && mode >= 0 && mode <= 2, "the bit count or the mode is out of range");
    if (status != zelOk) return;
    if (mode == zelInflateBlockEnd) mode = zelInflateBetween;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  switch (input.Byte() % 3) {
    case 0:
      DecodeStream(input);
      break;
    case 1:
      DecodeBody(input, true);
      break;
    default:
      DecodeBody(input, false);
      break;
  }
  return 0;
}
