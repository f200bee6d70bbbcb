#include "inflate/one_call.h"

#include <algorithm>
#include <stdexcept>
#include <tuple>

#include "inflate/block_model.h"
#include "support/guarded_buffer.h"

namespace zeldc_test {

namespace {

constexpr size_t kWindow = 32768;
constexpr size_t kMostBefore = 40000;
constexpr size_t kMostRoom = 65536;

// A buffer of any size that ends, or starts, at a guard page.
struct Place {
  uint8_t* data;
  uint8_t* end;
};

class Places {
 public:
  Places(size_t largest, Guard guard) : memory_(largest, guard), guard_(guard) {}

  // The next buffer, in the place of the last one: `filled` bytes of content, and others up to `size`.
  Place Put(const uint8_t* content, size_t filled, size_t size) {
    uint8_t* const data = guard_ == Guard::kBehind ? memory_.end() - size : memory_.data();
    std::copy(content, content + filled, data);
    return {data, data + size};
  }

 private:
  GuardedBuffer memory_;
  Guard guard_;
};

void Require(bool holds, const char* what) {
  if (!holds) throw std::runtime_error(what);
}

// The caller's part ends the decoding.
struct Ended {
  zelStatus status;
};

class Decoder {
 public:
  Decoder(const Bytes& stream, const OneCallOptions& options)
      : stream_(stream), options_(options), random_(options.seed), record_(RandomRecord(random_)) {
    history_ = options.dictionary;
    result_.suspends.resize(7);
  }

  OneCallResult Run() {
    try {
      for (bool last = false; !last;) {
        last = Take(1) == 1;
        switch (Take(2)) {
          case 0:
            Stored();
            break;
          case 1:
            record_.tableForm = zelInflateFixed;
            Body(BlockModel());
            break;
          case 2:
            Dynamic();
            break;
          default:
            throw Ended{zelErrBadData};
        }
      }
    } catch (const Ended& ended) {
      result_.status = ended.status;
    }
    result_.data.assign(history_.begin() + static_cast<ptrdiff_t>(options_.dictionary.size()), history_.end());
    result_.consumed = (position_ + 7) / 8;
    return result_;
  }

 private:
  unsigned Take(size_t count) {
    if (position_ + count > 8 * stream_.size()) throw Ended{zelWarnSrcShort};
    unsigned value = 0;
    for (size_t i = 0; i < count; ++i, ++position_) {
      value |= (stream_[position_ / 8] >> (position_ % 8) & 1u) << i;
    }
    return value;
  }

  void CheckSize() {
    if (history_.size() - options_.dictionary.size() >= options_.max_output) throw Ended{zelWarnDstFull};
  }

  void Stored() {
    position_ = (position_ + 7) / 8 * 8;
    const unsigned length = Take(16);
    if (Take(16) != (length ^ 0xFFFF)) throw Ended{zelErrBadData};
    for (unsigned i = 0; i < length; ++i) history_.push_back(static_cast<uint8_t>(Take(8)));
    CheckSize();
  }

  void Dynamic() {
    static constexpr size_t kOrder[19] = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
    const size_t lit_lens = Take(5) + 257;
    const size_t distances = Take(5) + 1;
    const size_t code_lengths = Take(4) + 4;
    int lengths[19] = {};
    for (size_t i = 0; i < code_lengths; ++i) lengths[kOrder[i]] = static_cast<int>(Take(3));
    std::vector<uint16_t> all;
    while (all.size() < lit_lens + distances) {
      const int symbol = CodeLength(lengths);
      size_t run = 1;
      uint16_t value = 0;
      if (symbol < 16) {
        value = static_cast<uint16_t>(symbol);
      } else if (symbol == 16) {
        if (all.empty()) throw Ended{zelErrBadData};
        value = all.back();
        run = 3 + Take(2);
      } else {
        run = symbol == 17 ? 3 + Take(3) : 11 + Take(7);
      }
      if (all.size() + run > lit_lens + distances) throw Ended{zelErrBadData};
      all.insert(all.end(), run, value);
    }
    const zelStatus status = zelsInflateBuildHuffTable(all.data(), static_cast<uint32_t>(lit_lens),
                                                       static_cast<uint32_t>(distances), &record_);
    if (status == zelErrSize) Require(lit_lens > 286 || distances > 30, "codes that are not too many are refused");
    if (status == zelErrBadData) {
      const auto first = all.begin() + static_cast<std::ptrdiff_t>(lit_lens);
      result_.lacks_distances = static_cast<size_t>(std::count(first, all.end(), 0)) == distances;
    }
    if (status != zelOk) throw Ended{status == zelErrSize ? zelErrBadData : status};
    Body(BlockModel(all, lit_lens));
  }

  // A symbol of the code-length code.
  int CodeLength(const int (&lengths)[19]) {
    int code = 0, first = 0;
    for (int length = 1; length <= 7; ++length) {
      code = code << 1 | static_cast<int>(Take(1));
      first <<= 1;
      for (int symbol = 0; symbol < 19; ++symbol) {
        if (lengths[symbol] != length) continue;
        if (code == first++) return symbol;
      }
    }
    throw Ended{zelErrBadData};
  }

  size_t Piece(size_t limit, size_t available) {
    const size_t most = std::min(limit, available);
    return options_.random ? Uniform(random_, 0, most) : most;
  }

  // Calls the library until the block ends.
  void Body(BlockModel model) {
    result_.forms.push_back(record_.tableForm);
    static constexpr int32_t kStarts[] = {zelInflateBlockEnd, zelInflateBetween, 77, -1};
    int32_t mode = kStarts[random_() % 4];
    do {
      mode = Call(&model, mode);
      CheckSize();
    } while (mode != zelInflateBlockEnd);
  }

  int32_t Call(BlockModel* model, int32_t mode) {
    // The bits that the last call has kept, or up to a byte, and whole bytes.
    size_t from = std::max((position_ + 7) / 8, taken_);
    size_t held = 8 * from - position_;
    const size_t bytes = Uniform(random_, 0, std::min(options_.held_bytes, stream_.size() - from));
    for (size_t i = 0; i < bytes && held + 8 <= 32; ++i, ++from) held += 8;
    uint32_t bits = random_() % 2 ? ~uint32_t{0} : 0;  // above the count
    for (size_t i = 0; i < held; ++i) {
      const uint32_t bit = stream_[(position_ + i) / 8] >> ((position_ + i) % 8) & 1u;
      bits = (bits & ~(uint32_t{1} << i)) | bit << i;
    }
    const size_t piece = Piece(options_.source_piece, stream_.size() - from);
    const size_t room = Piece(options_.room, kMostRoom);

    size_t before = history_.size();
    if (options_.history == History::kWindow) before = 0;
    if (options_.history == History::kMixed) {
      before = random_() % 2 ? Uniform(random_, 0, before) : Uniform(random_, 0, std::min<size_t>(before, 300));
    }
    before = std::min(before, kMostBefore);
    const size_t fill = options_.history == History::kOutput ? 0 : std::min(history_.size() - before, kWindow);

    const uint8_t* const end = history_.data() + history_.size();
    const Place source = source_.Put(stream_.data() + from, piece, piece);
    const Place window = window_[random_() % 2].Put(end - (before + fill), fill, fill);
    const Place out = out_[random_() % 4 == 0].Put(end - before, before, before + room);
    record_.window = fill > 0 ? window.data : nullptr;
    record_.windowSize = static_cast<uint32_t>(fill + random_() % 2);

    const uint8_t* src = source.data;
    uint8_t* dst = out.data + before;
    uint32_t src_left = static_cast<uint32_t>(piece), room_left = static_cast<uint32_t>(room);
    uint32_t bit_count = static_cast<uint32_t>(held);
    const uint32_t given_bits = bit_count;
    const zelStatus status = zelsInflate_8u(&src, &src_left, &bits, &bit_count, static_cast<uint32_t>(fill), &dst,
                                            &room_left, static_cast<uint32_t>(before), &mode, &record_);
    ++result_.calls;

    // What the plain decoder makes of the same.
    size_t position = position_;
    const size_t written_before = history_.size();
    const BlockModel::Stop stop = model->Run(stream_, &position, 8 * (from + piece), room, before + fill, &history_);
    Require(status == (stop.bad ? zelErrBadData : zelOk), "the status differs");
    Require(src + src_left == source.end, "the source's pointer and count do not agree");
    Require(dst + room_left == out.end, "the output's pointer and room do not agree");
    const size_t written = history_.size() - written_before;
    Require(dst == out.data + before + written, "the amount of output differs");
    Require(std::equal(out.data + before, dst, history_.data() + written_before), "the output differs");
    Require(std::equal(out.data, out.data + before, history_.data() + (written_before - before)),
            "output of earlier calls was changed");
    taken_ = from + static_cast<size_t>(src - source.data);
    Require(bit_count <= 32 && 8 * taken_ - bit_count == position, "the position in the stream differs");
    for (uint32_t i = 0; i < 32; ++i) {
      const uint32_t bit = i < bit_count ? stream_[(position + i) / 8] >> ((position + i) % 8) & 1u : 0u;
      Require((bits >> i & 1u) == bit, "the bit buffer differs");
    }
    position_ = position;
    if (stop.bad) throw Ended{zelErrBadData};
    Require(mode == stop.mode, "the mode differs");
    const uint32_t state = mode == zelInflateInside ? record_.resumeState : 1;
    if (mode != zelInflateBlockEnd) {
      Require(state >= 1 && state <= 6, "the resume state is none");
      ++result_.suspends[state];
      if (state < 5) {
        Require(src_left == 0 && bit_count <= 14, "input is left that is lacking");
        if (taken_ == stream_.size()) throw Ended{zelWarnSrcShort};
      } else {
        Require(room_left == 0, "room is left that is lacking");
      }
    }
    if (mode == zelInflateBlockEnd || state >= 5) {
      Require(bit_count < 8 || src == source.data, "whole bytes are kept");
      Require(bit_count < 8 || bit_count <= given_bits, "more bits are kept than were there");
    }
    return mode;
  }

  const Bytes& stream_;
  const OneCallOptions& options_;
  Random random_;
  zelInflateState record_;
  OneCallResult result_;
  size_t position_ = 0;  // in bits
  size_t taken_ = 0;     // bytes that the last call has taken in all
  Places source_{stream_.size(), Guard::kBehind};
  Places window_[2] = {{kWindow, Guard::kBehind}, {kWindow, Guard::kBefore}};
  Places out_[2] = {{kMostBefore + kMostRoom, Guard::kBehind}, {kMostBefore + kMostRoom, Guard::kBefore}};
  Bytes history_;  // dictionary and output
};

}  // namespace

zelInflateState RandomRecord(Random& random) {
  zelInflateState record;
  uint8_t* const bytes = reinterpret_cast<uint8_t*>(&record);
  for (size_t i = 0; i < sizeof(record); ++i) bytes[i] = static_cast<uint8_t>(random());
  record.window = nullptr;
  record.windowSize = 0;
  return record;
}

OneCallResult DecodeOneCall(const Bytes& stream, const OneCallOptions& options) {
  return Decoder(stream, options).Run();
}

std::vector<OneCallOptions> OneCallSplits(uint64_t seed) {
  std::vector<OneCallOptions> splits;
  for (const History history : {History::kOutput, History::kWindow, History::kMixed}) {
    for (const auto& [source, room, random, held] :
         {std::tuple<size_t, size_t, bool, size_t>{SIZE_MAX, SIZE_MAX, false, 0},
          {SIZE_MAX, SIZE_MAX, false, 4},
          {1, SIZE_MAX, false, 0},
          {SIZE_MAX, 1, false, 0},
          {1, 1, false, 0},
          {7, 300, false, 2},
          {SIZE_MAX, 1, true, 4},
          {3, 9, true, 3},
          {900, 3000, true, 4}}) {
      OneCallOptions options;
      options.source_piece = source;
      options.room = room;
      options.random = random;
      options.held_bytes = held;
      options.history = history;
      options.seed = seed + splits.size();
      splits.push_back(options);
    }
  }
  return splits;
}

}  // namespace zeldc_test
