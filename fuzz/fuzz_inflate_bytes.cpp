// Any bytes as a stream, on the byte path: whole and split they come to the same, and what zlib accepts they come to
// what zlib makes of it.

#include "fuzz_support.h"

using namespace zeldc_fuzz;
using zeldc_test::Decode;
using zeldc_test::Decoded;
using zeldc_test::DecodeOptions;
using zeldc_test::Path;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const DecodeOptions split = ReadSplit(input, Path::kBytes);
  const Bytes stream = input.Rest();
  DecodeOptions whole;
  whole.max_output = split.max_output;
  whole.dictionary = split.dictionary;
  const Decoded undivided = Decode(stream, whole);
  CheckAlike(undivided, Decode(stream, split));
  const Oracle oracle = InflateRaw(stream, split.max_output - 1, split.dictionary);
  if (oracle.complete) {
    Check(undivided.status == zelWarnStreamEnd, "zlib accepts a stream that the byte path rejects");
    Check(undivided.data == oracle.data, "the byte path's output differs from zlib's");
    Check(undivided.consumed == oracle.consumed, "the byte path's end of the stream differs from zlib's");
  }
  return 0;
}
