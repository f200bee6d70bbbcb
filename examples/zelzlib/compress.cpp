#include "zelzlib/compress.h"

#include <algorithm>
#include <cstring>

#include "common/messages.h"
#include "zeldc.h"
#include "zelzlib/block_writer.h"
#include "zelzlib/window.h"
#include "zelzlib/zlib_format.h"

namespace zelzlib {

namespace {

constexpr size_t kInputBytes = 256 << 10;
constexpr size_t kItemsPerBlock = 32768;
constexpr size_t kMostBytesToStore = 2 * kItemsPerBlock;  // of more, matches surely make less
// More are slower and on the whole compress no better.
constexpr int32_t kHashSize = 32768;
constexpr int32_t kNoPosition = -32768;
constexpr int32_t kLargestIndex = 1 << 30;

// The library's match search over a stream of any length.
class MatchFinder {
 public:
  MatchFinder(int level, int windowBits)
      : level_(level), window_(size_t{1} << windowBits), heads_(kHashSize), chain_(size_t{1} << windowBits) {
    ForgetPositions();
  }

  void SetDictionary(const std::vector<uint8_t>& dictionary) {
    zelsDeflateDictionarySet_8u(dictionary.data(), static_cast<int32_t>(dictionary.size()), heads_.data(), kHashSize,
                                chain_.data(), window_.data(), window_.size(), level_);
    window_.Append(dictionary.data(), dictionary.size());
    index_ = window_.fill();
  }

  // Turns bytes into items, behind those that there are, until there are enough or the bytes are spent; unless these
  // are the last, a few are left, which are to be given again. Answers how many were taken.
  size_t Find(std::span<uint8_t> bytes, bool last) {
    if (index_ > kLargestIndex) {
      // Positions must not become too large. All that is lost are matches that start in the window.
      ForgetPositions();
      index_ = window_.size();
    }
    uint8_t* next = bytes.data();
    int32_t left = static_cast<int32_t>(bytes.size());
    int32_t room = static_cast<int32_t>(kItemsPerBlock - count_);
    zelsDeflateLZ77_8u(&next, &left, &index_, window_.data(), window_.size(), heads_.data(), chain_.data(), kHashSize,
                       frequencies_.litLen.data(), frequencies_.distance.data(), values_.data() + count_,
                       distances_.data() + count_, &room, level_, last ? zelLZ77FlushFinal : zelLZ77FlushNone);
    count_ = kItemsPerBlock - static_cast<size_t>(room);
    const size_t taken = bytes.size() - static_cast<size_t>(left);
    window_.Append(bytes.data(), taken);
    return taken;
  }

  bool IsFull() const { return count_ == kItemsPerBlock; }
  Items items() const { return {{values_.data(), count_}, {distances_.data(), count_}}; }
  const Frequencies& frequencies() const { return frequencies_; }

  void StartBlock() {
    frequencies_ = {};
    count_ = 0;
  }

 private:
  void ForgetPositions() {
    std::fill(heads_.begin(), heads_.end(), kNoPosition);
    std::fill(chain_.begin(), chain_.end(), kNoPosition);
  }

  int level_;
  Window window_;
  std::vector<int32_t> heads_;
  std::vector<int32_t> chain_;
  int32_t index_ = 0;  // the position of the next byte in the stream
  Frequencies frequencies_;
  std::vector<uint8_t> values_ = std::vector<uint8_t>(kItemsPerBlock);
  std::vector<uint16_t> distances_ = std::vector<uint16_t>(kItemsPerBlock);
  size_t count_ = 0;
};

// The input, of which what has not been taken stays.
class Pieces {
 public:
  explicit Pieces(example::Input& input) : input_(input), buffer_(kInputBytes) {}

  // What there is, with as much behind it as there is room for.
  std::span<uint8_t> Next() {
    std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
    const size_t read = input_.ReadFully(buffer_.data() + end_, buffer_.size() - end_);
    end_ += read;
    atEnd_ = end_ < buffer_.size();
    return {buffer_.data(), end_};
  }
  std::span<uint8_t> Rest() { return {buffer_.data() + begin_, end_ - begin_}; }
  void Take(size_t count) { begin_ += count; }
  bool atEnd() const { return atEnd_; }

 private:
  example::Input& input_;
  std::vector<uint8_t> buffer_;
  size_t begin_ = 0;
  size_t end_ = 0;
  bool atEnd_ = false;
};

}  // namespace

void Compress(example::Input& input, int level, int windowBits, const std::vector<uint8_t>& dictionary,
              example::Output& output) {
  Header header{windowBits, level, !dictionary.empty(), kFreshAdler};
  MatchFinder finder(level, windowBits);
  if (!dictionary.empty()) {
    Add(dictionary.data(), dictionary.size(), header.dictionaryAdler);
    finder.SetDictionary(dictionary);
  }
  WriteHeader(header, output);

  BitWriter writer(output);
  uint32_t adler = kFreshAdler;
  std::vector<uint8_t> bytes;  // of the block, while they may have to be stored
  Pieces pieces(input);
  size_t blockBytes = 0;
  for (bool last = false; !last;) {
    const std::span<uint8_t> piece = pieces.Rest().size() > 1024 || pieces.atEnd() ? pieces.Rest() : pieces.Next();
    const size_t taken = finder.Find(piece, pieces.atEnd());
    Add(piece.data(), taken, adler);
    blockBytes += taken;
    if (blockBytes <= kMostBytesToStore)
      bytes.insert(bytes.end(), piece.begin(), piece.begin() + static_cast<ptrdiff_t>(taken));
    pieces.Take(taken);
    last = pieces.atEnd() && pieces.Rest().empty();
    if (!finder.IsFull() && !last) continue;
    if (blockBytes > kMostBytesToStore) bytes.clear();
    WriteBlock(finder.items(), finder.frequencies(), bytes, last, writer);
    finder.StartBlock();
    bytes.clear();
    blockBytes = 0;
  }
  writer.PadToByte();
  WriteTrailer(adler, output);
  output.Flush();
}

}  // namespace zelzlib
