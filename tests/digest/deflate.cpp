// The stateful Deflate encoder: every level, checksum, flush mode and kind of block, with dictionaries and splits.

#include "zeldc/deflate.h"

#include "families.h"

namespace zeldc_digest {

namespace {

constexpr size_t kStoredLimit = 65535;

// What one stream is made with. The combinations are drawn, so that any two choices meet.
struct Choices {
  explicit Choices(uint32_t number) : numbers(number) {
    checksum = static_cast<zelLZ77ChecksumKind>(numbers.Below(4));
    flush = static_cast<zelLZ77FlushMode>(numbers.Below(3));
    block = static_cast<int32_t>(numbers.Below(5));
    source_split = numbers.Below(4) == 0 ? 0 : numbers.Below(1000);
    room_split = numbers.Below(2) == 0 ? 0 : numbers.Below(1000);
    pairs_room = numbers.Below(3) == 0 ? 1 + numbers.Below(20000) : 0;
    dictionary_size = numbers.Below(3) == 0 ? numbers.Below(40000) : 0;
  }

  Numbers numbers;
  zelLZ77ChecksumKind checksum;
  zelLZ77FlushMode flush;
  int32_t block;  // a zelLZ77HuffMode, 3 for the choice of SelectHuffMode, 4 for each kind in turn
  uint32_t source_split;
  uint32_t room_split;
  uint32_t pairs_room;  // 0 for the record's own array
  uint32_t dictionary_size;
};

class Stream {
 public:
  Stream(Run& run, const Data& data, const Choices& choices, zelLZ77State* state)
      : run_(run),
        choices_(choices),
        state_(state),
        source_(run.conditions, data),
        caller_pairs_(run.conditions, choices.pairs_room),
        source_split_(choices.source_split),
        room_split_(choices.room_split) {}

  void Write() {
    if (choices_.dictionary_size > 0) {
      const Memory<uint8_t> dictionary(run_.conditions, Make(Kind::kText, choices_.dictionary_size, 4));
      run_.Status(zelsEncodeLZ77SetDictionary_8u(dictionary.data(), static_cast<int32_t>(dictionary.size()), state_));
    }
    size_t done = 0;
    do {
      const size_t start = done;
      done = CollectPairs(start);
      WriteBlock(start, done);
    } while (!is_last_);
    run_.Status(zelsEncodeLZ77SetStatus_8u(zelLZ77StatusFinal, state_));
    WriteOut(16, [&](uint8_t** output, int32_t* room) { return zelsEncodeLZ77Flush_8u(output, room, state_); });
    zelLZ77DeflateStatus status = -1;
    run_.Status(zelsEncodeLZ77GetStatus_8u(&status, state_));
    run_.digest.Int(status);
  }

 private:
  // Fills the pairs array from the source's byte `start` on; returns where the bytes end that the pairs stand for.
  size_t CollectPairs(size_t start) {
    run_.Status(zelsEncodeLZ77SetStatus_8u(zelLZ77StatusMatching, state_));
    int32_t position = -1, capacity = -1;
    run_.Status(zelsEncodeLZ77GetPairs_8u(&pairs_, &position, &capacity, state_));
    run_.digest.Int(position);
    run_.digest.Int(capacity);
    if (choices_.pairs_room > 0) {
      pairs_ = caller_pairs_.data();
      capacity = static_cast<int32_t>(choices_.pairs_room);
    }
    zelLZ77Pair* next = pairs_;
    int32_t pairs_left = capacity;
    size_t done = start;
    is_last_ = false;
    while (!is_last_ && pairs_left > 0) {
      const size_t piece = source_split_.Next(source_.size() - done);
      const bool ends = done + piece == source_.size();
      uint8_t* from = source_.data() + done;
      int32_t left = static_cast<int32_t>(piece);
      run_.Status(
          zelsEncodeLZ77_8u(&from, &left, &next, &pairs_left, ends ? zelLZ77FlushFinal : choices_.flush, state_));
      run_.digest.Int(left);
      done += piece - static_cast<size_t>(left);
      is_last_ = ends && left == 0;
      if (choices_.flush != zelLZ77FlushNone) break;
    }
    pairs_count_ = capacity - pairs_left;
    run_.digest.Number(static_cast<uint64_t>(next - pairs_));
    for (const zelLZ77Pair* pair = pairs_; pair < next; ++pair) {
      run_.digest.Short(pair->length);
      run_.digest.Short(pair->distance);
    }
    run_.Status(zelsEncodeLZ77SetPairs_8u(pairs_, pairs_count_, capacity, state_));
    return done;
  }

  void WriteBlock(size_t start, size_t end) {
    run_.Status(zelsEncodeLZ77SetStatus_8u(zelLZ77StatusCoding, state_));
    zelLZ77Pair* pairs = pairs_;
    int32_t left = pairs_count_;
    const zelLZ77FlushMode flush = is_last_ ? zelLZ77FlushFinal : choices_.flush;
    zelLZ77HuffMode mode = choices_.block == 4 ? static_cast<zelLZ77HuffMode>(blocks_++ % 3) : choices_.block;
    if (choices_.block == 3) {
      run_.Status(zelsEncodeLZ77SelectHuffMode_8u(pairs, left, &mode, state_));
      run_.digest.Int(mode);
    }
    if (mode == zelLZ77HuffStored) return WriteStored(start, end, flush);
    const auto writer = mode == zelLZ77HuffFixed ? zelsEncodeLZ77FixedHuff_8u : zelsEncodeLZ77DynamicHuff_8u;
    WriteOut(6 * static_cast<size_t>(left) + 400, [&](uint8_t** output, int32_t* room) {
      const zelStatus status = writer(&pairs, &left, output, room, flush, state_);
      run_.digest.Int(left);
      return status;
    });
  }

  // A call with the final mode gets no more bytes than one block may have.
  void WriteStored(size_t start, size_t end, zelLZ77FlushMode flush) {
    if (flush == zelLZ77FlushFinal && end - start > kStoredLimit) {
      const size_t last = start + (end - start) / kStoredLimit * kStoredLimit;
      WriteStored(start, last, zelLZ77FlushNone);
      start = last;
    }
    uint8_t* from = source_.data() + start;
    int32_t left = static_cast<int32_t>(end - start);
    WriteOut(end - start + 400, [&](uint8_t** output, int32_t* room) {
      const zelStatus status = zelsEncodeLZ77StoredBlock_8u(&from, &left, output, room, flush, state_);
      run_.digest.Int(left);
      return status;
    });
  }

  // Calls a writer until it has nothing left to write.
  template <typename Call>
  void WriteOut(size_t most, Call call) {
    zelStatus status = zelOk;
    do {
      const Memory<uint8_t> room(run_.conditions, room_split_.Next(most));
      uint8_t* output = room.data();
      int32_t room_left = static_cast<int32_t>(room.size());
      status = run_.Status(call(&output, &room_left));
      run_.digest.Bytes(room.data(), static_cast<size_t>(output - room.data()));
    } while (status == zelWarnDstFull);
  }

  Run& run_;
  const Choices& choices_;
  zelLZ77State* const state_;
  const Memory<uint8_t> source_;
  const Memory<zelLZ77Pair> caller_pairs_;
  Split source_split_;
  Split room_split_;
  zelLZ77Pair* pairs_ = nullptr;
  int32_t pairs_count_ = 0;
  uint32_t blocks_ = 0;
  bool is_last_ = false;
};

}  // namespace

void DigestDeflate(Run& run) {
  int32_t size = 0;
  run.Status(zelsEncodeLZ77GetSize_8u(&size));
  run.digest.Int(size);
  const Record<zelLZ77State> record(run.conditions, size);
  uint32_t number = 0;
  for (const Data* data : AllInputs()) {
    // 3 is no level: it acts as the normal one.
    for (zelLZ77Level level = zelLZ77LevelFast; level <= 3; ++level) {
      const Choices choices(++number);
      if (level == 3 && number % 3 != 0) continue;
      if (number % 5 == 0) {
        zelLZ77State* allocated = nullptr;
        run.Status(zelsEncodeLZ77InitAlloc_8u(level, choices.checksum, &allocated));
        Stream(run, *data, choices, allocated).Write();
        run.Status(zelsLZ77Free_8u(allocated));
        continue;
      }
      run.Status(zelsEncodeLZ77Init_8u(level, choices.checksum, record.get()));
      Stream(run, *data, choices, record.get()).Write();
      if (number % 3 != 0) continue;
      // A second stream in the same record.
      run.Status(zelsEncodeLZ77Reset_8u(record.get()));
      run.Status(zelsEncodeLZ77SetStatus_8u(zelLZ77StatusInit, record.get()));
      Stream(run, *data, Choices(number + 100000), record.get()).Write();
    }
  }
}

}  // namespace zeldc_digest
