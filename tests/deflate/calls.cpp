#include "deflate/calls.h"

#include <string.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <vector>

namespace zeldc_test {

namespace {

constexpr size_t kPlenty = 1 << 20;

// Memory in front of one guard page, used again and again: new pages for each of many small calls would cost more than
// the calls.
class Scratch {
 public:
  // The last `size` bytes before the guard page.
  uint8_t* Last(size_t size) {
    if (!memory_ || memory_->size() < size) memory_ = std::make_unique<GuardedBuffer>(std::max(size, kPlenty));
    return memory_->end() - size;
  }

  template <typename T>
  T* Copy(const std::vector<T>& content) {
    uint8_t* const place = Last(content.size() * sizeof(T));
    if (!content.empty()) memcpy(place, content.data(), content.size() * sizeof(T));
    return reinterpret_cast<T*>(place);
  }

 private:
  std::unique_ptr<GuardedBuffer> memory_;
};

Scratch& SourceMemory() {
  static Scratch scratch;
  return scratch;
}

Scratch& PairsMemory() {
  static Scratch scratch;
  return scratch;
}

Scratch& OutputMemory() {
  static Scratch scratch;
  return scratch;
}

// Runs one call with `room` bytes of output and hands over what it wrote.
template <typename Call>
Written WithRoom(size_t room, Call call) {
  uint8_t* const start = OutputMemory().Last(room);
  uint8_t* dst = start;
  int32_t left = static_cast<int32_t>(room);
  Written written;
  written.status = call(&dst, &left);
  if (left < 0 || dst != start + (room - static_cast<size_t>(left))) {
    throw std::runtime_error("the destination pointer and count disagree");
  }
  written.bytes.assign(start, dst);
  return written;
}

}  // namespace

Searched Search(zelLZ77State* record, const Bytes& input, zelLZ77FlushMode flush, size_t room) {
  uint8_t* const source = SourceMemory().Copy(input);
  zelLZ77Pair* const pairs = reinterpret_cast<zelLZ77Pair*>(PairsMemory().Last(room * sizeof(zelLZ77Pair)));
  uint8_t* src = source;
  int32_t src_left = static_cast<int32_t>(input.size());
  zelLZ77Pair* next = pairs;
  int32_t pairs_left = static_cast<int32_t>(room);
  Searched result;
  result.status = zelsEncodeLZ77_8u(&src, &src_left, &next, &pairs_left, flush, record);
  if (src_left < 0 || src != source + input.size() - static_cast<size_t>(src_left)) {
    throw std::runtime_error("the source pointer and count disagree");
  }
  if (!std::equal(input.begin(), input.end(), source)) throw std::runtime_error("the source was written to");
  if (pairs_left < 0 || next != pairs + (static_cast<int32_t>(room) - pairs_left)) {
    throw std::runtime_error("the pairs pointer and count disagree");
  }
  result.consumed = static_cast<size_t>(src - source);
  result.pairs = FromRecords(pairs, next);
  return result;
}

Pairs SearchAll(zelLZ77State* record, const Bytes& input, size_t piece, size_t room) {
  Pairs pairs;
  for (size_t done = 0; done < input.size();) {
    const size_t given = std::min(piece, input.size() - done);
    const auto start = input.begin() + static_cast<ptrdiff_t>(done);
    const Searched found =
        Search(record, Bytes(start, start + static_cast<ptrdiff_t>(given)), zelLZ77FlushNone, std::min(room, given));
    if (found.consumed == 0) throw std::runtime_error("the search makes no progress");
    pairs.insert(pairs.end(), found.pairs.begin(), found.pairs.end());
    done += found.consumed;
  }
  return pairs;
}

Written Write(HuffmanWriter writer, zelLZ77State* record, const Pairs& pairs, size_t room, zelLZ77FlushMode flush) {
  zelLZ77Pair* const source = PairsMemory().Copy(ToRecords(pairs));
  zelLZ77Pair* next = source;
  int32_t left = static_cast<int32_t>(pairs.size());
  Written written = WithRoom(
      room, [&](uint8_t** dst, int32_t* dst_left) { return writer(&next, &left, dst, dst_left, flush, record); });
  if (left < 0 || next != source + (static_cast<int32_t>(pairs.size()) - left)) {
    throw std::runtime_error("the pairs pointer and count disagree");
  }
  written.left = static_cast<size_t>(left);
  return written;
}

Written WriteWhole(HuffmanWriter writer, zelLZ77State* record, const Pairs& pairs, zelLZ77FlushMode flush) {
  StartBlock(record);
  return Write(writer, record, pairs, kPlenty, flush);
}

Written WriteStored(zelLZ77State* record, const Bytes& source, size_t room, zelLZ77FlushMode flush) {
  uint8_t* const input = SourceMemory().Copy(source);
  uint8_t* src = input;
  int32_t left = static_cast<int32_t>(source.size());
  Written written = WithRoom(room, [&](uint8_t** dst, int32_t* dst_left) {
    return zelsEncodeLZ77StoredBlock_8u(&src, &left, dst, dst_left, flush, record);
  });
  if (left < 0 || src != input + source.size() - static_cast<size_t>(left)) {
    throw std::runtime_error("the source pointer and count disagree");
  }
  written.left = static_cast<size_t>(left);
  return written;
}

Written WriteTrailer(zelLZ77State* record, size_t room) {
  return WithRoom(room,
                  [&](uint8_t** dst, int32_t* dst_left) { return zelsEncodeLZ77Flush_8u(dst, dst_left, record); });
}

}  // namespace zeldc_test
