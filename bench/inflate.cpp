// Deflate decoding: a file that zlib compressed at level 6, by the byte path, the pair path and one-call
// decoding.

#include <libdeflate.h>

#include <memory>

#include "bench.h"
#include "zlib_streams.h"

namespace {

std::shared_ptr<zelLZ77State> MakeDecoder() {
  zelLZ77State* state = nullptr;
  Check(zelsDecodeLZ77InitAlloc_8u(0, &state), "zelsDecodeLZ77InitAlloc_8u");
  return {state, zelsLZ77Free_8u};
}

void Refill(Input& in) {
  if (!in.Refill()) Fail("the decoder wants more than the whole stream");
}

void InflateBytes(zelLZ77State* state, Input in, Output& out) {
  Check(zelsDecodeLZ77Reset_8u(state), "zelsDecodeLZ77Reset_8u");
  for (;;) {
    int32_t block = -1;
    zelStatus status = zelsDecodeLZ77GetBlockType_8u(&in.next, &in.left, &block, state);
    if (status == zelOk) {
      if (block == zelLZ77HuffDynamic) {
        status = zelsDecodeLZ77DynamicHuffFull_8u(&in.next, &in.left, &out.next, &out.room, zelLZ77FlushNone, state);
      } else if (block == zelLZ77HuffFixed) {
        status = zelsDecodeLZ77FixedHuffFull_8u(&in.next, &in.left, &out.next, &out.room, zelLZ77FlushNone, state);
      } else if (block == zelLZ77HuffStored) {
        status = zelsDecodeLZ77StoredBlock_8u(&in.next, &in.left, &out.next, &out.room, state);
      } else {
        Fail("the decoder meets a reserved block type");
      }
    }
    if (status == zelWarnSrcShort) {
      Refill(in);
    } else if (status == zelWarnDstFull) {
      out.Drain();
    } else if (status == zelWarnStreamEnd) {
      return out.Drain();
    } else {
      Check(status, "a block decoder of the byte path");
    }
  }
}

// The pair path's block decoders. One whose block type is not the next one answers zelErr and reads nothing, so the
// three are tried in turn, from the last that did not.
class PairDecoder {
 public:
  explicit PairDecoder(zelLZ77State* state) : state_(state) {}

  zelStatus Decode(Input& in, zelLZ77Pair** pairs, int32_t* room) {
    zelStatus status = zelErr;
    for (int i = 0; i < 3; ++i) {
      if (block_ == zelLZ77HuffDynamic) {
        status = zelsDecodeLZ77DynamicHuff_8u(&in.next, &in.left, pairs, room, zelLZ77FlushNone, state_);
      } else if (block_ == zelLZ77HuffFixed) {
        status = zelsDecodeLZ77FixedHuff_8u(&in.next, &in.left, pairs, room, zelLZ77FlushNone, state_);
      } else {
        status = zelsDecodeLZ77StoredHuff_8u(&in.next, &in.left, pairs, room, state_);
      }
      if (status != zelErr) break;
      block_ = (block_ + 1) % 3;
    }
    return status;
  }

 private:
  zelLZ77State* state_;
  zelLZ77HuffMode block_ = zelLZ77HuffDynamic;
};

void Expand(zelLZ77State* state, zelLZ77Pair* pairs, int32_t count, Output& out) {
  while (count > 0) {
    const zelStatus status = zelsDecodeLZ77_8u(&pairs, &count, &out.next, &out.room, zelLZ77FlushNone, state);
    if (status == zelWarnDstFull) {
      out.Drain();
    } else {
      Check(status, "zelsDecodeLZ77_8u");
    }
  }
}

// A stream's last pairs go in one call, and no later pair brings on what a full buffer cuts off from the very last. So
// the room stays below one byte a pair, which the last pair can't be reached with, until there is room for all.
void ExpandLast(zelLZ77State* state, zelLZ77Pair* pairs, int32_t count, Output& out) {
  constexpr int32_t kLongestMatch = 258;
  constexpr int32_t kFewPairs = 65536 / kLongestMatch - 1;  // one less: a cut match may come first
  while (count > 0) {
    if (count <= kFewPairs || out.room == 0) out.Drain();
    const int32_t given = count <= kFewPairs ? out.room : std::min(out.room, count - 1);
    int32_t room = given;
    const zelStatus status = zelsDecodeLZ77_8u(&pairs, &count, &out.next, &room, zelLZ77FlushNone, state);
    out.room -= given - room;
    if (status != zelWarnDstFull && status != zelWarnStreamEnd) Check(status, "zelsDecodeLZ77_8u");
  }
}

void InflatePairs(zelLZ77State* state, Input in, Output& out) {
  Check(zelsDecodeLZ77Reset_8u(state), "zelsDecodeLZ77Reset_8u");
  zelLZ77Pair* pairs = nullptr;
  int32_t position = 0, capacity = 0;
  Check(zelsDecodeLZ77GetPairs_8u(&pairs, &position, &capacity, state), "zelsDecodeLZ77GetPairs_8u");
  PairDecoder decoder(state);
  int32_t held = 0;  // pairs at the array's start that the last round has left
  for (;;) {
    zelLZ77Pair* next = pairs + held;
    int32_t room = capacity - held;
    zelStatus status = zelOk;
    while (room > 0 && status != zelWarnStreamEnd) {
      status = decoder.Decode(in, &next, &room);
      if (status == zelWarnSrcShort) {
        Refill(in);
      } else if (status != zelWarnDstFull && status != zelWarnStreamEnd) {
        Check(status, "a block decoder of the pair path");
      }
    }
    const int32_t count = capacity - room;
    if (status == zelWarnStreamEnd) {
      ExpandLast(state, pairs, count, out);
      return out.Drain();
    }
    // The last pair waits for the next round: it will bring on what a full buffer cuts off from the one before.
    Expand(state, pairs, count - 1, out);
    pairs[0] = pairs[count - 1];
    held = 1;
  }
}

void ZlibInflate(z_stream* z, Input in, Output& out) {
  inflateReset(z);
  z->avail_in = 0;
  int status = Z_OK;
  for (bool more = true; status == Z_OK;) {
    if (z->avail_in == 0) {
      if (!more) Fail("zlib wants more than the whole stream");
      z->next_in = in.next;
      z->avail_in = static_cast<uInt>(in.left);
      in.next += in.left;
      more = in.Refill();
    }
    z->next_out = out.next;
    z->avail_out = static_cast<uInt>(out.room);
    status = inflate(z, Z_NO_FLUSH);
    out.next = z->next_out;
    out.room = static_cast<int32_t>(z->avail_out);
    if (out.room == 0) out.Drain();
  }
  if (status != Z_STREAM_END) Fail("zlib's inflate answers " + std::to_string(status));
  out.Drain();
}

// The decoder is called once with a copy of its output, which must be the file, and then for the time.
template <typename Decode>
void RegisterDecoder(Sample& sample, Buffers buffers, const char* coder, Decode decode) {
  const std::string name = Name("inflate", StageName(buffers), coder, sample.name());
  Register(name, sample.data().size(), [=, &sample]() -> Task {
    const size_t size = sample.data().size();
    const Bytes& deflated = sample.deflated();
    Bytes decoded;
    Output out(buffers, size, &decoded);
    decode(Input(deflated, buffers), out);
    if (decoded != sample.data()) Fail(name + " is wrong");
    return {[=, &deflated] {
      Output timed(buffers, size);
      decode(Input(deflated, buffers), timed);
    }};
  });
}

}  // namespace

void InflateWhole(const Input& in, Output& out) {
  // One of each coder for all files: a program decodes many streams with one record.
  static const std::shared_ptr<zelLZ77State> bytes = MakeDecoder();
  InflateBytes(bytes.get(), in, out);
}

void RegisterInflate(Sample& sample) {
  static const std::shared_ptr<zelLZ77State> pairs = MakeDecoder();
  static ZlibDecoder zlib;
  static libdeflate_decompressor* const libdeflate = libdeflate_alloc_decompressor();

  for (Buffers buffers : {Buffers::kWhole, Buffers::k64KiB}) {
    RegisterDecoder(sample, buffers, "zeldc", InflateWhole);
    RegisterDecoder(sample, buffers, "zeldc-pairs", [](Input in, Output& out) { InflatePairs(pairs.get(), in, out); });
    RegisterDecoder(sample, buffers, "zeldc-one-call", InflateByBlocks);
    RegisterDecoder(sample, buffers, "zlib", [](Input in, Output& out) { ZlibInflate(zlib.stream(), in, out); });
  }
  RegisterDecoder(sample, Buffers::kWhole, "libdeflate", [](Input in, Output& out) {
    const size_t size = static_cast<size_t>(out.room);
    if (libdeflate_deflate_decompress(libdeflate, in.next, static_cast<size_t>(in.left), out.next, size, nullptr) !=
        LIBDEFLATE_SUCCESS) {
      Fail("libdeflate cannot decode the stream");
    }
    out.next += size;
    out.room = 0;
    out.Drain();
  });
}
