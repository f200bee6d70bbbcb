// Decompressing with the library's one-call decoder: what is left to do for its caller.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "common/file_streams.h"
#include "zeldc.h"
#include "zelzlib/bit_reader.h"
#include "zelzlib/window.h"

namespace zelzlib {

class Decompressor {
 public:
  // Decompresses the input, which is one zlib stream, to the output. `dictionary` may be needed.
  Decompressor(example::Input& input, const std::vector<uint8_t>& dictionary, example::Output& output);

  // Damage of any kind is a Failure that comes after the bytes before it. Answers whether anything is behind the
  // stream.
  bool Run();

 private:
  void ReadFrame();
  void ReadBlocks();
  void CopyStoredBlock();
  void ReadCodes();
  void DecodeBody();
  void Flush();
  [[noreturn]] void ThrowInvalid(const char* what) const;

  BitReader reader_;
  const std::vector<uint8_t>& dictionary_;
  example::Output& output_;
  const uint8_t* outputStart_;  // in the output's buffer: the first byte that the window does not hold
  Window window_;
  zelInflateState state_;
  uint32_t adler_;
};

}  // namespace zelzlib
