// Loads and stores at any address, in a stated byte order. Each is one instruction where the target has it.
#pragma once

#include <stdint.h>
#include <string.h>

#include <bit>

namespace zeldc {

template <typename T>
inline T LoadNative(const void* p) {
  T v;
  memcpy(&v, p, sizeof(T));
  return v;
}

template <typename T>
inline void StoreNative(void* p, T v) {
  memcpy(p, &v, sizeof(T));
}

inline uint16_t ByteSwap(uint16_t v) { return __builtin_bswap16(v); }
inline uint32_t ByteSwap(uint32_t v) { return __builtin_bswap32(v); }
inline uint64_t ByteSwap(uint64_t v) { return __builtin_bswap64(v); }

template <typename T>
inline T LoadLE(const void* p) {
  const T v = LoadNative<T>(p);
  return std::endian::native == std::endian::little ? v : ByteSwap(v);
}

template <typename T>
inline void StoreLE(void* p, T v) {
  StoreNative<T>(p, std::endian::native == std::endian::little ? v : ByteSwap(v));
}

template <typename T>
inline T LoadBE(const void* p) {
  const T v = LoadNative<T>(p);
  return std::endian::native == std::endian::big ? v : ByteSwap(v);
}

template <typename T>
inline void StoreBE(void* p, T v) {
  StoreNative<T>(p, std::endian::native == std::endian::big ? v : ByteSwap(v));
}

}  // namespace zeldc
