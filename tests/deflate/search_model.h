// The match search in its plainest form: whole history, 64-bit positions, one array per table, one byte at a time.
//
// The library's search must give exactly these pairs.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <array>

#include "deflate/block_parser.h"
#include "shared/hash_salt.h"
#include "support/bytes.h"
#include "zeldc.h"

namespace zeldc_test {

class SearchModel {
 public:
  explicit SearchModel(zelLZ77Level level) : level_(level) {
    head_.fill(kEmpty);
    chain_.fill(kEmpty);
  }

  // Before the first call.
  void SetDictionary(const Bytes& dictionary) {
    const size_t used = dictionary.size() < 32768 ? dictionary.size() : 32768;
    bytes_.assign(dictionary.end() - static_cast<ptrdiff_t>(used), dictionary.end());
    for (int64_t p = 0; p + 3 <= Size(); ++p) Insert(p);
  }

  // One call with `input` and room for `room` pairs. A full flush ends the model's life.
  Pairs Call(const Bytes& input, size_t room, bool full_flush, size_t* consumed) {
    const int64_t start = Size();
    bytes_.insert(bytes_.end(), input.begin(), input.end());
    full_flush_ = full_flush;
    pairs_.clear();
    room_ = room;
    search_end_ = Size() - (level_ == zelLZ77LevelBest ? 3 : 2);
    int64_t p = start;
    switch (level_) {
      case zelLZ77LevelFast:
        p = SearchFast(p);
        break;
      case zelLZ77LevelBest:
        p = SearchBest(p);
        break;
      default:
        p = SearchNormal(p);
        break;
    }
    while (p >= search_end_ && p < Size() && HasRoom()) Literal(p++);
    bytes_.resize(static_cast<size_t>(p));
    *consumed = static_cast<size_t>(p - start);
    return pairs_;
  }

 private:
  static constexpr int64_t kEmpty = -32768;

  struct Match {
    int length = 2;  // 2: none
    int64_t distance = 0;
  };

  int64_t Size() const { return static_cast<int64_t>(bytes_.size()); }
  uint8_t At(int64_t p) const { return bytes_[static_cast<size_t>(p)]; }
  bool HasRoom() const { return pairs_.size() < room_; }
  void Literal(int64_t p) { pairs_.push_back({At(p), 0}); }

  size_t Hash(int64_t p) const {
    const uint8_t b0 = At(p), b1 = At(p + 1), b2 = At(p + 2);
    if (level_ == zelLZ77LevelFast) return (b0 << 10 ^ b1 << 5 ^ b2) & 0x7FFF;
    const auto& salt = zeldc::zelLZ77HashSalt.row;
    return static_cast<size_t>(salt[0][b0] ^ salt[1][b1] ^ salt[2][b2]);
  }

  void Insert(int64_t p) {
    int64_t& head = head_[Hash(p)];
    chain_[static_cast<size_t>(p % 32768)] = head;
    head = p;
  }

  bool IsCandidate(int64_t c, int64_t p) const { return p - c >= 1 && p - c <= 32767 && (!full_flush_ || c >= 1); }

  int MatchLength(int64_t c, int64_t p) const {
    const int64_t longest = std::min<int64_t>(search_end_ - p, 258);
    int length = 0;
    while (length < longest && At(c + length) == At(p + length)) ++length;
    return length;
  }

  // The first of the longest matches at p, among so many candidates from c on.
  Match Longest(int64_t p, int64_t c, int candidates) const {
    const int64_t longest = std::min<int64_t>(search_end_ - p, 258);
    Match best;
    for (; candidates > 0 && IsCandidate(c, p) && best.length < longest; --candidates) {
      const int length = MatchLength(c, p);
      if (length > best.length) best = {length, p - c};
      c = chain_[static_cast<size_t>(c % 32768)];
    }
    return best;
  }

  int64_t SearchFast(int64_t p) {
    while (p < search_end_ && HasRoom()) {
      const int64_t c = head_[Hash(p)];
      Insert(p);
      const int length = IsCandidate(c, p) ? MatchLength(c, p) : 0;
      if (length < 3) {
        Literal(p++);
      } else {
        p = TakeMatch(p, {length, p - c});
      }
    }
    return p;
  }

  int64_t SearchNormal(int64_t p) {
    while (p < search_end_ && HasRoom()) {
      const int64_t c = head_[Hash(p)];
      Insert(p);
      const Match match = Longest(p, c, 16);
      if (match.length < 3) {
        Literal(p++);
      } else {
        p = TakeMatch(p, match);
      }
    }
    return p;
  }

  int64_t SearchBest(int64_t p) {
    bool is_carried = false;
    Match carried;
    while (p < search_end_ && HasRoom()) {
      const int64_t c = head_[Hash(p)];
      Insert(p);
      if (!is_carried) carried = Longest(p, c, 512);
      const Match next = Longest(p + 1, head_[Hash(p + 1)], 512);
      const bool is_worth_little = carried.length < 4 && (carried.length != 3 || carried.distance > 4096);
      if (carried.length < next.length || is_worth_little) {
        Literal(p++);
        carried = next;
        is_carried = true;
      } else {
        p = TakeMatch(p, carried);
        is_carried = false;
      }
    }
    return p;
  }

  int64_t TakeMatch(int64_t p, const Match& match) {
    pairs_.push_back({match.length, static_cast<int>(match.distance)});
    for (int k = 1; k < match.length; ++k) Insert(p + k);
    return p + match.length;
  }

  const zelLZ77Level level_;
  Bytes bytes_;  // the dictionary and all input so far
  std::array<int64_t, 32768> head_;
  std::array<int64_t, 32768> chain_;
  bool full_flush_ = false;
  int64_t search_end_ = 0;
  Pairs pairs_;
  size_t room_ = 0;
};

}  // namespace zeldc_test
