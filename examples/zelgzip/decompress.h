// Decompressing: how the library's Deflate decoder is driven, on its byte path.
#pragma once

#include <memory>

#include "common/file_streams.h"
#include "zelgzip/member_header.h"

namespace zelgzip {

// What was found in a gzip file.
struct Contents {
  MemberHeader header;         // the first member's
  uint64_t size = 0;           // bytes that all members together decompress to
  uint64_t framingBytes = 0;   // headers and trailers
  uint32_t crc = 0;            // the last member's
  Ahead behind = Ahead::kEnd;  // what follows the last member: end, zeros or garbage
};

class Decompressor {
 public:
  explicit Decompressor(example::Input& input);

  // Whether the input is gzip's at all. Nothing is consumed.
  bool Recognizes() { return StandsOnMember(cursor_); }

  // Reads the first header, which tells the file's name.
  const MemberHeader& ReadFirstHeader();

  // Decompresses all members, the first header having been read, and flushes the output. Damage of any kind is a
  // Failure that comes after the bytes before it.
  const Contents& Decompress(example::Output& output);

  // Copies the input as it is.
  void Copy(example::Output& output);

 private:
  struct FreeState {
    void operator()(zelLZ77State* state) const { zelsLZ77Free_8u(state); }
  };

  void DecodeMembers(example::Output& output);
  void DecodeMember(example::Output& output);
  int32_t ReadBlockType();
  zelStatus DecodeBlock(int32_t type, example::Output& output);
  zelStatus DecodePart(int32_t type, example::Output& output);
  void CheckTrailer(uint64_t memberSize);

  example::InputCursor cursor_;
  std::unique_ptr<zelLZ77State, FreeState> state_;
  Contents contents_;
};

}  // namespace zelgzip
