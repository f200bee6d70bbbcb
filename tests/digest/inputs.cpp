#include "inputs.h"

#include <stdio.h>

#include <algorithm>

namespace zeldc_digest {

uint64_t Numbers::Next() {
  uint64_t z = state_ += 0x9E3779B97F4A7C15;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
  return z ^ (z >> 31);
}

namespace {

void Append(Data& data, const char* text) {
  while (*text != 0) data.push_back(static_cast<uint8_t>(*text++));
}

template <size_t kCount>
const char* OneOf(Numbers& numbers, const char* const (&words)[kCount]) {
  // The smaller of two: the first words are the frequent ones.
  const uint32_t first = numbers.Below(kCount);
  return words[std::min(first, numbers.Below(kCount))];
}

// A noun and what goes before it.
void AppendPhrase(Data& data, Numbers& numbers) {
  static const char* const kArticles[] = {"the ", "a ", "every ", "this ", "no "};
  static const char* const kAdjectives[] = {"old ", "small ", "broken ", "quiet ", "northern ", "second ", "yellow "};
  static const char* const kNouns[] = {"house",  "river", "engine", "letter",  "captain", "garden", "winter",
                                       "harbor", "clock", "bridge", "teacher", "window",  "forest", "question"};
  Append(data, OneOf(numbers, kArticles));
  if (numbers.Below(3) == 0) Append(data, OneOf(numbers, kAdjectives));
  Append(data, OneOf(numbers, kNouns));
}

void AppendSentence(Data& data, Numbers& numbers) {
  static const char* const kVerbs[] = {" found ", " carries ", " left ", " would see ", " had forgotten ", " follows "};
  static const char* const kJoints[] = {", and ", " because ", ", but ", " while ", "; "};
  static const char* const kEnds[] = {". ", ".\n", "? ", ".\n\n", "! "};
  const size_t start = data.size();
  AppendPhrase(data, numbers);
  Append(data, OneOf(numbers, kVerbs));
  AppendPhrase(data, numbers);
  if (numbers.Below(4) == 0) {
    Append(data, " in ");
    char year[16];
    snprintf(year, sizeof year, "%d", 1800 + static_cast<int>(numbers.Below(200)));
    Append(data, year);
  }
  if (numbers.Below(3) == 0) {
    Append(data, OneOf(numbers, kJoints));
    AppendPhrase(data, numbers);
    Append(data, OneOf(numbers, kVerbs));
    AppendPhrase(data, numbers);
  }
  data[start] = static_cast<uint8_t>(data[start] - 'a' + 'A');
  Append(data, OneOf(numbers, kEnds));
}

// A table's row of 24 bytes: a counter, a slowly moving value, flags, a name, noise.
void AppendRecord(Data& data, Numbers& numbers) {
  static const char* const kNames[] = {"alpha\0\0\0", "bravo\0\0\0", "charlie\0", "delta\0\0\0", "echo\0\0\0\0"};
  const uint32_t row = static_cast<uint32_t>(data.size() / 24);
  const uint32_t level = 100000 + row * 7 + numbers.Below(16);
  for (int i = 0; i < 4; ++i) data.push_back(static_cast<uint8_t>(row >> (8 * i)));
  for (int i = 0; i < 4; ++i) data.push_back(static_cast<uint8_t>(level >> (8 * i)));
  for (int i = 0; i < 4; ++i) data.push_back(numbers.Below(8) == 0 ? 1 : 0);
  const char* const name = OneOf(numbers, kNames);
  for (int i = 0; i < 8; ++i) data.push_back(static_cast<uint8_t>(name[i]));
  for (int i = 0; i < 4; ++i) data.push_back(static_cast<uint8_t>(numbers.Below(i == 0 ? 256 : 3)));
}

}  // namespace

Data Make(Kind kind, size_t size, uint64_t seed) {
  Numbers numbers(seed);
  Data data;
  if (kind == Kind::kZeros) data.resize(size);
  if (kind == Kind::kPeriodic) {
    const size_t period = 1 + numbers.Below(300);
    while (data.size() < size) {
      data.push_back(data.size() < period ? static_cast<uint8_t>(numbers.Below(256)) : data[data.size() - period]);
    }
  }
  while (kind == Kind::kText && data.size() < size) AppendSentence(data, numbers);
  while (kind == Kind::kRecords && data.size() < size) AppendRecord(data, numbers);
  while (kind == Kind::kRandom && data.size() < size) data.push_back(static_cast<uint8_t>(numbers.Below(256)));
  while (kind == Kind::kMixture && data.size() < size) {
    // One after the other: the order in which a call's arguments are computed is the compiler's choice.
    const Kind piece_kind = static_cast<Kind>(numbers.Below(kKinds - 1));
    const size_t piece_size = 1 + numbers.Below(3000);
    const Data piece = Make(piece_kind, piece_size, numbers.Next());
    data.insert(data.end(), piece.begin(), piece.end());
  }
  data.resize(size);
  return data;
}

const std::vector<Data>& SmallInputs() {
  static const std::vector<Data> inputs = [] {
    static const uint16_t kSizes[] = {1,   2,   3,   4,   5,    7,    8,    9,    15,   16,   17,   31,   32,  33,  50,
                                      51,  63,  64,  65,  127,  199,  200,  255,  256,  257,  258,  259,  260, 261, 511,
                                      600, 767, 768, 769, 1024, 1200, 2047, 2048, 2049, 2400, 4095, 4096, 4097};
    std::vector<Data> all(1);
    uint32_t number = 0;
    for (const uint16_t size : kSizes) {
      all.push_back(Make(static_cast<Kind>(number % kKinds), size, number));
      all.push_back(Make(static_cast<Kind>((number + 3) % kKinds), size, number + 1000));
      ++number;
    }
    return all;
  }();
  return inputs;
}

const std::vector<Data>& LargeInputs() {
  static const std::vector<Data> inputs = {
      Make(Kind::kMixture, 8191, 1),     Make(Kind::kText, 16385, 2),     Make(Kind::kRecords, 32767, 3),
      Make(Kind::kText, 32768, 4),       Make(Kind::kPeriodic, 32769, 5), Make(Kind::kRandom, 33025, 6),
      Make(Kind::kRandom, 65281, 7),     Make(Kind::kRandom, 65535, 8),   Make(Kind::kMixture, 65536, 9),
      Make(Kind::kZeros, 66000, 10),     Make(Kind::kRecords, 98304, 11), Make(Kind::kMixture, 131073, 12),
      Make(Kind::kPeriodic, 150001, 13), Make(Kind::kText, 262145, 14),   Make(Kind::kMixture, 307200, 15)};
  return inputs;
}

std::vector<const Data*> AllInputs() {
  std::vector<const Data*> all;
  for (const Data& data : SmallInputs()) all.push_back(&data);
  for (const Data& data : LargeInputs()) all.push_back(&data);
  return all;
}

}  // namespace zeldc_digest
