// Planning and making of the VLC decoder's tables.
//
// Sorted by their bits, codes that begin alike are neighbours. So one pass over the sorted codes finds those that are
// the beginning of another one, and counts the sub-tables: a code needs a new one at each level that it reaches and
// whose bits it does not share with the code before. There is no memory to sort a table of any size in, so a window
// of the smallest codes that have not been looked at yet is gathered and sorted, as often as it takes; a table of up to
// kWindow codes takes one round.

#include <algorithm>
#include <bit>

#include "core/assert.h"
#include "entropy/vlc_decode_state.h"

namespace zeldc {

namespace {

constexpr int32_t kWindow = 2048;

// The bits of a code, filled up with zeros, over its length: sorts by bits, and the shorter of equal ones first.
using Key = uint64_t;

// The bits uppermost of 32. 1 <= code.length <= 32
uint32_t BitsOf(const zelVLCCode& code) { return static_cast<uint32_t>(code.code) << (32 - code.length); }
Key KeyOf(const zelVLCCode& code) { return Key{BitsOf(code)} << 8 | static_cast<uint32_t>(code.length); }

// Collects the smallest keys from `from` on in ascending order. Returns their number; all keys from `from` up to the
// largest of them are among them, unless equal ones are so many that they were cut off.
int32_t SmallestKeys(const VlcTable& table, Key from, Key* keys) {
  int32_t count = 0;
  Key limit = ~Key{0};
  for (int32_t i = 0; i < table.size; ++i) {
    const Key key = KeyOf(table.codes[i]);
    if (key < from || key >= limit) continue;
    if (count == kWindow) {
      std::nth_element(keys, keys + kWindow / 2, keys + kWindow);
      limit = keys[kWindow / 2];
      count = kWindow / 2;
      if (key >= limit) continue;
    }
    keys[count++] = key;
  }
  std::sort(keys, keys + count);
  return count;
}

// Looks at all codes in ascending order. False when one begins with another one.
class CodeWalk {
 public:
  explicit CodeWalk(VlcLayout* layout) : layout_(layout), elements_(TableSize(0)) {}

  bool Add(Key key) {
    const uint32_t bits = static_cast<uint32_t>(key >> 8);
    const int32_t length = static_cast<int32_t>(key & 0xFF);
    if (bits < end_) return false;
    const int32_t shared = count_ == 0 ? -1 : std::countl_zero(bits ^ last_);
    int32_t start = 0;
    for (int32_t level = 1; level < layout_->numLevels; ++level) {
      start += layout_->widths[level - 1];
      if (start >= length) break;
      if (start > shared && elements_ <= INT32_MAX) elements_ += TableSize(level);
    }
    last_ = bits;
    end_ = bits + (uint64_t{1} << (32 - length));
    covered_ += uint64_t{1} << (32 - length);
    ++count_;
    return true;
  }

  int32_t count() const { return count_; }
  int64_t elements() const { return elements_; }  // stops counting beyond 31 bits
  bool isComplete() const { return covered_ == uint64_t{1} << 32; }

 private:
  int64_t TableSize(int32_t level) const { return (int64_t{1} << layout_->widths[level]) + 1; }

  const VlcLayout* layout_;
  int64_t elements_;
  int32_t count_ = 0;
  uint32_t last_ = 0;
  uint64_t end_ = 0;      // of the patterns that begin with the codes so far
  uint64_t covered_ = 0;  // patterns of 32 bits
};

bool WalkCodes(const VlcTable& table, CodeWalk* walk) {
  Key keys[kWindow];
  Key from = 0;
  while (walk->count() < table.size) {
    const int32_t count = SmallestKeys(table, from, keys);
    if (count == 0) return false;  // those left are equal to others
    for (int32_t i = 0; i < count; ++i) {
      if (!walk->Add(keys[i])) return false;
    }
    from = keys[count - 1] + 1;
  }
  return true;
}

int32_t BitWidth(uint64_t v) { return static_cast<int32_t>(std::bit_width(v)); }

// Whether a signed field of so many bits holds the value.
bool Fits(int64_t value, int32_t bits) {
  const int64_t half = int64_t{1} << (bits - 1);
  return -half <= value && value < half;
}

}  // namespace

zelStatus PlanVlcTable(const VlcTable& table, const VlcTuple& tuple, VlcLayout* layout) {
  if (table.size < 1) return zelErrVlcInput;
  int32_t maxLen = 0;
  int64_t smallest = 0, largest = 0;
  for (int32_t i = 0; i < table.size; ++i) {
    const zelVLCCode& code = table.codes[i];
    if (code.length < 1 || code.length > kMaxVlcLength) return zelErrVlcTable;
    maxLen = std::max(maxLen, code.length);
    smallest = std::min<int64_t>(smallest, code.value);
    largest = std::max<int64_t>(largest, code.value);
  }
  layout->maxLen = maxLen;

  if (tuple.isWanted &&
      (tuple.size < 1 || tuple.elementBits < 1 || int64_t{tuple.size} * tuple.elementBits > kMaxTupleBits)) {
    return zelErrBadArg;
  }

  int32_t reached = 0, widest = 0;
  layout->numLevels = 0;
  for (int32_t i = 0; reached < maxLen; ++i) {
    if (i >= table.numWidths || table.widths[i] < 1) return zelErrVlcTable;
    const int32_t width = std::min(table.widths[i], maxLen - reached);
    layout->widths[layout->numLevels++] = width;
    widest = std::max(widest, width);
    reached += width;
  }

  CodeWalk walk(layout);
  if (!WalkCodes(table, &walk)) return zelErrVlcTable;
  if (walk.elements() > INT32_MAX) return zelErrVlcInput;
  layout->elements = static_cast<int32_t>(walk.elements());
  layout->isComplete = walk.isComplete();

  const uint64_t magnitude = static_cast<uint64_t>(std::max(largest, -smallest));
  const int32_t valueBits = magnitude <= 1 ? 0 : BitWidth(magnitude - 1);
  layout->lengthBits = BitWidth(static_cast<uint64_t>(widest));
  const int32_t leafBits = valueBits + 1 + layout->lengthBits + 1;
  const int32_t linkBits = BitWidth(static_cast<uint64_t>(layout->elements) + 1) + 1;
  int32_t width = 8;
  const auto serves = [&] {
    const int32_t room = width - layout->lengthBits - 1;
    return std::max(leafBits, linkBits) <= width && Fits(smallest, room) && Fits(largest, room);
  };
  while (width < 32 && !serves()) width *= 2;
  layout->elementWidth = width;
  // Not all of a value need be kept: the low 16 bits, or those of the tuple.
  const int32_t room = width - layout->lengthBits - 1;
  if (tuple.size * tuple.elementBits > room && !(Fits(smallest, room) && Fits(largest, room))) return zelErrVlcTable;

  const int64_t size = int64_t{layout->elements} * (width / 8) + kVlcDecodeBaseSize;
  if (size > INT32_MAX) return zelErrVlcInput;
  layout->size = static_cast<int32_t>(size);
  return zelOk;
}

namespace {

template <typename Element>
void FillElements(const VlcTable& table, const VlcLayout& layout, Element* elements) {
  constexpr Element kUnused = static_cast<Element>(kVlcUnused);
  std::fill_n(elements, layout.elements, kUnused);
  elements[0] = static_cast<Element>(layout.widths[0]);
  uint32_t end = (1u << layout.widths[0]) + 1;
  for (int32_t i = 0; i < table.size; ++i) {
    const zelVLCCode& code = table.codes[i];
    uint32_t bits = BitsOf(code);
    int32_t length = code.length;
    int32_t level = 0;
    Element* at = elements;
    for (; length > layout.widths[level]; ++level) {
      const int32_t width = layout.widths[level];
      Element* const link = at + 1 + (bits >> (32 - width));
      if (*link == kUnused) {
        const int32_t next = layout.widths[level + 1];
        ZELDC_ASSERT(int64_t{end} + (int64_t{1} << next) < layout.elements);
        *link = static_cast<Element>((end - static_cast<uint32_t>(at - elements)) << 1);
        elements[end] = static_cast<Element>(next);
        end += (1u << next) + 1;
      }
      at += *link >> 1;
      bits <<= width;
      length -= width;
    }
    const int32_t width = layout.widths[level];
    const uint32_t leaf =
        static_cast<uint32_t>(code.value) << (layout.lengthBits + 1) | static_cast<uint32_t>(length) << 1 | 1;
    std::fill_n(at + 1 + (bits >> (32 - width)), 1u << (width - length), static_cast<Element>(leaf));
  }
}

}  // namespace

void BuildVlcTable(const VlcTable& table, const VlcTuple& tuple, const VlcLayout& layout, int32_t isAllocated,
                   zelVLCDecodeState* memory) {
  zelVLCDecodeState* const s = AlignedVlcRecord(memory);
  s->magic = zelVLCDecodeState::kMagic;
  s->isAllocated = isAllocated;
  s->maxLen = layout.maxLen;
  s->tableOffset = sizeof(zelVLCDecodeState);
  s->elementWidth = layout.elementWidth;
  s->lengthBits = layout.lengthBits;
  s->tupleSize = tuple.size;
  s->elementBits = tuple.elementBits;
  s->packedBits = tuple.size * tuple.elementBits;
  s->isComplete = layout.isComplete ? 1 : 0;
  void* const elements = s + 1;
  if (layout.elementWidth == 8) FillElements(table, layout, static_cast<uint8_t*>(elements));
  if (layout.elementWidth == 16) FillElements(table, layout, static_cast<uint16_t*>(elements));
  if (layout.elementWidth == 32) FillElements(table, layout, static_cast<uint32_t*>(elements));
}

}  // namespace zeldc
