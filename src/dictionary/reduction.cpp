// Dictionary reduction and expansion: one look-up in a table of 256 bytes for each byte, shared among threads.
//
// With byte shuffles the table stays in registers, as sixteen rows of sixteen entries. Of a byte below 128 the steps
// 0 .. 7 subtract 16 each, and a shuffle of row k gives 0 once the result is below 0. So the rows hold differences: row
// k by exclusive or with row k - 1, and those met before the result falls below 0 combine to the wanted row. For bytes
// from 128 on the same is done with the other eight rows. The subtraction saturates, so what is below 0 stays there.

#include <omp.h>
#include <stddef.h>
#include <stdint.h>

#include <algorithm>

#include "core/target.h"
#include "zelcore.h"
#include "zeldc/dictionary.h"

#if ZELDC_AVX2
#include <immintrin.h>
#elif ZELDC_SSSE3
#include <tmmintrin.h>
#endif

namespace zeldc {
namespace {

constexpr int32_t kParallelFrom = 2048;  // bytes; below it the calling thread does all
constexpr size_t kLine = 64;             // shares are whole cache lines, counted from the start

struct Table {
  alignas(32) uint8_t of[256];
};

#if ZELDC_AVX2

constexpr size_t kVectorSize = 32;
using ByteVector = __m256i;

inline ByteVector LoadBytes(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const ByteVector*>(p)); }
inline void StoreBytes(uint8_t* p, ByteVector v) { _mm256_storeu_si256(reinterpret_cast<ByteVector*>(p), v); }
inline ByteVector LoadRow(const uint8_t* p) {
  return _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(p)));
}
inline ByteVector SameByte(int byte) { return _mm256_set1_epi8(static_cast<char>(byte)); }
inline ByteVector Xor(ByteVector a, ByteVector b) { return _mm256_xor_si256(a, b); }
inline ByteVector SubtractSaturating(ByteVector a, ByteVector b) { return _mm256_subs_epi8(a, b); }
inline ByteVector Shuffle(ByteVector row, ByteVector index) { return _mm256_shuffle_epi8(row, index); }

#elif ZELDC_SSSE3

constexpr size_t kVectorSize = 16;
using ByteVector = __m128i;

inline ByteVector LoadBytes(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const ByteVector*>(p)); }
inline void StoreBytes(uint8_t* p, ByteVector v) { _mm_storeu_si128(reinterpret_cast<ByteVector*>(p), v); }
inline ByteVector LoadRow(const uint8_t* p) { return _mm_load_si128(reinterpret_cast<const __m128i*>(p)); }
inline ByteVector SameByte(int byte) { return _mm_set1_epi8(static_cast<char>(byte)); }
inline ByteVector Xor(ByteVector a, ByteVector b) { return _mm_xor_si128(a, b); }
inline ByteVector SubtractSaturating(ByteVector a, ByteVector b) { return _mm_subs_epi8(a, b); }
inline ByteVector Shuffle(ByteVector row, ByteVector index) { return _mm_shuffle_epi8(row, index); }

#endif

void MapBytes(const Table& table, uint8_t* bytes, size_t len) {
  size_t i = 0;
#if ZELDC_SSSE3
  if (len >= kVectorSize) {
    Table differences = table;
    for (int k = 1; k < 16; ++k) {
      for (int j = 0; j < 16 && k != 8; ++j) differences.of[16 * k + j] ^= table.of[16 * (k - 1) + j];
    }
    for (; len - i >= kVectorSize; i += kVectorSize) {
      ByteVector low = LoadBytes(bytes + i);
      ByteVector high = Xor(low, SameByte(0x80));
      ByteVector mapped = Xor(Shuffle(LoadRow(differences.of), low), Shuffle(LoadRow(differences.of + 128), high));
      for (int k = 1; k < 8; ++k) {
        low = SubtractSaturating(low, SameByte(16));
        high = SubtractSaturating(high, SameByte(16));
        mapped = Xor(mapped, Shuffle(LoadRow(differences.of + 16 * k), low));
        mapped = Xor(mapped, Shuffle(LoadRow(differences.of + 128 + 16 * k), high));
      }
      StoreBytes(bytes + i, mapped);
    }
  }
#endif
  for (; i < len; ++i) bytes[i] = table.of[bytes[i]];
}

// The map over all bytes, by as many threads as there are.
void MapInThreads(const Table& table, uint8_t* bytes, int32_t len) {
  if (len < kParallelFrom) {
    MapBytes(table, bytes, static_cast<size_t>(len));
    return;
  }
#pragma omp parallel num_threads(std::max(ownGetNumThreads(), 1))
  {
    // The run time may grant fewer threads than were asked for: one, within a region of the caller's.
    const auto threads = static_cast<size_t>(omp_get_num_threads());
    const size_t share = (static_cast<size_t>(len) / threads + kLine) / kLine * kLine;
    const size_t from = std::min(share * static_cast<size_t>(omp_get_thread_num()), static_cast<size_t>(len));
    MapBytes(table, bytes + from, std::min(share, static_cast<size_t>(len) - from));
  }
}

}  // namespace
}  // namespace zeldc

extern "C" {

zelStatus zelsReduceDictionary_8u_I(const uint8_t* pInUse, uint8_t* pSrcDst, int32_t len, int32_t* pSizeDictionary) {
  if (!pInUse || !pSrcDst || !pSizeDictionary) return zelErrNullPtr;
  if (len < 1) return zelErrSize;
  zeldc::Table table;
  int32_t count = 0;
  for (int v = 0; v < 256; ++v) {
    table.of[v] = static_cast<uint8_t>(count);
    count += pInUse[v];
  }
  *pSizeDictionary = count;
  zeldc::MapInThreads(table, pSrcDst, len);
  return zelOk;
}

zelStatus zelsExpandDictionary_8u_I(const uint8_t* pInUse, uint8_t* pSrcDst, int32_t len, int32_t sizeDictionary) {
  if (!pInUse || !pSrcDst) return zelErrNullPtr;
  if (len < 1) return zelErrSize;
  if (sizeDictionary < 1) return zelErrSize;
  zeldc::Table table = {};
  int32_t count = 0;
  for (int v = 0; v < 256; ++v) {
    if (count < 256) table.of[count] = static_cast<uint8_t>(v);
    count += pInUse[v];
  }
  if (count != sizeDictionary) return zelErr;
  zeldc::MapInThreads(table, pSrcDst, len);
  return zelOk;
}

}  // extern "C"
