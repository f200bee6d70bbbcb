// The numbers of the LZO1X stream and of the container around several of them.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace zeldc {

// The first byte of a token tells its kind:
//
//   64 .. 255  near match of 3 to 8 bytes, up to 2048 back, one byte more:     LLLDDDSS DDDDDDDD
//   32 .. 63   match up to 16384 back, the length extensible, a word behind:   001LLLLL ... DDDDDDDDDDDDDDSS
//   16 .. 31   match from 16384 to 49151 back, likewise:                       0001DLLL ... DDDDDDDDDDDDDDSS
//   0 .. 15    run of 4 and more literals, the length extensible
//
// SS is the number of literals, 0 to 3, that follow the match without a token of their own. A length that its field
// does not hold is told by a field of 0: a byte of 0 for each 255 beyond the field's greatest value, then the rest.
inline constexpr uint32_t kNearMaxLength = 8;
inline constexpr uint32_t kNearMaxDistance = 2048;
inline constexpr uint32_t kMiddleMatch = 0x20;
inline constexpr size_t kMiddleMaxLength = 33;  // without extension
inline constexpr uint32_t kMiddleMaxDistance = 16384;
inline constexpr uint32_t kFarMatch = 0x10;
inline constexpr size_t kFarMaxLength = 9;  // without extension
inline constexpr uint32_t kFarMaxDistance = 49151;
inline constexpr size_t kRunMaxLength = 18;  // without extension
inline constexpr size_t kTrailingMax = 3;    // literals in a match's SS

// A run at the very start may be told in one byte, which is this and the run's length.
inline constexpr uint32_t kFirstRun = 17;
inline constexpr size_t kFirstRunMax = 255 - kFirstRun;

inline constexpr uint8_t kEndMarker[3] = {0x11, 0, 0};
inline constexpr size_t kEndMarkerSize = sizeof(kEndMarker);

// ---- The container ----

inline constexpr uint32_t kContainerMark = 0x80;
inline constexpr uint32_t kMaxChunks = 32;
inline constexpr uint32_t kMinChunk = 256;  // bytes; shorter ones are not worth a thread

constexpr size_t ContainerHeaderSize(size_t chunks) { return 5 + 4 * (chunks - 1); }

// A first byte of 128 and more also starts a plain stream: one run, and the end marker. Its length tells them apart.
constexpr size_t PlainStreamSize(uint8_t first) { return first - kFirstRun + 1 + kEndMarkerSize; }

}  // namespace zeldc
