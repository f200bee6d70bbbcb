// One-call decoding of a file that zlib compressed at level 6, beside the coders of inflate.cpp: the caller's part, the
// block structure, is here.

#include <cstring>

#include "bench.h"

namespace {

constexpr uint32_t kWindowSize = 32768;

// The stream: `bits` and `count` are what zelsInflate_8u is given.
struct Source {
  explicit Source(const Input& input) : in(input) {}

  void Fill(uint32_t n) {
    while (count < n) {
      if (in.left == 0 && !in.Refill()) Fail("the one-call decoder wants more than the whole stream");
      bits |= uint32_t{*in.next++} << count;
      --in.left;
      count += 8;
    }
  }
  uint32_t Take(uint32_t n) {
    Fill(n);
    const uint32_t value = bits & ((uint32_t{1} << n) - 1);
    bits >>= n;
    count -= n;
    return value;
  }

  Input in;
  uint32_t bits = 0;
  uint32_t count = 0;
};

// The output: what the buffer holds, and the history before it.
struct Sink {
  explicit Sink(Output& output) : out(output), start(output.next) {}

  uint32_t Written() const { return static_cast<uint32_t>(out.next - start); }
  void Drain() {
    const uint32_t kept = std::min(fill, kWindowSize - std::min(Written(), kWindowSize));
    const uint32_t added = std::min(Written(), kWindowSize);
    std::memmove(window, window + (fill - kept), kept);
    std::memcpy(window + kept, out.next - added, added);
    fill = kept + added;
    out.Drain();
  }

  Output& out;
  uint8_t* start;
  uint8_t window[kWindowSize];
  uint32_t fill = 0;
};

void CopyStored(Source& source, Sink& sink) {
  source.Take(source.count % 8);
  uint32_t left = source.Take(16);
  source.Take(16);
  while (left > 0) {
    if (sink.out.room == 0) sink.Drain();
    uint32_t count = 1;
    if (source.count > 0) {  // bytes that have been read already
      *sink.out.next = static_cast<uint8_t>(source.Take(8));
    } else {
      if (source.in.left == 0 && !source.in.Refill()) Fail("the one-call decoder wants more than the whole stream");
      count = std::min({left, static_cast<uint32_t>(source.in.left), static_cast<uint32_t>(sink.out.room)});
      std::memcpy(sink.out.next, source.in.next, count);
      source.in.next += count;
      source.in.left -= static_cast<int32_t>(count);
    }
    sink.out.next += count;
    sink.out.room -= static_cast<int32_t>(count);
    left -= count;
  }
}

// Reads the code lengths of a dynamic block.
void ReadCodes(Source& source, zelInflateState& state) {
  static constexpr uint8_t kOrder[19] = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
  const uint32_t litLens = source.Take(5) + 257;
  const uint32_t distances = source.Take(5) + 1;
  const uint32_t codeLengths = source.Take(4) + 4;
  uint8_t lengths[19] = {};
  for (uint32_t i = 0; i < codeLengths; ++i) lengths[kOrder[i]] = static_cast<uint8_t>(source.Take(3));

  struct Entry {
    uint8_t symbol, bits;
  } entries[128] = {};
  uint32_t code = 0;
  for (uint8_t length = 1; length <= 7; ++length, code <<= 1) {
    for (uint8_t symbol = 0; symbol < 19; ++symbol) {
      if (lengths[symbol] != length) continue;
      uint32_t reversed = 0;
      for (uint32_t i = 0; i < length; ++i) reversed |= (code >> i & 1) << (length - 1 - i);
      for (uint32_t i = reversed; i < 128; i += 1u << length) entries[i] = {symbol, length};
      ++code;
    }
  }

  uint16_t all[286 + 30 + 138] = {};
  const uint32_t total = litLens + distances;
  for (uint32_t n = 0; n < total;) {
    source.Fill(7);  // the end of the block alone has as many behind these lengths, or the trailer does
    const Entry entry = entries[source.bits & 127];
    source.Take(entry.bits);
    if (entry.symbol < 16) {
      all[n++] = entry.symbol;
      continue;
    }
    const uint16_t value = entry.symbol == 16 && n > 0 ? all[n - 1] : uint16_t{0};
    const uint32_t run = entry.symbol == 16   ? 3 + source.Take(2)
                         : entry.symbol == 17 ? 3 + source.Take(3)
                                              : 11 + source.Take(7);
    std::fill_n(all + n, run, value);
    n += run;
  }
  Check(zelsInflateBuildHuffTable(all, litLens, distances, &state), "zelsInflateBuildHuffTable");
}

void DecodeBody(Source& source, Sink& sink, zelInflateState& state) {
  int32_t mode = zelInflateBetween;
  for (;;) {
    uint32_t left = static_cast<uint32_t>(source.in.left);
    uint32_t room = static_cast<uint32_t>(sink.out.room);
    Check(zelsInflate_8u(&source.in.next, &left, &source.bits, &source.count, sink.fill, &sink.out.next, &room,
                         sink.Written(), &mode, &state),
          "zelsInflate_8u");
    source.in.left = static_cast<int32_t>(left);
    sink.out.room = static_cast<int32_t>(room);
    if (mode == zelInflateBlockEnd) return;
    if (room == 0) sink.Drain();
    if (left == 0 && !source.in.Refill()) Fail("the one-call decoder wants more than the whole stream");
  }
}

}  // namespace

void InflateByBlocks(const Input& in, Output& out) {
  static zelInflateState state;
  Source source(in);
  Sink sink(out);
  state.window = sink.window;
  state.windowSize = kWindowSize;
  for (bool last = false; !last;) {
    last = source.Take(1) == 1;
    const uint32_t type = source.Take(2);
    if (type == 0) {
      CopyStored(source, sink);
      continue;
    }
    if (type == 1) {
      state.tableForm = zelInflateFixed;
    } else {
      ReadCodes(source, state);
    }
    DecodeBody(source, sink, state);
  }
  out.Drain();
}
