#include "support/data.h"

#include <algorithm>

namespace zeldc_test {

Bytes RandomBytes(size_t size, uint64_t seed) { return SmallAlphabet(size, 256, seed); }

Bytes SmallAlphabet(size_t size, unsigned symbols, uint64_t seed) {
  Random random(seed);
  Bytes out(size);
  for (uint8_t& byte : out) byte = static_cast<uint8_t>(Uniform(random, 0, symbols - 1));
  return out;
}

Bytes Runs(size_t size, size_t max_run, uint64_t seed) {
  Random random(seed);
  Bytes out;
  while (out.size() < size) {
    const size_t limit = Uniform(random, 1, max_run);
    const size_t run = std::min<size_t>(Uniform(random, 1, limit), size - out.size());
    out.insert(out.end(), run, static_cast<uint8_t>(random()));
  }
  return out;
}

Bytes Text(size_t size, uint64_t seed) {
  static const char kLetters[] = "etaoinshrdlucmfwypvbgkjqxz";
  Random random(seed);
  std::vector<std::string> words(2000);
  for (std::string& word : words) {
    for (size_t i = Uniform(random, 1, 9); i > 0; --i) {
      word += kLetters[std::min(Uniform(random, 0, 25), Uniform(random, 0, 25))];
    }
  }
  Bytes out;
  size_t line = 0;
  while (out.size() < size) {
    // The product of two numbers prefers the words at the list's start.
    const std::string& word = words[Uniform(random, 0, 1999) * Uniform(random, 0, 1999) / 2000];
    out.insert(out.end(), word.begin(), word.end());
    line += word.size() + 1;
    const uint64_t mark = Uniform(random, 0, 99);
    if (mark < 4) out.push_back('.');
    if (mark >= 4 && mark < 10) out.push_back(',');
    out.push_back(line > 72 ? '\n' : ' ');
    if (line > 72) line = 0;
  }
  out.resize(size);
  return out;
}

Bytes Periodic(size_t size, size_t period, uint64_t seed) {
  Bytes out = RandomBytes(std::min(size, period), seed);
  while (out.size() < size) out.push_back(out[out.size() - period]);
  return out;
}

Bytes FibonacciWord(size_t size) {
  Bytes previous = {'b'}, word = {'a'};
  while (word.size() < size) {
    Bytes next = word;
    next.insert(next.end(), previous.begin(), previous.end());
    previous = std::move(word);
    word = std::move(next);
  }
  word.resize(size);
  return word;
}

Bytes RepeatsAt(size_t size, size_t distance, unsigned symbols, uint64_t seed) {
  Random random(seed);
  Bytes out;
  while (out.size() < size) {
    if (out.size() >= distance && random() % 2 == 0) {
      for (size_t i = Uniform(random, 3, 300); i > 0; --i) out.push_back(out[out.size() - distance]);
    } else {
      for (size_t i = Uniform(random, 1, 200); i > 0; --i) {
        out.push_back(static_cast<uint8_t>(Uniform(random, 0, symbols - 1)));
      }
    }
  }
  out.resize(size);
  return out;
}

Bytes Mixed(size_t size, uint64_t seed) {
  Random random(seed);
  Bytes out;
  while (out.size() < size) {
    const size_t piece = Uniform(random, 1, 5000);
    const uint64_t piece_seed = random();
    Bytes next;
    switch (Uniform(random, 0, 6)) {
      case 0:
        next = RandomBytes(piece, piece_seed);
        break;
      case 1:
        next = SmallAlphabet(piece, 4, piece_seed);
        break;
      case 2:
        next = Runs(piece, 1000, piece_seed);
        break;
      case 3:
        next = Text(piece, seed);
        break;  // the same language in every piece
      case 4:
        next = Periodic(piece, Uniform(random, 1, 40), piece_seed);
        break;
      case 5:
        next = FibonacciWord(piece);
        break;
      default:
        next = RepeatsAt(piece, Uniform(random, 1, 300), 256, piece_seed);
        break;
    }
    out.insert(out.end(), next.begin(), next.end());
  }
  out.resize(size);
  return out;
}

std::vector<NamedData> AllKinds(size_t size) {
  std::vector<NamedData> all = {
      {"random", RandomBytes(size, 1)},
      {"bits", SmallAlphabet(size, 2, 2)},
      {"alphabet4", SmallAlphabet(size, 4, 3)},
      {"runs", Runs(size, 3000, 4)},
      {"text", Text(size, 5)},
      {"one byte", Bytes(size, 'x')},
      {"period 3", Periodic(size, 3, 6)},
      {"period 300", Periodic(size, 300, 7)},
      {"fibonacci", FibonacciWord(size)},
      {"repeats", RepeatsAt(size, 1000, 256, 8)},
      {"mixed", Mixed(size, 9)},
  };
  for (size_t n : {0, 1, 2, 3, 4, 10}) all.push_back({"tiny " + std::to_string(n), Text(n, 10)});
  return all;
}

}  // namespace zeldc_test
