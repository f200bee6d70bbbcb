// Any bytes as a stream, on the pair path with the expansion: whole and split they come to the same, which is also what
// the byte path makes of them, and zlib, if it accepts them.

#include "fuzz_support.h"

using namespace zeldc_fuzz;
using zeldc_test::Decode;
using zeldc_test::Decoded;
using zeldc_test::DecodeOptions;
using zeldc_test::Path;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const DecodeOptions split = ReadSplit(input, Path::kPairs);
  const Bytes stream = input.Rest();
  DecodeOptions whole;
  whole.path = Path::kPairs;
  whole.max_output = split.max_output;
  whole.dictionary = split.dictionary;
  const Decoded undivided = Decode(stream, whole);
  CheckAlike(undivided, Decode(stream, split));

  whole.path = Path::kBytes;
  const Decoded by_bytes = Decode(stream, whole);
  Check(undivided.data == by_bytes.data, "two paths, two outputs");
  // A distance that reaches too far has another status in the expansion.
  const zelStatus status = undivided.status == zelErrBadData ? zelErrSize : undivided.status;
  Check(status == by_bytes.status, "two paths, two statuses");
  Check(status != zelWarnStreamEnd || undivided.consumed == by_bytes.consumed, "two paths, two ends of the stream");

  const Oracle oracle = InflateRaw(stream, split.max_output - 1, split.dictionary);
  if (oracle.complete) {
    Check(undivided.status == zelWarnStreamEnd, "zlib accepts a stream that the pair path rejects");
    Check(undivided.data == oracle.data, "the pair path's output differs from zlib's");
    Check(undivided.consumed == oracle.consumed, "the pair path's end of the stream differs from zlib's");
  }
  return 0;
}
