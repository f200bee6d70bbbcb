// Any pairs and any order of calls: the encoder's and the decoder's functions stay within their buffers and answer what
// their contracts allow, and the expansion makes of pairs what its plain definition makes of them.

#include <string.h>

#include <algorithm>
#include <initializer_list>
#include <vector>

#include "fuzz_support.h"
#include "support/encode.h"

using namespace zeldc_fuzz;
using zeldc_test::DecoderRecord;
using zeldc_test::EncoderRecord;
using zeldc_test::GuardedBuffer;

namespace {

using Pairs = std::vector<zelLZ77Pair>;

// Pairs of two words each; of most, the words are folded into the range of valid ones.
Pairs ReadPairs(Input& input) {
  const uint8_t kind = input.Byte();
  const size_t count = input.Byte() % (kind % 2 ? 200u : 20u);
  Pairs pairs;
  for (size_t i = 0; i < count; ++i) {
    zelLZ77Pair pair = {input.Word(), input.Word()};
    if (kind < 200) {
      if (pair.distance % 3 == 0) {
        pair = {static_cast<uint16_t>(pair.length % 256), 0};
      } else {
        pair.length = static_cast<uint16_t>(3 + pair.length % 256);
        pair.distance = static_cast<uint16_t>(kind < 100 ? 1 + pair.distance % 40 : 1 + pair.distance % 32768);
      }
    }
    pairs.push_back(pair);
  }
  return pairs;
}

void CheckOneOf(zelStatus status, std::initializer_list<zelStatus> allowed, const char* what) {
  Check(std::find(allowed.begin(), allowed.end(), status) != allowed.end(), what);
}

// A caller's in/out pointer and count over memory that ends at a guard page.
template <typename T>
class Cursor {
 public:
  explicit Cursor(size_t count)
      : memory_(count * sizeof(T)), start_(reinterpret_cast<T*>(memory_.data())), next(start_), left(Int(count)) {}
  explicit Cursor(const std::vector<T>& content) : Cursor(content.size()) {
    std::copy(content.begin(), content.end(), start_);
    memory_.MakeReadOnly();
  }

  size_t Used() const { return static_cast<size_t>(next - start_); }
  // The count goes down as the pointer goes up.
  void CheckMoved() const {
    Check(left >= 0 && next >= start_, "a cursor moves back");
    Check((Used() + static_cast<size_t>(left)) * sizeof(T) == memory_.size(), "a pointer and its count disagree");
  }
  const T* start() const { return start_; }

 private:
  static int32_t Int(size_t count) { return static_cast<int32_t>(count); }
  GuardedBuffer memory_;
  T* start_;

 public:
  T* next;
  int32_t left;
};

// The expansion's plain definition.
class Model {
 public:
  zelStatus Expand(const Pairs& pairs, size_t room, size_t* used, Bytes* out) {
    *used = 0;
    out->clear();
    if (pairs.empty()) return zelOk;
    if (room == 0) return zelWarnDstFull;
    zelStatus status = zelOk;
    // A match that waits has been checked, but the history may have moved on only by its own bytes.
    if (!Copy(room, out)) status = zelWarnDstFull;
    while (status == zelOk && *used < pairs.size()) {
      if (out->size() == room) {
        status = zelWarnDstFull;
        break;
      }
      const zelLZ77Pair& pair = pairs[*used];
      if (pair.distance == 0) {
        out->push_back(static_cast<uint8_t>(pair.length));
      } else if (pair.distance > history_.size() + out->size()) {
        status = zelErrBadData;
        break;
      } else {
        pending_length_ = pair.length;
        pending_distance_ = pair.distance;
        if (!Copy(room, out)) status = zelWarnDstFull;
      }
      ++*used;
    }
    history_.insert(history_.end(), out->begin(), out->end());
    if (history_.size() > 32768) history_.erase(history_.begin(), history_.end() - 32768);
    return status;
  }

  bool IsWithin(const Pairs& pairs) const {
    return std::all_of(pairs.begin(), pairs.end(), [](const zelLZ77Pair& pair) { return pair.distance <= 32768; });
  }

 private:
  // Answers whether the whole of the match had room.
  bool Copy(size_t room, Bytes* out) {
    for (; pending_length_ > 0 && out->size() < room; --pending_length_) {
      const size_t back = pending_distance_;
      out->push_back(back <= out->size() ? (*out)[out->size() - back]
                                         : history_.at(history_.size() + out->size() - back));
    }
    return pending_length_ == 0;
  }

  Bytes history_;
  size_t pending_length_ = 0;
  size_t pending_distance_ = 0;
};

// An encoder, a decoder, and a decoder that only expands, with the model beside it.
class Machine {
 public:
  explicit Machine(Input& input) : input_(input), encoder_(input.Byte(), input.Byte() % 4) {}

  void Run() {
    for (int calls = 0; calls < 200 && !input_.IsEmpty(); ++calls) Call(input_.Byte());
  }

 private:
  size_t Room() { return input_.Byte() % 4 == 0 ? input_.Word() : input_.Byte() % 64; }
  zelLZ77FlushMode Flush() { return static_cast<int8_t>(input_.Byte() % 6) - 1; }

  void Call(uint8_t what) {
    switch (what % 16) {
      case 0:
        Check(zelsEncodeLZ77SetStatus_8u(input_.Byte() % 5, encoder_.get()) == zelOk, "SetStatus");
        break;
      case 1:
        SelectMode();
        break;
      case 2:
      case 3:
        WriteHuffmanBlock(what % 2);
        break;
      case 4:
        WriteStoredBlock();
        break;
      case 5:
        WriteTrailer();
        break;
      case 6:
        Search();
        break;
      case 7:
        Check(zelsEncodeLZ77Reset_8u(encoder_.get()) == zelOk, "Reset");
        break;
      case 8: {
        const Cursor<uint8_t> dictionary(Dictionary(input_.Byte()));
        CheckOneOf(zelsEncodeLZ77SetDictionary_8u(dictionary.next, dictionary.left, encoder_.get()), {zelOk, zelErr},
                   "SetDictionary's status");
        break;
      }
      case 9:
      case 10:
        ExpandBesideModel();
        break;
      case 11:
        ExpandAnything();
        break;
      default:
        Decode(what / 16);
        break;
    }
  }

  void SelectMode() {
    const Cursor<zelLZ77Pair> pairs(ReadPairs(input_));
    zelLZ77HuffMode mode = -1;
    const zelStatus status = zelsEncodeLZ77SelectHuffMode_8u(pairs.next, pairs.left, &mode, encoder_.get());
    CheckOneOf(status, {zelOk, zelErrSize}, "SelectHuffMode's status");
    Check((status == zelOk) == (mode >= zelLZ77HuffFixed && mode <= zelLZ77HuffStored), "SelectHuffMode's answer");
  }

  void WriteHuffmanBlock(bool fixed) {
    Cursor<zelLZ77Pair> pairs(ReadPairs(input_));
    Cursor<uint8_t> output(Room());
    const zelStatus status = (fixed ? zelsEncodeLZ77FixedHuff_8u : zelsEncodeLZ77DynamicHuff_8u)(
        &pairs.next, &pairs.left, &output.next, &output.left, Flush(), encoder_.get());
    CheckOneOf(status, {zelOk, zelWarnDstFull, zelWarnStreamEnd, zelErrSize, zelErr}, "a Huffman writer's status");
    pairs.CheckMoved();
    output.CheckMoved();
    Check(status != zelWarnDstFull || output.left == 0, "a Huffman writer asks for room that it has");
    Check((status != zelOk && status != zelWarnStreamEnd) || pairs.left == 0, "a Huffman writer leaves pairs");
  }

  void WriteStoredBlock() {
    Cursor<uint8_t> source(input_.Take(input_.Byte()));
    Cursor<uint8_t> output(Room());
    const zelStatus status =
        zelsEncodeLZ77StoredBlock_8u(&source.next, &source.left, &output.next, &output.left, Flush(), encoder_.get());
    CheckOneOf(status, {zelOk, zelWarnDstFull, zelWarnStreamEnd}, "the stored writer's status");
    source.CheckMoved();
    output.CheckMoved();
    // A call that goes on with less input than its block was begun with may end without filling the room.
    Check(status != zelWarnDstFull || output.left == 0 || source.left == 0,
          "the stored writer asks for room that it has");
  }

  void WriteTrailer() {
    Cursor<uint8_t> output(input_.Byte() % 12);
    const zelStatus status = zelsEncodeLZ77Flush_8u(&output.next, &output.left, encoder_.get());
    CheckOneOf(status, {zelOk, zelErr, zelWarnDstFull}, "Flush's status");
    output.CheckMoved();
    Check(output.Used() <= 8, "a trailer has at most 8 bytes");
  }

  void Search() {
    const size_t repeats = 1 + input_.Byte() % 40;
    const Bytes once = input_.Take(input_.Byte());
    Bytes data;
    for (size_t i = 0; i < repeats; ++i) data.insert(data.end(), once.begin(), once.end());
    Cursor<uint8_t> source(data);
    Cursor<zelLZ77Pair> pairs(Room());
    const zelStatus status =
        zelsEncodeLZ77_8u(&source.next, &source.left, &pairs.next, &pairs.left, Flush(), encoder_.get());
    CheckOneOf(status, {zelOk, zelWarnDstFull}, "the match search's status");
    source.CheckMoved();
    pairs.CheckMoved();
    // Each call's pairs stand for the bytes that it consumed.
    size_t stands_for = 0;
    for (size_t i = 0; i < pairs.Used(); ++i) {
      const zelLZ77Pair& pair = pairs.start()[i];
      const bool is_literal = pair.distance == 0;
      Check(is_literal ? pair.length < 256 : pair.length >= 3 && pair.length <= 258 && pair.distance < 32768,
            "the match search makes a bad pair");
      stands_for += is_literal ? 1 : pair.length;
    }
    Check(stands_for == source.Used(), "the match search's pairs stand for other bytes");
  }

  void ExpandBesideModel() {
    const Pairs given = ReadPairs(input_);
    if (!model_.IsWithin(given)) return;
    Cursor<zelLZ77Pair> pairs(given);
    Cursor<uint8_t> output(Room());
    const size_t room = static_cast<size_t>(output.left);
    const zelStatus status =
        zelsDecodeLZ77_8u(&pairs.next, &pairs.left, &output.next, &output.left, Flush(), expander_.get());
    pairs.CheckMoved();
    output.CheckMoved();
    size_t used = 0;
    Bytes expected;
    Check(status == model_.Expand(given, room, &used, &expected), "the expansion's status");
    Check(pairs.Used() == used, "the expansion's use of pairs");
    Check(Bytes(output.start(), output.start() + output.Used()) == expected, "the expansion's bytes");
  }

  void ExpandAnything() {
    Cursor<zelLZ77Pair> pairs(ReadPairs(input_));
    Cursor<uint8_t> output(Room());
    const zelStatus status =
        zelsDecodeLZ77_8u(&pairs.next, &pairs.left, &output.next, &output.left, Flush(), decoder_.get());
    CheckOneOf(status, {zelOk, zelWarnDstFull, zelWarnStreamEnd, zelErrBadData}, "the expansion's status");
    pairs.CheckMoved();
    output.CheckMoved();
  }

  void Decode(int what) {
    Cursor<uint8_t> source(input_.Take(input_.Byte()));
    const uint8_t* next = source.next;
    Cursor<uint8_t> output(Room());
    Cursor<zelLZ77Pair> pairs(static_cast<size_t>(output.left));
    int32_t type = 0;
    zelLZ77State* const record = decoder_.get();
    zelStatus status = zelOk;
    switch (what % 12) {
      case 0:
        status = zelsDecodeLZ77GetBlockType_8u(&next, &source.left, &type, record);
        break;
      case 1:
      case 2:
        status = zelsDecodeLZ77StoredBlock_8u(&next, &source.left, &output.next, &output.left, record);
        break;
      case 3:
        status = zelsDecodeLZ77StoredHuff_8u(&next, &source.left, &pairs.next, &pairs.left, record);
        break;
      case 4:
        status = zelsDecodeLZ77FixedHuff_8u(&next, &source.left, &pairs.next, &pairs.left, Flush(), record);
        break;
      case 5:
      case 6:
        status = zelsDecodeLZ77DynamicHuff_8u(&next, &source.left, &pairs.next, &pairs.left, Flush(), record);
        break;
      case 7:
        status = zelsDecodeLZ77FixedHuffFull_8u(&next, &source.left, &output.next, &output.left, Flush(), record);
        break;
      case 8:
      case 9:
        status = zelsDecodeLZ77DynamicHuffFull_8u(&next, &source.left, &output.next, &output.left, Flush(), record);
        break;
      case 10:
        Check(zelsDecodeLZ77Reset_8u(record) == zelOk, "Reset");
        break;
      default: {
        const Cursor<uint8_t> dictionary(Dictionary(static_cast<uint8_t>(input_.Byte() | 1)));
        Check(zelsDecodeLZ77SetDictionary_8u(dictionary.next, dictionary.left, record) == zelOk, "SetDictionary");
        const DecoderRecord copy;
        Check(zelsDecodeLZ77CopyState_8u(record, copy.get()) == zelOk, "CopyState");
        Check(zelsDecodeLZ77CopyState_8u(copy.get(), record) == zelOk, "CopyState");
        break;
      }
    }
    source.next += next - source.next;
    CheckOneOf(status, {zelOk, zelErr, zelErrSize, zelWarnSrcShort, zelWarnDstFull, zelWarnStreamEnd},
               "a decoder's status");
    source.CheckMoved();
    output.CheckMoved();
    pairs.CheckMoved();
  }

  Input& input_;
  const EncoderRecord encoder_;
  const DecoderRecord decoder_, expander_;
  Model model_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  Machine(input).Run();
  return 0;
}
