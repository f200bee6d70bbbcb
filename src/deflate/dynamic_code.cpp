// Making of dynamic codes, and the choice between kinds of blocks (RFC 1951 section 3.2.7).

#include "deflate/dynamic_code.h"

#include <string.h>

#include <algorithm>

#include "checksum/crc.h"
#include "deflate/pair_vectors.h"
#include "shared/bits_lsb.h"
#include "shared/code_lengths.h"

namespace zeldc {

namespace {

// The tree description: code lengths, run-length coded, with a code of their own.
struct LengthCoder {
  uint8_t symbols[kLitLenSymbols + kDistanceSymbols];
  uint8_t extra[kLitLenSymbols + kDistanceSymbols];
  int n = 0;
  uint32_t frequencies[kCodeLengthSymbols] = {};

  void Put(int symbol, int extraValue) {
    symbols[n] = static_cast<uint8_t>(symbol);
    extra[n++] = static_cast<uint8_t>(extraValue);
    ++frequencies[symbol];
  }

  void PutSequence(const uint8_t* lengths, int count) {
    for (int i = 0; i < count;) {
      const uint8_t value = lengths[i];
      int run = 1;
      while (i + run < count && lengths[i + run] == value) ++run;
      i += run;
      if (value == 0) {
        for (; run >= 11; run -= run < 138 ? run : 138) Put(18, (run < 138 ? run : 138) - 11);
        if (run >= 3) {
          Put(17, run - 3);
          run = 0;
        }
      } else {
        Put(value, 0);
        --run;
        for (; run >= 3; run -= run < 6 ? run : 6) Put(16, (run < 6 ? run : 6) - 3);
      }
      for (; run > 0; --run) Put(value, 0);
    }
  }
};

int UsedLengths(const uint8_t* lengths, int symbols, int least) {
  while (symbols > least && lengths[symbols - 1] == 0) --symbols;
  return symbols;
}

}  // namespace

void PairCounter::Count(const zelLZ77Pair* pairs, int32_t n) {
  int32_t i = 0;
#if ZELDC_AVX2
  // What to count is laid down first. A counter's address that comes out of a vector register comes late, so late that
  // the next counter may have been read by then: if they were one and the same, all is done over.
  constexpr int kBatch = 64;
  alignas(32) uint32_t place[kBatch];
  alignas(32) uint32_t symbol[kBatch];
  __m256i allExcess = _mm256_setzero_si256();
  while (i + 8 <= n) {
    const int count = std::min(kBatch, (n - i) & ~7);
    for (int k = 0; k < count; k += 8) {
      const EightPlaces t = PlacesOf(pairs + i + k);
      allExcess = _mm256_or_si256(allExcess, t.excess);
      _mm256_store_si256(reinterpret_cast<__m256i*>(place + k), t.place);
      _mm256_store_si256(reinterpret_cast<__m256i*>(symbol + k), t.symbol);
    }
    for (int k = 0; k < count; ++k) {
      ++places[k & 1][place[k]];
      ++distances[k & 1][symbol[k]];
    }
    i += count;
  }
  if (!_mm256_testz_si256(allExcess, allExcess)) excess = 1;
#endif
  for (; i < n; ++i) Count(PlaceOf(pairs[i]), i & 1);
}

bool PairCounter::Sum(int32_t n, PairStatistics* statistics) const {
  if (excess != 0) return false;
  memset(statistics, 0, sizeof(*statistics));
  statistics->litLen[kEndOfBlock] = 1;
  uint64_t bytes = 0;
  uint32_t matches = 0;
  for (uint32_t k = 0; k < 256; ++k) {
    const uint32_t literals = places[0][k] + places[1][k];
    statistics->litLen[k] = literals;
    bytes += literals;
  }
  for (int symbol = 0, k = 0; symbol < kLengthSymbols; ++symbol) {
    uint32_t all = 0;
    for (; k < 256 && kLengthSymbolIndex.of[k] == symbol; ++k) {
      const uint32_t lengths = places[0][256 + k] + places[1][256 + k];
      all += lengths;
      bytes += uint64_t{lengths} * static_cast<uint32_t>(k + kMinMatch);
    }
    statistics->litLen[kFirstLengthSymbol + symbol] = all;
    matches += all;
  }
  statistics->bytes.Set(bytes);
  for (int k = 0; k < kDistanceSymbols; ++k) statistics->distance[k] = distances[0][k] + distances[1][k];
  // Each match has a distance.
  return distances[0][kNoDistance] + distances[1][kNoDistance] == static_cast<uint32_t>(n) - matches;
}

bool CountPairs(const zelLZ77Pair* pairs, int32_t n, PairStatistics* statistics) {
  PairCounter counter;
  counter.Count(pairs, n);
  return counter.Sum(n, statistics);
}

uint32_t Fingerprint(const zelLZ77Pair* pairs, int32_t n) {
  return ownCrc32(static_cast<uint32_t>(n), reinterpret_cast<const uint8_t*>(pairs),
                  static_cast<size_t>(n) * sizeof(zelLZ77Pair));
}

void BuildDynamicCode(EncoderState* s, const PairStatistics& statistics) {
  if (s->codeBuilt && memcmp(&s->statistics, &statistics, sizeof(statistics)) == 0) return;
  s->statistics = statistics;
  s->codeBuilt = 1;
  BuildCodeLengths(statistics.litLen, kLitLenSymbols, kMaxCodeLength, s->litLenLengths);
  BuildCodeLengths(statistics.distance, kDistanceSymbols, kMaxCodeLength, s->distanceLengths);
  const int litLenCount = UsedLengths(s->litLenLengths, kLitLenSymbols, kFirstLengthSymbol);
  const int distanceCount = UsedLengths(s->distanceLengths, kDistanceSymbols, 1);

  LengthCoder coder;
  coder.PutSequence(s->litLenLengths, litLenCount);
  coder.PutSequence(s->distanceLengths, distanceCount);
  uint8_t lengths[kCodeLengthSymbols];
  uint16_t codes[kCodeLengthSymbols];
  BuildCodeLengths(coder.frequencies, kCodeLengthSymbols, kMaxCodeLengthCodeLength, lengths);
  BuildReversedCodes(lengths, kCodeLengthSymbols, codes);
  int sent = kCodeLengthSymbols;
  while (sent > 4 && lengths[kCodeLengthOrder[sent - 1]] == 0) --sent;

  BitWriter out(0, 0, s->tree, s->tree + sizeof(s->tree));
  out.Put(static_cast<uint32_t>(litLenCount - 257), 5);
  out.Put(static_cast<uint32_t>(distanceCount - 1), 5);
  out.Put(static_cast<uint32_t>(sent - 4), 4);
  for (int i = 0; i < sent; ++i) {
    out.Put(lengths[kCodeLengthOrder[i]], 3);
    out.WriteBytes();
  }
  for (int i = 0; i < coder.n; ++i) {
    const uint32_t symbol = coder.symbols[i];
    out.Put(codes[symbol] | static_cast<uint32_t>(coder.extra[i]) << lengths[symbol],
            lengths[symbol] + CodeLengthExtraBits(symbol));
    out.WriteBytes();
  }
  s->treeBits = static_cast<int32_t>(8 * (out.out - s->tree) + out.count);
  out.PadToByte();
  out.WriteBytes();
}

}  // namespace zeldc

using namespace zeldc;

extern "C" zelStatus zelsEncodeLZ77SelectHuffMode_8u(const zelLZ77Pair* pPairs, int32_t pairsLen,
                                                     zelLZ77HuffMode* pMode, zelLZ77State* pState) {
  if (!pPairs || !pMode || !pState) return zelErrNullPtr;
  EncoderState* s = Encoder(pState);
  const RedzoneGuard guard(s);
  if (s->choicePending) {
    *pMode = s->chosenMode;
    return zelOk;
  }
  if (pairsLen < 0) return zelErrSize;
  PairStatistics statistics;
  if (!CountPairs(pPairs, pairsLen, &statistics)) return zelErrSize;
  BuildDynamicCode(s, statistics);
  s->chosenFingerprint = Fingerprint(pPairs, pairsLen);

  // Costs in bits. The end of the block, the alignment of a stored block and its split into many are not counted.
  uint64_t stored = 32 + 8 * statistics.bytes.Get();
  uint64_t fixed = 3;
  uint64_t dynamic = 3 + 8 * static_cast<uint64_t>((s->treeBits + 7) / 8);
  for (int i = 0; i < kLitLenSymbols; ++i) {
    if (i == kEndOfBlock) continue;
    const uint64_t n = statistics.litLen[i];
    const uint64_t extra = i < kFirstLengthSymbol ? 0 : kLengthSymbol.s[i - kFirstLengthSymbol].extraBits;
    fixed += n * (FixedLitLenLength(i) + extra);
    dynamic += n * (s->litLenLengths[i] + extra);
  }
  for (int i = 0; i < kDistanceSymbols; ++i) {
    const uint64_t n = statistics.distance[i];
    const uint64_t extra = kDistanceSymbol.s[i].extraBits;
    fixed += n * (kFixedDistanceLength + extra);
    dynamic += n * (s->distanceLengths[i] + extra);
  }
  s->chosenMode = stored < fixed && stored < dynamic ? zelLZ77HuffStored
                  : fixed < dynamic                  ? zelLZ77HuffFixed
                                                     : zelLZ77HuffDynamic;
  s->choicePending = 1;
  *pMode = s->chosenMode;
  return zelOk;
}
