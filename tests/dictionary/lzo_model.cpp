#include "dictionary/lzo_model.h"

#include <vector>

namespace zeldc_test {

namespace {

const Bytes kEnd = {0x11, 0, 0};

void AppendExtended(Bytes& out, size_t rest) {
  while (rest > 255) {
    out.push_back(0);
    rest -= 255;
  }
  out.push_back(static_cast<uint8_t>(rest));
}

void AppendWord(Bytes& out, size_t word) {
  out.push_back(static_cast<uint8_t>(word));
  out.push_back(static_cast<uint8_t>(word >> 8));
}

void AppendRun(Bytes& out, const Bytes& run, bool at_end) {
  const size_t t = run.size();
  if (out.empty() && t > 0 && (t <= 18 || (at_end && t <= 238))) {
    out.push_back(static_cast<uint8_t>(17 + t));
  } else if (t > 18) {
    out.push_back(0);
    AppendExtended(out, t - 18);
  } else if (t > 3) {
    out.push_back(static_cast<uint8_t>(t - 3));
  } else if (t > 0) {
    out[out.size() - 2] |= static_cast<uint8_t>(t);
  }
  Append(out, run);
}

void AppendMatch(Bytes& out, size_t d, size_t len) {
  if (len <= 8 && d <= 2048) {
    out.push_back(static_cast<uint8_t>((len - 1) << 5 | ((d - 1) & 7) << 2));
    out.push_back(static_cast<uint8_t>((d - 1) >> 3));
  } else if (d <= 16384) {
    out.push_back(static_cast<uint8_t>(0x20 | (len <= 33 ? len - 2 : 0)));
    if (len > 33) AppendExtended(out, len - 33);
    AppendWord(out, (d - 1) << 2);
  } else {
    const size_t e = d - 16384;
    out.push_back(static_cast<uint8_t>(0x10 | (e & 0x4000) >> 11 | (len <= 9 ? len - 2 : 0)));
    if (len > 9) AppendExtended(out, len - 9);
    AppendWord(out, e << 2);
  }
}

}  // namespace

uint16_t LzoSalt(int row, int byte) {
  static const std::vector<uint16_t> table = [] {
    std::vector<uint16_t> values;
    uint32_t x = 1;
    for (int i = 0; i < 1024; ++i) {
      x = 214013 * x + 2531011;
      values.push_back(static_cast<uint16_t>(x >> 16 & 0x7FFF));
    }
    return values;
  }();
  return table[static_cast<size_t>(256 * row + byte)];
}

Bytes LzoModelChunk(const Bytes& in) {
  const size_t n = in.size();
  Bytes out;
  std::vector<size_t> dictionary(16384, SIZE_MAX);
  size_t literals = 0;
  const auto run = [&](size_t end) {
    return Bytes(in.begin() + static_cast<ptrdiff_t>(literals), in.begin() + static_cast<ptrdiff_t>(end));
  };
  size_t p = 4;
  while (p + 13 < n) {
    unsigned slot =
        (LzoSalt(0, in[p]) ^ LzoSalt(1, in[p + 1]) ^ LzoSalt(2, in[p + 2]) ^ LzoSalt(3, in[p + 3])) & 0x3FFF;
    // Whether a slot holds a position within reach.
    const auto in_reach = [&](unsigned s) { return dictionary[s] != SIZE_MAX && p - dictionary[s] <= 49151; };
    const auto is_other = [&](unsigned s) { return p - dictionary[s] > 2048 && in[dictionary[s] + 3] != in[p + 3]; };
    bool rejected = !in_reach(slot);
    if (!rejected && is_other(slot)) {
      slot = (slot & 0x7FF) ^ 0x201F;
      rejected = !in_reach(slot) || is_other(slot);
    }
    size_t candidate = 0;
    size_t len = 0;
    if (!rejected) {
      candidate = dictionary[slot];
      while (p + len < n && in[candidate + len] == in[p + len]) ++len;
      rejected = len < 3;
    }
    dictionary[slot] = p;
    if (rejected) {
      ++p;
      continue;
    }
    AppendRun(out, run(p), false);
    AppendMatch(out, p - candidate, len);
    p += len;
    literals = p;
  }
  AppendRun(out, run(n), true);
  return out;
}

Bytes LzoModelEncode(const Bytes& in, size_t threads) {
  const size_t chunk = in.size() / threads;
  if (threads > 1 && chunk >= 256) {
    Bytes lengths;
    Bytes streams;
    for (size_t i = 0; i < threads; ++i) {
      const auto begin = in.begin() + static_cast<ptrdiff_t>(i * chunk);
      Bytes stream = LzoModelChunk(Bytes(begin, i + 1 < threads ? begin + static_cast<ptrdiff_t>(chunk) : in.end()));
      Append(stream, kEnd);
      if (i + 1 < threads) {
        AppendWord(lengths, stream.size());
        AppendWord(lengths, stream.size() >> 16);
      }
      Append(streams, stream);
    }
    Bytes out = {static_cast<uint8_t>(0x80 | threads)};
    AppendWord(out, in.size());
    AppendWord(out, in.size() >> 16);
    Append(out, lengths);
    Append(out, streams);
    if (out.size() != 115 + threads) return out;
  }
  Bytes out = LzoModelChunk(in);
  Append(out, kEnd);
  return out;
}

namespace {

struct Broken {};

// Reads and writes as the format is told, one byte at a time.
struct ModelDecoder {
  const Bytes& in;
  size_t room;
  size_t at = 0;
  Bytes out = {};

  unsigned Byte() {
    if (at == in.size()) throw Broken();
    return in[at++];
  }
  void Write(uint8_t byte) {
    if (out.size() == room) throw Broken();
    out.push_back(byte);
  }
  size_t Extended(size_t base) {
    size_t zeros = 0;
    unsigned last = Byte();
    for (; last == 0; last = Byte()) ++zeros;
    return base + 255 * zeros + last;
  }
  void Literals(size_t count) {
    for (; count > 0; --count) Write(static_cast<uint8_t>(Byte()));
  }
  void Run(unsigned b) { Literals(b == 0 ? Extended(18) : b + 3); }
  unsigned MatchByte() {
    const unsigned b = Byte();
    if (b < 16) throw Broken();
    return b;
  }

  void Stream() {
    unsigned b = Byte();
    if (b < 16 || b > 17) {
      b < 16 ? Run(b) : Literals(b - 17);
      b = MatchByte();
    }
    for (;;) {
      size_t len, distance, trailing;
      if (b >= 64) {
        len = (b >> 5) + 1;
        distance = (b >> 2 & 7) + 8 * Byte() + 1;
        trailing = b & 3;
      } else {
        const bool far = b < 32;
        const unsigned field = b & (far ? 7 : 31);
        len = field != 0 ? field + 2 : Extended(far ? 9 : 33);
        const size_t low = Byte();
        const size_t word = low + 256 * Byte();
        distance = far ? 16384 + ((b & 8) << 11) + word / 4 : word / 4 + 1;
        trailing = word % 4;
        if (far && field != 0 && (b & 8) == 0 && word < 4) return;
      }
      if (distance > out.size()) throw Broken();
      for (; len > 0; --len) Write(out[out.size() - distance]);
      Literals(trailing);
      b = Byte();
      if (b < 16) {
        Run(b);
        b = MatchByte();
      }
    }
  }
};

}  // namespace

std::optional<Bytes> LzoModelDecode(const Bytes& in, size_t room) {
  ModelDecoder decoder{in, room};
  try {
    while (decoder.at < in.size()) decoder.Stream();
  } catch (const Broken&) {
    return std::nullopt;
  }
  return decoder.out;
}

}  // namespace zeldc_test
