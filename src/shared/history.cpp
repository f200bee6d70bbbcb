// The history is a line of two windows, not a ring: appended to, and moved to the front when it reaches the end, which
// costs a copy of less than a window for each window of output. So no match meets a seam within it, and a call that
// writes a window or more just copies its last 32 KiB here.

#include "shared/history.h"

#include <string.h>

namespace zeldc {

void CopyMatchThroughHistory(const uint8_t* historyEnd, const uint8_t* outStart, uint8_t* out, size_t distance,
                             size_t len) {
  const size_t written = static_cast<size_t>(out - outStart);
  if (distance > written) {
    const size_t before = distance - written;
    const size_t n = before < len ? before : len;
    memcpy(out, historyEnd - before, n);
    out += n;
    len -= n;
  }
  if (len > 0) CopyMatchExact(out, distance, len);
}

void SetHistoryFill(History* h, int32_t fill) {
  ZELDC_ASSERT(0 <= fill && fill <= 2 * kWindowSize);
  h->fill = fill;
  memset(h->window + fill, 0, kCopySlack);
}

void AppendToHistory(History* h, const uint8_t* bytes, size_t len) {
  constexpr size_t kSize = kWindowSize;
  size_t fill = static_cast<size_t>(h->fill);
  if (len >= kSize) {
    bytes += len - kSize;
    len = kSize;
    fill = 0;
  } else if (fill + len > 2 * kSize) {
    const size_t kept = kSize - len;
    memmove(h->window, h->window + (fill - kept), kept);
    fill = kept;
  }
  memcpy(h->window + fill, bytes, len);
  SetHistoryFill(h, static_cast<int32_t>(fill + len));
}

}  // namespace zeldc
