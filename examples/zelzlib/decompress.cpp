#include "zelzlib/decompress.h"

#include <algorithm>
#include <cstring>

#include "common/messages.h"
#include "zelzlib/zlib_format.h"

namespace zelzlib {

namespace {

using example::Failure;

constexpr uint32_t kCodeLengthSymbols = 19;
constexpr uint32_t kCodeLengthBits = 7;  // the longest code of a code length
constexpr uint32_t kMostLitLens = 286;
constexpr uint32_t kMostDistances = 30;

}  // namespace

Decompressor::Decompressor(example::Input& input, const std::vector<uint8_t>& dictionary, example::Output& output)
    : reader_(input),
      dictionary_(dictionary),
      output_(output),
      outputStart_(output.next),
      window_(size_t{1} << kMaxWindowBits),
      adler_(kFreshAdler) {
  state_.window = window_.data();
  state_.windowSize = static_cast<uint32_t>(window_.size());
}

bool Decompressor::Run() {
  try {
    ReadFrame();
  } catch (const Failure&) {
    // Whoever reads from a pipe can use what comes before the damage.
    output_.Flush();
    throw;
  }
  return !reader_.AtEnd();
}

void Decompressor::ReadFrame() {
  const Header header = ReadHeader(reader_);
  if (header.hasDictionary) {
    uint32_t adler = kFreshAdler;
    Add(dictionary_.data(), dictionary_.size(), adler);
    if (dictionary_.empty()) throw Failure(reader_.name() + ": needs the dictionary that it was compressed with");
    if (adler != header.dictionaryAdler) throw Failure(reader_.name() + ": was compressed with another dictionary");
    window_.Append(dictionary_.data(), dictionary_.size());
  }
  ReadBlocks();
  Flush();
  if (ReadTrailer(reader_) != adler_) ThrowInvalid("checksum error");
}

void Decompressor::ReadBlocks() {
  for (bool last = false; !last;) {
    last = reader_.Take(1) == 1;
    switch (reader_.Take(2)) {
      case 0:
        CopyStoredBlock();
        break;
      case 1:
        state_.tableForm = zelInflateFixed;
        DecodeBody();
        break;
      case 2:
        ReadCodes();
        DecodeBody();
        break;
      default:
        ThrowInvalid("unknown type of block");
    }
  }
}

void Decompressor::CopyStoredBlock() {
  reader_.SkipToByte();
  uint32_t left = reader_.Take(16);
  if (reader_.Take(16) != (left ^ 0xFFFF)) ThrowInvalid("damaged stored block");
  while (left > 0) {
    if (output_.room == 0) Flush();
    example::InputCursor& source = reader_.cursor();
    if (*reader_.count() > 0) {  // bytes that wait among the bits
      *output_.next++ = static_cast<uint8_t>(reader_.Take(8));
      --output_.room;
      --left;
      continue;
    }
    if (!source.More()) reader_.ThrowUnexpectedEnd();
    const uint32_t part = std::min({left, static_cast<uint32_t>(source.left), static_cast<uint32_t>(output_.room)});
    std::memcpy(output_.next, source.next, part);
    source.next += part;
    source.left -= static_cast<int32_t>(part);
    output_.next += part;
    output_.room -= static_cast<int32_t>(part);
    left -= part;
  }
}

// The code lengths of a dynamic block (RFC 1951 section 3.2.7), themselves in a code whose lengths come first.
void Decompressor::ReadCodes() {
  static constexpr std::array<uint8_t, kCodeLengthSymbols> kOrder = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                                     11, 4,  12, 3, 13, 2, 14, 1, 15};
  const uint32_t litLens = reader_.Take(5) + 257;
  const uint32_t distances = reader_.Take(5) + 1;
  const uint32_t codeLengthCodes = reader_.Take(4) + 4;
  if (litLens > kMostLitLens || distances > kMostDistances) ThrowInvalid("too many codes");
  std::array<uint8_t, kCodeLengthSymbols> codeLengths{};
  for (uint32_t i = 0; i < codeLengthCodes; ++i) codeLengths[kOrder[i]] = static_cast<uint8_t>(reader_.Take(3));

  // By the next bits, of which a code's first is the lowest: the symbol, and how many bits its code has.
  struct Entry {
    uint8_t symbol;
    uint8_t bits;
  };
  std::array<Entry, 1 << kCodeLengthBits> entries{};
  uint32_t code = 0;
  for (uint8_t length = 1; length <= kCodeLengthBits; ++length, code <<= 1) {
    for (uint8_t symbol = 0; symbol < kCodeLengthSymbols; ++symbol) {
      if (codeLengths[symbol] != length) continue;
      if (code >= 1u << length) ThrowInvalid("over-subscribed code lengths");
      uint32_t reversed = 0;
      for (uint32_t i = 0; i < length; ++i) reversed |= (code >> i & 1) << (length - 1u - i);
      for (uint32_t i = reversed; i < entries.size(); i += 1u << length) entries[i] = {symbol, length};
      ++code;
    }
  }

  std::array<uint16_t, kMostLitLens + kMostDistances> lengths{};
  for (uint32_t n = 0; n < litLens + distances;) {
    const Entry entry = entries[reader_.Peek(kCodeLengthBits)];
    if (entry.bits == 0) ThrowInvalid("undefined code length");
    reader_.Take(entry.bits);
    if (entry.symbol < 16) {
      lengths[n++] = entry.symbol;
      continue;
    }
    if (entry.symbol == 16 && n == 0) ThrowInvalid("nothing to repeat");
    const uint16_t value = entry.symbol == 16 ? lengths[n - 1] : uint16_t{0};
    const uint32_t run = entry.symbol == 16   ? 3 + reader_.Take(2)
                         : entry.symbol == 17 ? 3 + reader_.Take(3)
                                              : 11 + reader_.Take(7);
    if (run > litLens + distances - n) ThrowInvalid("too many code lengths");
    std::fill_n(lengths.begin() + n, run, value);
    n += run;
  }
  if (lengths[256] == 0) ThrowInvalid("no code for the end of a block");

  // A block without matches may have no distance code, which the library does not take. One that is never used is as
  // good.
  if (std::all_of(lengths.begin() + litLens, lengths.begin() + litLens + distances,
                  [](uint16_t l) { return l == 0; })) {
    lengths[litLens] = 15;
  }
  if (zelsInflateBuildHuffTable(lengths.data(), litLens, distances, &state_) != zelOk) ThrowInvalid("damaged codes");
}

// Decodes up to the block's end.
void Decompressor::DecodeBody() {
  example::InputCursor& source = reader_.cursor();
  for (int32_t mode = zelInflateBetween;;) {
    uint32_t left = static_cast<uint32_t>(source.left);
    uint32_t room = static_cast<uint32_t>(output_.room);
    // Matches reach into what the buffer holds, and from there on into the window.
    const uint32_t before = static_cast<uint32_t>(output_.next - outputStart_);
    const zelStatus status =
        zelsInflate_8u(&source.next, &left, reader_.bits(), reader_.count(), static_cast<uint32_t>(window_.fill()),
                       &output_.next, &room, before, &mode, &state_);
    source.left = static_cast<int32_t>(left);
    output_.room = static_cast<int32_t>(room);
    if (status != zelOk) ThrowInvalid("damaged block");
    if (mode == zelInflateBlockEnd) return;
    if (room == 0) {
      Flush();
    } else if (!source.More()) {
      reader_.ThrowUnexpectedEnd();
    }
  }
}

// Writes out the buffer, whose end stays behind in the window.
void Decompressor::Flush() {
  const size_t count = static_cast<size_t>(output_.next - outputStart_);
  Add(outputStart_, count, adler_);
  window_.Append(outputStart_, count);
  output_.Flush();
  outputStart_ = output_.next;
}

void Decompressor::ThrowInvalid(const char* what) const {
  throw Failure(reader_.name() + ": invalid compressed data--" + what);
}

}  // namespace zelzlib
