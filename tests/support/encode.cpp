#include "support/encode.h"

#include <string.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/data.h"

namespace zeldc_test {

namespace {

constexpr size_t kMostRoom = 1 << 20;
constexpr size_t kStoredLimit = 65535;

void Require(bool condition, const char* what) {
  if (!condition) throw std::runtime_error(std::string("encode: ") + what);
}

class Driver {
 public:
  Driver(zelLZ77State* record, const Bytes& input, const EncodeOptions& options)
      : record_(record),
        options_(options),
        random_(options.split_seed),
        input_(input),
        room_(std::min(options.room, kMostRoom)),
        caller_pairs_(options.pairs_room == zelLZ77MaxPairs ? 0 : options.pairs_room * sizeof(zelLZ77Pair)) {}

  Bytes Run() {
    if (!options_.dictionary.empty()) {
      const GuardedBuffer dictionary(options_.dictionary);
      Require(
          zelsEncodeLZ77SetDictionary_8u(dictionary.data(), static_cast<int32_t>(dictionary.size()), record_) == zelOk,
          "SetDictionary");
    }
    size_t done = 0;
    do {
      const size_t start = done;
      done = CollectPairs(start);
      WriteBlock(start, done);
    } while (!stream_ended_);
    Require(done == input_.size(), "the stream ended before the input");
    if (options_.trailer) WriteTrailer();
    return std::move(output_);
  }

 private:
  size_t Piece(size_t most) { return options_.split_seed == 0 ? most : Uniform(random_, 0, most); }

  // Fills the pairs array from input[start..]; returns the end of the input that the pairs stand for.
  size_t CollectPairs(size_t start) {
    Require(zelsEncodeLZ77SetStatus_8u(zelLZ77StatusMatching, record_) == zelOk, "SetStatus(matching)");
    int32_t position = 0, capacity = 0;
    Require(zelsEncodeLZ77GetPairs_8u(&pairs_, &position, &capacity, record_) == zelOk, "GetPairs");
    Require(position == 0 && capacity == zelLZ77MaxPairs, "the pairs array is not empty");
    if (options_.pairs_room != zelLZ77MaxPairs) {
      pairs_ = reinterpret_cast<zelLZ77Pair*>(caller_pairs_.data());
      capacity = static_cast<int32_t>(options_.pairs_room);
    }
    zelLZ77Pair* next = pairs_;
    int32_t left = capacity;
    size_t done = start;
    all_collected_ = false;
    while (!all_collected_ && left > 0) {
      const size_t given = Piece(std::min(options_.input_piece, input_.size() - done));
      const bool is_last = done + given == input_.size();
      uint8_t* source = input_.data() + done;
      int32_t source_left = static_cast<int32_t>(given);
      const zelStatus status =
          zelsEncodeLZ77_8u(&source, &source_left, &next, &left, is_last ? zelLZ77FlushFinal : options_.flush, record_);
      Require(status == (source_left > 0 ? zelWarnDstFull : zelOk), "the match search's status");
      Require(source_left == 0 || left == 0, "the match search stops with room");
      const size_t consumed = given - static_cast<size_t>(source_left);
      Require(source == input_.data() + done + consumed, "the match search's source pointer");
      done += consumed;
      all_collected_ = is_last && source_left == 0;
      if (options_.flush != zelLZ77FlushNone) break;
    }
    pairs_count_ = static_cast<int32_t>(next - pairs_);
    Require(pairs_count_ == capacity - left, "the match search's pairs count");
    Require(zelsEncodeLZ77SetPairs_8u(pairs_, pairs_count_, capacity, record_) == zelOk, "SetPairs");
    return done;
  }

  void WriteBlock(size_t start, size_t end) {
    Require(zelsEncodeLZ77SetStatus_8u(zelLZ77StatusCoding, record_) == zelOk, "SetStatus(coding)");
    zelLZ77Pair* pairs = nullptr;
    int32_t position = -1, count = -1;
    Require(zelsEncodeLZ77GetPairs_8u(&pairs, &position, &count, record_) == zelOk, "GetPairs");
    Require(pairs == pairs_ && position == 0 && count == pairs_count_, "the collected pairs");
    const zelLZ77FlushMode flush = all_collected_ ? zelLZ77FlushFinal : options_.flush;
    switch (Kind(pairs, count)) {
      case zelLZ77HuffFixed:
        Write(all_collected_, [&](uint8_t** dst, int32_t* room) {
          return zelsEncodeLZ77FixedHuff_8u(&pairs, &count, dst, room, flush, record_);
        });
        break;
      case zelLZ77HuffDynamic:
        Write(all_collected_, [&](uint8_t** dst, int32_t* room) {
          return zelsEncodeLZ77DynamicHuff_8u(&pairs, &count, dst, room, flush, record_);
        });
        break;
      default:
        // Only blocks of the last call may carry the final bit: what is more than one block goes before.
        if (all_collected_ && end - start > kStoredLimit) {
          const size_t last = start + (end - start) / kStoredLimit * kStoredLimit;
          WriteStored(start, last, zelLZ77FlushNone);
          start = last;
        }
        WriteStored(start, end, flush);
        count = 0;
        break;
    }
    Require(count == 0, "a writer left pairs");
    stream_ended_ = all_collected_;
  }

  zelLZ77HuffMode Kind(const zelLZ77Pair* pairs, int32_t count) {
    zelLZ77HuffMode mode = -1;
    switch (options_.block) {
      case BlockKind::kFixed:
        return zelLZ77HuffFixed;
      case BlockKind::kDynamic:
        return zelLZ77HuffDynamic;
      case BlockKind::kStored:
        return zelLZ77HuffStored;
      case BlockKind::kInTurn:
        return static_cast<zelLZ77HuffMode>(blocks_++ % 3);
      default:
        Require(zelsEncodeLZ77SelectHuffMode_8u(pairs, count, &mode, record_) == zelOk, "SelectHuffMode");
        return mode;
    }
  }

  void WriteStored(size_t start, size_t end, zelLZ77FlushMode flush) {
    uint8_t nothing = 0;
    uint8_t* source = input_.size() > 0 ? input_.data() + start : &nothing;
    int32_t left = static_cast<int32_t>(end - start);
    Write(flush == zelLZ77FlushFinal, [&](uint8_t** dst, int32_t* room) {
      return zelsEncodeLZ77StoredBlock_8u(&source, &left, dst, room, flush, record_);
    });
    Require(left == 0, "the stored writer left bytes");
  }

  void WriteTrailer() {
    Require(zelsEncodeLZ77SetStatus_8u(zelLZ77StatusFinal, record_) == zelOk, "SetStatus(final)");
    Write(false, [&](uint8_t** dst, int32_t* room) { return zelsEncodeLZ77Flush_8u(dst, room, record_); });
  }

  // Calls a writer until it has nothing left to write.
  template <typename Call>
  void Write(bool ends_stream, Call call) {
    int calls_without_output = 0;
    zelStatus status = zelWarnDstFull;
    while (status == zelWarnDstFull) {
      const size_t room = Piece(room_.size());
      uint8_t* const start = room_.end() - room;
      uint8_t* dst = start;
      int32_t left = static_cast<int32_t>(room);
      status = call(&dst, &left);
      Require(left >= 0 && dst == start + (room - static_cast<size_t>(left)), "a writer's destination pointer");
      Require(status != zelWarnDstFull || left == 0, "a writer asks for room that it has");
      output_.insert(output_.end(), start, dst);
      calls_without_output = dst == start && room > 0 ? calls_without_output + 1 : 0;
      Require(calls_without_output < 3, "a writer makes no progress");
    }
    Require(status == (ends_stream ? zelWarnStreamEnd : zelOk), "a writer's last status");
  }

  zelLZ77State* const record_;
  const EncodeOptions& options_;
  Random random_;
  const GuardedBuffer input_;
  const GuardedBuffer room_;
  const GuardedBuffer caller_pairs_;
  Bytes output_;
  zelLZ77Pair* pairs_ = nullptr;
  int32_t pairs_count_ = 0;
  int blocks_ = 0;
  bool all_collected_ = false;
  bool stream_ended_ = false;
};

}  // namespace

EncoderRecord::EncoderRecord(zelLZ77Level level, zelLZ77ChecksumKind checksum, Guard guard, uint8_t fill)
    : memory_(
          [] {
            int32_t size = 0;
            Require(zelsEncodeLZ77GetSize_8u(&size) == zelOk, "GetSize");
            return static_cast<size_t>(size);
          }(),
          guard) {
  memset(memory_.data(), fill, memory_.size());
  Require(zelsEncodeLZ77Init_8u(level, checksum, get()) == zelOk, "Init");
}

Bytes EncodeWith(zelLZ77State* record, const Bytes& input, const EncodeOptions& options) {
  return Driver(record, input, options).Run();
}

Bytes Encode(const Bytes& input, const EncodeOptions& options) {
  const EncoderRecord record(options.level, options.checksum, options.record_guard, options.record_fill);
  return EncodeWith(record.get(), input, options);
}

Bytes EncodeFile(const Bytes& input, EncodeOptions options) {
  options.trailer = true;
  const bool is_gzip = options.checksum == zelLZ77CheckCrc32;
  Bytes file = is_gzip ? Bytes{0x1F, 0x8B, 8, 0, 0, 0, 0, 0, 0, 255} : Bytes{0x78, 0x9C};
  const Bytes body = Encode(input, options);
  file.insert(file.end(), body.begin(), body.end());
  return file;
}

}  // namespace zeldc_test
