// Zero-run coding in its plainest form, a zero and a symbol at a time.
#pragma once

#include <stdint.h>

#include <vector>

#include "support/bytes.h"
#include "zeldc.h"

namespace zeldc_test {

using Symbols = std::vector<uint16_t>;

// The code of a run: bijective base 2, lowest digit first.
inline Symbols RunCode(uint64_t run) {
  Symbols code;
  while (run > 0) {
    --run;
    code.push_back(static_cast<uint16_t>(run & 1));
    run >>= 1;
  }
  return code;
}

struct PlainEncoded {
  Symbols symbols;
  size_t consumed = 0;
  zelStatus status = zelOk;
};

// A run is written when its end is known. Where its code does not fit, the longest that fits is written instead, and
// the call ends. A literal behind a run may take one element more than there is room.
inline PlainEncoded PlainEncodeZ1Z2(const Bytes& bytes, size_t room) {
  PlainEncoded out;
  while (out.consumed < bytes.size() && out.symbols.size() < room) {
    size_t run = 0;
    while (out.consumed + run < bytes.size() && bytes[out.consumed + run] == 0) ++run;
    Symbols code = RunCode(run);
    const bool cut = out.symbols.size() + code.size() > room;
    if (cut) {
      code = Symbols(room - out.symbols.size(), 1);  // only RUNBs
      run = (size_t{2} << code.size()) - 2;
    }
    out.symbols.insert(out.symbols.end(), code.begin(), code.end());
    out.consumed += run;
    if (cut || out.consumed == bytes.size()) break;
    out.symbols.push_back(static_cast<uint16_t>(bytes[out.consumed++] + 1));
  }
  out.status = out.consumed == bytes.size() ? zelOk : zelWarnDstFull;
  return out;
}

struct PlainDecoded {
  Bytes bytes;
  size_t consumed = 0;
  zelStatus status = zelOk;
};

inline PlainDecoded PlainDecodeZ1Z2(const Symbols& symbols, size_t room) {
  PlainDecoded out;
  while (out.consumed < symbols.size()) {
    uint64_t run = 0;
    uint64_t weight = 1;
    for (; out.consumed < symbols.size() && symbols[out.consumed] < 2; ++out.consumed) {
      if (run <= room) run += weight * (symbols[out.consumed] + 1u);  // more than the room will not get smaller
      weight *= 2;
    }
    const bool at_end = out.consumed == symbols.size();
    if (out.bytes.size() + run + (at_end ? 0 : 1) > room) {
      out.status = zelWarnDstFull;
      break;
    }
    out.bytes.insert(out.bytes.end(), static_cast<size_t>(run), uint8_t{0});
    if (!at_end) out.bytes.push_back(static_cast<uint8_t>(symbols[out.consumed++] - 1));
  }
  return out;
}

}  // namespace zeldc_test
