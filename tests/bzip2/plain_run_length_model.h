// The run-length stages in their plainest form, a byte at a time.
#pragma once

#include <stdint.h>

#include <algorithm>

#include "support/bytes.h"
#include "zeldc.h"

namespace zeldc_test {

struct RunLengthResult {
  zelStatus status = zelOk;
  Bytes bytes;
  size_t consumed = 0;
};

// One call of the bzip2 encoder.
inline RunLengthResult PlainEncodeBzip2(const Bytes& src, size_t room, zelRLEState_BZ2& state) {
  RunLengthResult out;
  while (out.bytes.size() < room && out.consumed < src.size()) {
    if (state.runLen < 4) {
      const uint8_t byte = src[out.consumed++];
      state.runLen = (byte == state.lastByte ? state.runLen : 0) + 1;
      state.lastByte = byte;
      state.inUse[byte] = 1;
      out.bytes.push_back(byte);
    } else if (state.runLen < 259 && src[out.consumed] == state.lastByte) {
      ++out.consumed;
      ++state.runLen;
    } else {
      const auto count = static_cast<uint8_t>(state.runLen - 4);
      out.bytes.push_back(count);
      state.inUse[count] = 1;
      state.runLen = 0;
    }
  }
  out.status = out.consumed == src.size() ? zelOk : zelWarnDstFull;
  return out;
}

inline RunLengthResult PlainDecodeBzip2(const Bytes& src, size_t room) {
  RunLengthResult out;
  if (src.empty()) return out;
  int run = 0;
  while (out.consumed < src.size()) {
    if (run == 4) {
      const size_t count = src[out.consumed++];
      if (out.bytes.size() + count > room) {
        out.status = zelWarnDstFull;
        return out;
      }
      out.bytes.insert(out.bytes.end(), count, out.bytes.back());
      run = 0;
    } else if (out.bytes.size() < room) {
      const uint8_t byte = src[out.consumed++];
      run = run > 0 && byte == out.bytes.back() ? run + 1 : 1;
      out.bytes.push_back(byte);
    } else {
      break;
    }
  }
  if (out.bytes.size() == room) out.status = zelWarnDstFull;
  return out;
}

// One call of the plain encoder: what does not fit as a whole stays in the source.
inline RunLengthResult PlainEncodePairs(const Bytes& src, size_t room) {
  RunLengthResult out;
  while (out.consumed < src.size()) {
    const uint8_t byte = src[out.consumed];
    size_t run = 1;
    while (run < 257 && out.consumed + run < src.size() && src[out.consumed + run] == byte) ++run;
    const bool is_pair = run > 1;
    if (out.bytes.size() + (is_pair ? 3 : 1) > room) {
      out.status = zelWarnDstFull;
      break;
    }
    out.bytes.push_back(byte);
    if (is_pair) {
      out.bytes.push_back(byte);
      out.bytes.push_back(static_cast<uint8_t>(run - 2));
    }
    out.consumed += run;
  }
  return out;
}

inline RunLengthResult PlainDecodePairs(const Bytes& src, size_t room) {
  RunLengthResult out;
  while (out.consumed < src.size()) {
    const uint8_t byte = src[out.consumed];
    const bool is_pair = out.consumed + 1 < src.size() && src[out.consumed + 1] == byte;
    const bool has_count = is_pair && out.consumed + 2 < src.size();
    const size_t copies = !is_pair ? 1 : has_count ? 2 + size_t{src[out.consumed + 2]} : 2;
    if (out.bytes.size() + copies > room) {
      out.status = zelWarnDstFull;
      break;
    }
    out.bytes.insert(out.bytes.end(), copies, byte);
    out.consumed += !is_pair ? 1 : has_count ? 3 : 2;
  }
  return out;
}

}  // namespace zeldc_test
