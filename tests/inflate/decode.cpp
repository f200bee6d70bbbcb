#include "inflate/decode.h"

#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <stdexcept>

namespace zeldc_test {

namespace {

constexpr size_t kMargin = 64;  // bytes before the room that no call may change
constexpr uint8_t kMarginByte = 0xC3;
constexpr size_t kMostPairs = 65536;  // pairs that a call gets at most

void Require(bool holds, const char* what) {
  if (!holds) throw std::runtime_error(what);
}

size_t BytesOf(const zelLZ77Pair& pair) { return pair.distance == 0 ? 1 : pair.length; }

size_t PairsRoom(const DecodeOptions& options) { return std::min(options.pairs_room, kMostPairs); }

}  // namespace

DecoderRecord::DecoderRecord(uint8_t fill, size_t shift) : memory_(kDecoderRecordSize + shift), fill_(fill) {
  memset(memory_.data(), fill, memory_.size());
  Require(zelsDecodeLZ77Init_8u(0, get()) == zelOk, "Init");
}

DecoderRecord::~DecoderRecord() {
  const uint8_t* const tail = memory_.data() + kDecoderRecordSize;
  if (!std::all_of(tail, static_cast<const uint8_t*>(memory_.end()), [&](uint8_t byte) { return byte == fill_; })) {
    abort();
  }
}

namespace {

// Memory up to a guard page that decoders share, one call after the other, and that grows when one needs more.
class Reserve {
 public:
  uint8_t* Last(size_t size) {
    if (!buffer_ || buffer_->size() < size) buffer_ = std::make_unique<GuardedBuffer>(size);
    return buffer_->end() - size;
  }

 private:
  std::unique_ptr<GuardedBuffer> buffer_;
};

thread_local Reserve source_reserve, room_reserve, pairs_reserve;

// Room for `size` bytes behind a margin that no call may change.
uint8_t* Room(size_t size) {
  uint8_t* const margin = room_reserve.Last(kMargin + size);
  memset(margin, kMarginByte, kMargin);
  return margin + kMargin;
}

bool MarginIsIntact(const uint8_t* room) {
  return std::all_of(room - kMargin, room, [](uint8_t byte) { return byte == kMarginByte; });
}

zelLZ77Pair* PairsArray(size_t count) {
  return reinterpret_cast<zelLZ77Pair*>(pairs_reserve.Last(count * sizeof(zelLZ77Pair)));
}

}  // namespace

StreamDecoder::StreamDecoder(zelLZ77State* record, const Bytes& stream, const DecodeOptions& options)
    : record_(record),
      options_(options),
      random_(options.split_seed),
      stream_(std::make_shared<GuardedBuffer>(stream)) {
  if (!options.dictionary.empty()) {
    const GuardedBuffer dictionary(options.dictionary);
    Require(zelsDecodeLZ77SetDictionary_8u(dictionary.data(), static_cast<int32_t>(dictionary.size()), record) == zelOk,
            "SetDictionary");
  }
}

StreamDecoder StreamDecoder::On(zelLZ77State* record) const {
  StreamDecoder other = *this;
  other.record_ = record;
  return other;
}

Decoded StreamDecoder::Run() {
  while (Step()) {
  }
  return result_;
}

bool StreamDecoder::Step() { return options_.path == Path::kBytes ? DecodeBytes() : DecodePairs(); }

size_t StreamDecoder::Piece(size_t limit, size_t available) {
  const size_t most = std::min(limit, available);
  if (options_.split_seed == 0) return most;
  // Mostly small numbers, so that large limits have many splits, too.
  return random_() % 2 ? Uniform(random_, 0, std::min<size_t>(most, 9)) : Uniform(random_, 0, most);
}

// The next bytes of the stream, up to a guard page.
const uint8_t* StreamDecoder::NextSource(int32_t* size) {
  const size_t left = stream_->size() - result_.consumed;
  const size_t piece = Piece(options_.source_piece, left);
  *size = static_cast<int32_t>(piece);
  if (piece == left) return stream_->end() - piece;
  uint8_t* const start = source_reserve.Last(piece);
  if (piece > 0) memcpy(start, stream_->data() + result_.consumed, piece);
  return start;
}

void StreamDecoder::Took(const uint8_t* start, const uint8_t* now, int32_t given, int32_t left) {
  Require(left >= 0 && left <= given, "a decoder's source count");
  Require(now == start + (given - left), "a decoder's source pointer");
  result_.consumed += static_cast<size_t>(given - left);
}

// Ends the stream, with what the pairs still stand for.
bool StreamDecoder::Finish(zelStatus status) {
  result_.status = status;
  if (options_.path == Path::kPairs) ExpandAll();
  OutputIsFull();
  return false;
}

bool StreamDecoder::OutputIsFull() {
  if (result_.data.size() < options_.max_output) return false;
  result_.data.resize(options_.max_output);
  result_.status = zelWarnDstFull;
  return true;
}

// What a block decoder's answer means for the stream.
bool StreamDecoder::Settle(zelStatus status) {
  switch (status) {
    case zelOk:
    case zelWarnStreamEnd:
      block_ = -1;
      result_.block_ends.push_back(result_.consumed);
      return status == zelOk || Finish(status);
    case zelWarnDstFull:
      return true;
    case zelWarnSrcShort:
      return result_.consumed < stream_->size() || Finish(status);
    default:
      return Finish(status);
  }
}

bool StreamDecoder::DecodeBytes() {
  int32_t given = 0;
  const uint8_t* const source = NextSource(&given);
  const uint8_t* now = source;
  int32_t left = given;
  if (block_ < 0) {
    int32_t type = -1;
    const zelStatus status = zelsDecodeLZ77GetBlockType_8u(&now, &left, &type, record_);
    Took(source, now, given, left);
    Require(given - left <= 1, "GetBlockType takes more than a byte");
    if (status == zelWarnSrcShort) {
      Require(type == -1 && given == 0, "GetBlockType asks for input that it has");
      return Settle(status);
    }
    Require(status == zelOk, "GetBlockType's status");
    Require(type >= -1 && type <= zelLZ77HuffStored, "GetBlockType's answer");
    block_ = type;
    return type >= 0 || Finish(zelErr);
  }

  const size_t room = Piece(options_.room, options_.max_output);
  uint8_t* const start = Room(room);
  uint8_t* dst = start;
  int32_t room_left = static_cast<int32_t>(room);
  zelStatus status = zelErr;
  switch (block_) {
    case zelLZ77HuffStored:
      status = zelsDecodeLZ77StoredBlock_8u(&now, &left, &dst, &room_left, record_);
      break;
    case zelLZ77HuffFixed:
      status = zelsDecodeLZ77FixedHuffFull_8u(&now, &left, &dst, &room_left, zelLZ77FlushNone, record_);
      break;
    default:
      status = zelsDecodeLZ77DynamicHuffFull_8u(&now, &left, &dst, &room_left, zelLZ77FlushNone, record_);
      break;
  }
  Took(source, now, given, left);
  Require(room_left >= 0 && static_cast<size_t>(room_left) <= room, "a decoder's room");
  Require(dst == start + (room - static_cast<size_t>(room_left)), "a decoder's destination pointer");
  Require(MarginIsIntact(start), "a decoder writes before its room");
  Require(status != zelWarnDstFull || room_left == 0, "a decoder asks for room that it has");
  Require(status != zelWarnSrcShort || left == 0, "a decoder asks for input that it has");
  Require(status != zelErr, "a decoder does not know its block");
  result_.data.insert(result_.data.end(), start, dst);
  if (OutputIsFull()) return false;
  return Settle(status);
}

bool StreamDecoder::DecodePairs() {
  int32_t given = 0;
  const uint8_t* const source = NextSource(&given);
  const uint8_t* now = source;
  int32_t left = given;
  const size_t room = Piece(PairsRoom(options_), SIZE_MAX);
  zelLZ77Pair* const start = PairsArray(room);
  zelLZ77Pair* next = start;
  int32_t room_left = static_cast<int32_t>(room);
  zelStatus status = zelErr;
  if (block_ < 0) block_ = 0;
  switch (block_) {
    case 0:
      status = zelsDecodeLZ77StoredHuff_8u(&now, &left, &next, &room_left, record_);
      break;
    case 1:
      status = zelsDecodeLZ77FixedHuff_8u(&now, &left, &next, &room_left, zelLZ77FlushNone, record_);
      break;
    default:
      status = zelsDecodeLZ77DynamicHuff_8u(&now, &left, &next, &room_left, zelLZ77FlushNone, record_);
      break;
  }
  Took(source, now, given, left);
  Require(room_left >= 0 && static_cast<size_t>(room_left) <= room, "a decoder's pairs room");
  Require(next == start + (room - static_cast<size_t>(room_left)), "a decoder's pairs pointer");
  Require(status != zelWarnDstFull || room_left == 0, "a decoder asks for pairs room that it has");
  Require(status != zelWarnSrcShort || left == 0, "a decoder asks for input that it has");
  result_.pairs.insert(result_.pairs.end(), start, next);
  if (status == zelErr) {
    Require(next == start && left == given, "a decoder takes a part of another type's block");
    return ++block_ < 3 || Finish(zelErr);
  }
  stream_ended_ = status == zelWarnStreamEnd && block_ != 0;
  const bool goes_on = Settle(status);
  if (!goes_on) return false;
  ExpandAllButOne();
  return !OutputIsFull() && result_.status == zelOk;
}

// One call of the expansion, with the next `count` pairs.
zelStatus StreamDecoder::Expand(size_t count, size_t room) {
  zelLZ77Pair* const first = PairsArray(count);
  std::copy_n(result_.pairs.begin() + static_cast<ptrdiff_t>(expanded_), count, first);
  zelLZ77Pair* pairs = first;
  int32_t pairs_left = static_cast<int32_t>(count);
  uint8_t* const start = Room(room);
  uint8_t* dst = start;
  int32_t room_left = static_cast<int32_t>(room);
  const zelStatus status = zelsDecodeLZ77_8u(&pairs, &pairs_left, &dst, &room_left, zelLZ77FlushNone, record_);
  Require(pairs_left >= 0 && static_cast<size_t>(pairs_left) <= count, "the expansion's pairs count");
  const size_t used = count - static_cast<size_t>(pairs_left);
  Require(pairs == first + used, "the expansion's pairs pointer");
  Require(room_left >= 0 && static_cast<size_t>(room_left) <= room, "the expansion's room");
  Require(dst == start + (room - static_cast<size_t>(room_left)), "the expansion's destination pointer");
  Require(MarginIsIntact(start), "the expansion writes before its room");
  result_.data.insert(result_.data.end(), start, dst);
  for (size_t i = 0; i < used; ++i) bytes_of_pairs_ += BytesOf(result_.pairs[expanded_ + i]);
  expanded_ += used;
  switch (status) {
    case zelOk:
    case zelWarnStreamEnd:
      Require(pairs_left == 0, "the expansion leaves pairs");
      Require(count == 0 || bytes_of_pairs_ == result_.data.size(), "the expansion leaves a part of a match");
      Require((status == zelWarnStreamEnd) == (stream_ended_ && count > 0), "the expansion's stream end");
      break;
    case zelWarnDstFull:
      Require(room_left == 0, "the expansion asks for room that it has");
      break;
    default:
      Require(status == zelErrBadData, "the expansion's status");
      result_.status = status;
      break;
  }
  return status;
}

// A match that the room cuts needs another pair to go on with, so the last one is kept back.
void StreamDecoder::ExpandAllButOne() {
  while (result_.status == zelOk && result_.data.size() < options_.max_output && result_.pairs.size() - expanded_ > 1) {
    const size_t count = Piece(PairsRoom(options_), result_.pairs.size() - expanded_ - 1);
    Expand(count, Piece(options_.room, options_.max_output));
  }
}

// The last pairs, in calls that get all of them; one that starts the last pair has room for all of it.
void StreamDecoder::ExpandAll() {
  const zelStatus decoder_status = result_.status;
  result_.status = zelOk;
  const zelStatus until = stream_ended_ ? zelWarnStreamEnd : zelOk;
  if (!stream_ended_) ExpandAllButOne();
  zelStatus status = zelWarnDstFull;
  while (expanded_ < result_.pairs.size() && status != until && result_.status == zelOk &&
         result_.data.size() < options_.max_output) {
    const size_t count = result_.pairs.size() - expanded_;
    size_t needed = bytes_of_pairs_ - result_.data.size();
    for (size_t i = 0; i + 1 < count; ++i) needed += BytesOf(result_.pairs[expanded_ + i]);
    const size_t room = Piece(options_.room, options_.max_output);
    status = Expand(count, room <= needed ? room : needed + BytesOf(result_.pairs.back()));
  }
  if (result_.status == zelOk) result_.status = decoder_status;
}

Decoded Decode(const Bytes& stream, const DecodeOptions& options) {
  // The last stream's record: its content is old memory to Init.
  static thread_local const DecoderRecord record;
  Require(zelsDecodeLZ77Init_8u(0, record.get()) == zelOk, "Init");
  return StreamDecoder(record.get(), stream, options).Run();
}

std::vector<DecodeOptions> AllSplits(Path path, uint64_t seed) {
  struct Split {
    size_t source, room, pairs;
    bool random;
  };
  static const Split kSplits[] = {
      {SIZE_MAX, SIZE_MAX, SIZE_MAX, false},
      {1, SIZE_MAX, SIZE_MAX, false},
      {SIZE_MAX, 1, 1, false},
      {1, 1, 1, false},
      {3, 7, 5, false},
      {SIZE_MAX, 300, 40, false},
      {30, 400, 60, true},
      {700, 5000, 700, true},
      {SIZE_MAX, SIZE_MAX, SIZE_MAX, true},
  };
  std::vector<DecodeOptions> all;
  for (const Split& split : kSplits) {
    DecodeOptions options;
    options.path = path;
    options.source_piece = split.source;
    options.room = split.room;
    options.pairs_room = split.pairs;
    options.split_seed = split.random ? ++seed : 0;
    all.push_back(options);
  }
  return all;
}

}  // namespace zeldc_test
