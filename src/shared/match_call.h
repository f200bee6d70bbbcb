// One call of a match search, around the kernel of its choice: history, positions, sweeps.
//
// Kernels run over contiguous memory. While matches can still start before the call's input, the input is copied behind
// the history, stretch by stretch; beyond that the kernel runs on the caller's buffer, and at the end of the call the
// last 32 KiB are kept.
#pragma once

#include <string.h>

#include "core/assert.h"
#include "core/vector_primitives.h"
#include "shared/match_kernel.h"

namespace zeldc {

// Room for a window of history and for nearly as much new input behind it.
inline constexpr int kHistorySize = 64512;

// Between two sweeps, the newest entry may go from one window back to less than 2^16 back, even though a match at the
// end of the stretch is inserted whole.
inline constexpr uint32_t kSweepInterval = 32000;
static_assert(kWindowSize + kSweepInterval + 2 * kMaxMatch < 0x10000);

// What a search remembers of the stream, besides its tables.
struct SearchWindow {
  uint32_t tablePos;   // position of the next byte as the tables count it
  uint32_t nextSweep;  // where old table entries must be made unusable for good
  int32_t fill;        // bytes in the history, the newest last
  uint8_t history[kHistorySize];
};

// Whether the history can hold so much. All else that may stand in a window does no harm.
inline bool IsSound(const SearchWindow& w) { return w.fill >= 0 && w.fill <= kHistorySize; }

// Position 0, with no history. The tables must be cleared as well.
inline void ClearWindow(SearchWindow* w) {
  w->tablePos = 0;
  w->nextSweep = kSweepInterval;
  w->fill = 0;
}

// Makes all of a hash table's entries unusable, as seen from position 0.
inline void ClearTable(uint16_t* table) {
  ownsSet_16s(static_cast<int16_t>(0x8000), reinterpret_cast<int16_t*>(table), kHashSize);
}

// Makes entries that are a window old or older look exactly one window old. The position itself has no entry yet: what
// looks like one is two windows old, or has been empty since position 0.
inline void SweepTable(uint16_t* table, uint32_t pos) {
  const uint16_t now = static_cast<uint16_t>(pos);
  const uint16_t dead = static_cast<uint16_t>(pos - kWindowSize);
  for (int i = 0; i < kHashSize; ++i) table[i] = static_cast<int16_t>(now - table[i]) <= 0 ? dead : table[i];
}

// The window as it is at the call's begin, for a search of n bytes of which the last `unsearched` are literals that no
// match covers.
inline Search StartSearch(const SearchWindow& w, int32_t n, int32_t unsearched) {
  Search x{};
  x.posBase = w.tablePos;
  x.matchEnd = ptrdiff_t{n} - unsearched;
  x.oldest = -ptrdiff_t{w.fill < kWindowSize ? w.fill : kWindowSize};
  return x;
}

// Forgets all but the last `kept` bytes of the history, or less where it is shorter.
inline void TrimHistory(SearchWindow* w, int32_t kept) {
  if (w->fill <= kept) return;
  memmove(w->history, w->history + (w->fill - kept), static_cast<size_t>(kept));
  w->fill = kept;
}

inline void AppendToHistory(SearchWindow* w, const uint8_t* bytes, int32_t len) {
  if (len > kWindowSize) {
    bytes += len - kWindowSize;
    len = kWindowSize;
  }
  if (len == 0) return;
  if (w->fill + len > kHistorySize) TrimHistory(w, kWindowSize - len);
  ZELDC_ASSERT(0 <= w->fill && w->fill + len <= kHistorySize);
  ownsCopy_8u(bytes, w->history + w->fill, len);
  w->fill += len;
}

// Kernel:
//   void Sweep(uint32_t pos)   sweeps all tables of positions
//   void Run(Search* x, const uint8_t* base, ptrdiff_t stop, ptrdiff_t readEnd)
//   void PutLiteral(Search* x, uint8_t byte)
// The latter two may take the pairs and make new room for others: x->pair == x->pairEnd means that there is none left.
template <typename Kernel>
class SearchCall {
 public:
  SearchCall(SearchWindow* window, Kernel* kernel, Search* x) : w_(window), kernel_(kernel), x_(x) {}

  // Searches the call's n bytes and enters what was consumed into the history; answers how many bytes that is.
  int32_t Run(const uint8_t* src, int32_t n) {
    // Calls that are too short to search move on, too.
    if (IsSweepDue(w_->tablePos)) Sweep(w_->tablePos);
    if (w_->fill > 0) SearchBehindHistory(src, n);
    const ptrdiff_t inHistory = w_->fill > 0 ? x_->i : 0;
    // From here on no match reaches before the input.
    RunKernel(src, x_->matchEnd, n);
    for (; x_->i >= x_->matchEnd && x_->i < n && HasRoom(); ++x_->i) kernel_->PutLiteral(x_, src[x_->i]);

    const int32_t consumed = static_cast<int32_t>(x_->i);
    AppendToHistory(w_, src + inHistory, consumed - static_cast<int32_t>(inHistory));
    w_->tablePos += static_cast<uint32_t>(consumed);
    return consumed;
  }

 private:
  bool HasRoom() const { return x_->pair < x_->pairEnd; }
  bool IsSweepDue(uint32_t pos) const { return static_cast<int32_t>(w_->nextSweep - pos) <= 0; }
  void Sweep(uint32_t pos) {
    kernel_->Sweep(pos);
    w_->nextSweep = pos + kSweepInterval;
  }

  // Runs the kernel up to `stop`, with the sweeps that fall due.
  void RunKernel(const uint8_t* base, ptrdiff_t stop, ptrdiff_t readEnd) {
    while (x_->i < stop && HasRoom()) {
      const uint32_t pos = x_->posBase + static_cast<uint32_t>(x_->i);
      if (IsSweepDue(pos)) Sweep(pos);
      // Sums of positions and more may overflow a 32-bit ptrdiff_t at the end of the largest calls, differences do not.
      const ptrdiff_t due = static_cast<ptrdiff_t>(w_->nextSweep - pos);
      kernel_->Run(x_, base, due < stop - x_->i ? x_->i + due : stop, readEnd);
    }
  }

  // While matches can start in the history: searches a copy of the input behind the history, stretch by stretch, and
  // leaves what it has searched there.
  void SearchBehindHistory(const uint8_t* src, int32_t n) {
    constexpr int32_t kLookAhead = kMaxMatch + 8;
    const ptrdiff_t end = x_->matchEnd < kWindowSize ? x_->matchEnd : kWindowSize;
    while (x_->i < end && HasRoom()) {
      const int32_t i = static_cast<int32_t>(x_->i);
      if (n - i > kHistorySize - w_->fill) TrimHistory(w_, kWindowSize);
      // Not more than what the pairs that there is room for may stand for.
      int32_t copied = kHistorySize - w_->fill;
      const ptrdiff_t room = x_->pairEnd - x_->pair;
      if (room < (copied - kLookAhead) / kMaxMatch) copied = static_cast<int32_t>(room) * kMaxMatch + kLookAhead;
      if (copied > n - i) copied = n - i;
      ZELDC_ASSERT(0 < copied && w_->fill + copied <= kHistorySize);
      ownsCopy_8u(src + i, w_->history + w_->fill, copied);
      ptrdiff_t stop = end;
      if (copied < n - i && x_->i + copied - kLookAhead < end) stop = x_->i + copied - kLookAhead;
      RunKernel(w_->history + (w_->fill - i), stop, i + copied);
      w_->fill += static_cast<int32_t>(x_->i) - i;
    }
  }

  SearchWindow* w_;
  Kernel* kernel_;
  Search* x_;
};

}  // namespace zeldc
