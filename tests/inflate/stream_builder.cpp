#include "inflate/stream_builder.h"

#include <algorithm>
#include <stdexcept>

namespace zeldc_test {

namespace {

constexpr int kCodeLengthOrder[19] = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};

void Require(bool holds, const char* what) {
  if (!holds) throw std::logic_error(what);
}

}  // namespace

Lengths MakeLengths(size_t count, std::initializer_list<std::pair<size_t, int>> used) {
  Lengths lengths(count, 0);
  for (const auto& [symbol, length] : used) lengths.at(symbol) = length;
  return lengths;
}

Lengths FixedLitLenLengths() {
  Lengths lengths(288, 8);
  std::fill(lengths.begin() + 144, lengths.begin() + 256, 9);
  std::fill(lengths.begin() + 256, lengths.begin() + 280, 7);
  return lengths;
}

Lengths FixedDistanceLengths() { return Lengths(32, 5); }

Lengths Staircase(size_t count, const std::vector<size_t>& symbols) {
  Lengths lengths(count, 0);
  for (size_t i = 0; i < 16; ++i) lengths.at(symbols.at(i)) = i < 15 ? static_cast<int>(i) + 1 : 15;
  return lengths;
}

// 256 literals with 9 bits, 14 symbols with 5 and 16 with 8: all 286 symbols, complete.
Lengths AllLitLens() {
  Lengths lengths(286, 9);
  for (size_t i = 0; i < 30; ++i) lengths[256 + i] = i < 14 ? 5 : 8;
  return lengths;
}

// 2 distances with 4 bits and 28 with 5.
Lengths AllDistances() {
  Lengths lengths(30, 5);
  lengths[0] = lengths[1] = 4;
  return lengths;
}

std::vector<uint32_t> CanonicalCodes(const Lengths& lengths) {
  std::vector<uint32_t> codes(lengths.size(), 0);
  uint32_t code = 0;
  for (int length = 1; length <= 15; ++length) {
    code <<= 1;
    for (size_t symbol = 0; symbol < lengths.size(); ++symbol) {
      if (lengths[symbol] == length) codes[symbol] = code++ & ((1u << length) - 1);
    }
  }
  return codes;
}

RangeCode LengthCode(int length) {
  Require(length >= 3 && length <= 258, "a match's length");
  if (length == 258) return {285, 0, 0};
  int base = 3;
  for (int symbol = 257;; ++symbol) {
    const int extra_bits = symbol < 265 ? 0 : (symbol - 261) / 4;
    if (length < base + (1 << extra_bits)) return {symbol, static_cast<uint32_t>(length - base), extra_bits};
    base += 1 << extra_bits;
  }
}

RangeCode DistanceCode(int distance) {
  Require(distance >= 1 && distance <= 32768, "a match's distance");
  int base = 1;
  for (int symbol = 0;; ++symbol) {
    const int extra_bits = symbol < 4 ? 0 : (symbol - 2) / 2;
    if (distance < base + (1 << extra_bits)) return {symbol, static_cast<uint32_t>(distance - base), extra_bits};
    base += 1 << extra_bits;
  }
}

DynamicHeader DescribeLengths(const Lengths& lit_len, const Lengths& distance) {
  DynamicHeader header;
  header.lit_len_codes = static_cast<int>(lit_len.size());
  header.distance_codes = static_cast<int>(distance.size());
  // A complete code of 13 symbols with 4 bits and 6 with 5.
  for (size_t i = 0; i < 19; ++i) header.code_length_lengths[i] = i < 13 ? 4 : 5;
  Lengths all = lit_len;
  all.insert(all.end(), distance.begin(), distance.end());
  for (size_t i = 0; i < all.size();) {
    size_t run = 1;
    while (i + run < all.size() && all[i + run] == all[i]) ++run;
    if (all[i] == 0 && run >= 11) {
      run = std::min<size_t>(run, 138);
      header.items.push_back({18, static_cast<uint32_t>(run - 11)});
    } else if (all[i] == 0 && run >= 3) {
      header.items.push_back({17, static_cast<uint32_t>(run - 3)});
    } else if (run >= 4) {
      run = std::min<size_t>(run, 7);
      header.items.push_back({all[i]});
      header.items.push_back({16, static_cast<uint32_t>(run - 4)});
    } else {
      run = 1;
      header.items.push_back({all[i]});
    }
    i += run;
  }
  return header;
}

StreamBuilder& StreamBuilder::Bits(uint32_t value, int count) {
  Require(count <= 32, "a field has at most 32 bits");
  for (int i = 0; i < count; ++i) {
    if (bits_ % 8 == 0) stream_.push_back(0);
    stream_.back() = static_cast<uint8_t>(stream_.back() | ((value >> i) & 1) << (bits_ % 8));
    ++bits_;
  }
  return *this;
}

StreamBuilder& StreamBuilder::Code(uint32_t code, int count) {
  while (count > 0) Bits(code >> --count, 1);
  return *this;
}

StreamBuilder& StreamBuilder::Align() {
  bits_ = stream_.size() * 8;
  return *this;
}

StreamBuilder& StreamBuilder::Raw(const Bytes& bytes) {
  for (const uint8_t byte : bytes) Bits(byte, 8);
  return *this;
}

StreamBuilder& StreamBuilder::Stored(const Bytes& bytes, Last last) {
  Require(bytes.size() <= 65535, "a stored block's length");
  const auto length = static_cast<uint32_t>(bytes.size());
  Bits(last, 1).Bits(0, 2).Align().Bits(length, 16).Bits(~length, 16).Raw(bytes);
  for (const uint8_t byte : bytes) pairs_.push_back({byte, 0});
  history_.insert(history_.end(), bytes.begin(), bytes.end());
  AddMark(true);
  return *this;
}

StreamBuilder& StreamBuilder::Fixed(Last last) {
  Bits(last, 1).Bits(1, 2);
  SetCodes(FixedLitLenLengths(), FixedDistanceLengths());
  return *this;
}

StreamBuilder& StreamBuilder::Dynamic(const Lengths& lit_len, const Lengths& distance, Last last) {
  return Dynamic(DescribeLengths(lit_len, distance), lit_len, distance, last);
}

StreamBuilder& StreamBuilder::Dynamic(const DynamicHeader& header, const Lengths& lit_len, const Lengths& distance,
                                      Last last) {
  Bits(last, 1).Bits(2, 2);
  Bits(static_cast<uint32_t>(header.lit_len_codes - 257), 5);
  Bits(static_cast<uint32_t>(header.distance_codes - 1), 5);
  Bits(static_cast<uint32_t>(header.code_length_codes - 4), 4);
  for (int i = 0; i < header.code_length_codes; ++i) {
    Bits(static_cast<uint32_t>(header.code_length_lengths.at(static_cast<size_t>(kCodeLengthOrder[i]))), 3);
  }
  const std::vector<uint32_t> codes = CanonicalCodes(header.code_length_lengths);
  for (const LengthItem& item : header.items) {
    const auto symbol = static_cast<size_t>(item.symbol);
    Code(codes.at(symbol), header.code_length_lengths.at(symbol));
    if (item.symbol >= 16) Bits(item.extra, item.symbol == 16 ? 2 : item.symbol == 17 ? 3 : 7);
  }
  SetCodes(lit_len, distance);
  return *this;
}

void StreamBuilder::SetCodes(const Lengths& lit_len, const Lengths& distance) {
  lit_len_lengths_ = lit_len;
  distance_lengths_ = distance;
  lit_len_codes_ = CanonicalCodes(lit_len);
  distance_codes_ = CanonicalCodes(distance);
}

StreamBuilder& StreamBuilder::LitLenSymbol(int symbol) {
  const auto s = static_cast<size_t>(symbol);
  Require(lit_len_lengths_.at(s) > 0, "the literal/length symbol has no code");
  return Code(lit_len_codes_[s], lit_len_lengths_[s]);
}

StreamBuilder& StreamBuilder::DistanceSymbol(int symbol) {
  const auto s = static_cast<size_t>(symbol);
  Require(distance_lengths_.at(s) > 0, "the distance symbol has no code");
  return Code(distance_codes_[s], distance_lengths_[s]);
}

StreamBuilder& StreamBuilder::BadMatch(int length, int distance) {
  const RangeCode l = LengthCode(length);
  const RangeCode d = DistanceCode(distance);
  LitLenSymbol(l.symbol).Bits(l.extra, l.extra_bits);
  return DistanceSymbol(d.symbol).Bits(d.extra, d.extra_bits);
}

StreamBuilder& StreamBuilder::Literal(int byte) {
  LitLenSymbol(byte);
  history_.push_back(static_cast<uint8_t>(byte));
  pairs_.push_back({static_cast<uint16_t>(byte), 0});
  AddMark(false);
  return *this;
}

StreamBuilder& StreamBuilder::Literals(std::string_view text) {
  for (const char c : text) Literal(static_cast<uint8_t>(c));
  return *this;
}

StreamBuilder& StreamBuilder::Match(int length, int distance) {
  Require(static_cast<size_t>(distance) <= history_.size(), "the match starts before the history");
  BadMatch(length, distance);
  for (int i = 0; i < length; ++i) history_.push_back(history_[history_.size() - static_cast<size_t>(distance)]);
  pairs_.push_back({static_cast<uint16_t>(length), static_cast<uint16_t>(distance)});
  AddMark(false);
  return *this;
}

StreamBuilder& StreamBuilder::End() {
  LitLenSymbol(256);
  AddMark(true);
  return *this;
}

void StreamBuilder::AddMark(bool ends_block) {
  marks_.push_back({bits_, history_.size() - dictionary_size_, pairs_.size(), ends_block});
}

std::vector<size_t> StreamBuilder::BlockEnds() const {
  std::vector<size_t> ends;
  for (const Mark& mark : marks_) {
    if (mark.ends_block) ends.push_back((mark.bits + 7) / 8);
  }
  return ends;
}

}  // namespace zeldc_test
