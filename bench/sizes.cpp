// How the cost of coding a buffer at once depends on its size, from 64 bytes to 16 MiB. What a call costs besides its
// bytes shows at the small end, caches and their misses at the large one.
//
// A benchmark goes round through pieces of one size from all over the files, so that no coder learns a piece by heart.

#include <divsufsort.h>
#include <libdeflate.h>
#include <lzo/lzo1x.h>

#include <array>

#include "deflate.h"
#include "zlib_streams.h"

namespace {

constexpr size_t kMostPieces = 64;
constexpr size_t kMemory = size_t{2} << 20;  // of all the pieces of a benchmark, unless one alone is larger

using Pieces = std::vector<Bytes>;
using SharedPieces = std::shared_ptr<const Pieces>;

// The pieces of this size, evenly spread; none if all files are shorter together.
Pieces Cut(const std::vector<std::unique_ptr<Sample>>& samples, size_t size) {
  static Bytes all;
  if (all.empty()) {
    for (const auto& sample : samples) all.insert(all.end(), sample->data().begin(), sample->data().end());
  }
  Pieces pieces;
  if (all.size() < size) return pieces;
  const size_t count = std::clamp(kMemory / size, size_t{1}, kMostPieces);
  for (size_t i = 0; i < count; ++i) {
    const size_t at = count == 1 ? 0 : (all.size() - size) / (count - 1) * i;
    pieces.emplace_back(all.begin() + static_cast<ptrdiff_t>(at), all.begin() + static_cast<ptrdiff_t>(at + size));
  }
  return pieces;
}

// Room for whatever a coder makes of a piece.
size_t Room(size_t size) { return size + size / 8 + 4096; }

// A way to code: `encode` writes to a buffer with Room() bytes and tells how many, `decode` restores the piece.
struct Coder {
  std::function<size_t(const Bytes& piece, uint8_t* out)> encode;
  std::function<void(const Bytes& coded, Bytes& piece)> decode;
};

Pieces EncodeAll(const Pieces& pieces, const Coder& coder) {
  Pieces coded;
  for (const Bytes& piece : pieces) {
    Bytes out(Room(piece.size()));
    out.resize(coder.encode(piece, out.data()));
    coded.push_back(out);
  }
  return coded;
}

void Verify(const Pieces& pieces, const Pieces& coded, const Coder& coder, const std::string& name) {
  for (size_t i = 0; i < pieces.size(); ++i) {
    Bytes back(pieces[i].size());
    coder.decode(coded[i], back);
    if (back != pieces[i]) Fail(name + " is wrong");
  }
}

void RegisterEncoding(const std::string& stage, const std::string& name, const SharedPieces& pieces, const Coder& coder,
                      const Coder& decoder) {
  const size_t size = pieces->front().size();
  const std::string full = Name("sizes", stage, name, size);
  Register(full, size, [=]() -> Task {
    const Pieces coded = EncodeAll(*pieces, coder);
    Verify(*pieces, coded, decoder, full);
    // Of coders that compress; a transform does not.
    size_t total = 0;
    for (const Bytes& one : coded) total += stage == "transform" ? 0 : one.size();
    return {[=, out = Bytes(Room(size)), next = size_t{0}]() mutable {
              coder.encode((*pieces)[next], out.data());
              next = next + 1 == pieces->size() ? 0 : next + 1;
            },
            total / coded.size(), 0};
  });
}

// All decoders of a stage get the streams of one encoder.
void RegisterDecoding(const std::string& stage, const std::string& name, const SharedPieces& pieces,
                      const Coder& encoder, const Coder& coder) {
  const size_t size = pieces->front().size();
  const std::string full = Name("sizes", stage, name, size);
  Register(full, size, [=]() -> Task {
    const Pieces coded = EncodeAll(*pieces, encoder);
    Verify(*pieces, coded, coder, full);
    return {[=, out = Bytes(size), next = size_t{0}]() mutable {
      coder.decode(coded[next], out);
      next = next + 1 == coded.size() ? 0 : next + 1;
    }};
  });
}

int32_t Int(size_t size) { return static_cast<int32_t>(size); }
uint32_t Unsigned(size_t size) { return static_cast<uint32_t>(size); }

Coder ZeldcLzo() {
  const auto record = std::make_shared<std::vector<uint32_t>>(65560 / 4);
  const auto state = reinterpret_cast<zelLZOState*>(record->data());
  Check(zelsEncodeLZOInit_8u(zelLZOMethodSingle, 0, state), "zelsEncodeLZOInit_8u");
  return {[record, state](const Bytes& piece, uint8_t* out) {
            uint32_t size = 0;
            Check(zelsEncodeLZO_8u(piece.data(), Unsigned(piece.size()), out, &size, state), "zelsEncodeLZO_8u");
            return size_t{size};
          },
          [](const Bytes& coded, Bytes& piece) {
            uint32_t size = Unsigned(piece.size());
            Check(zelsDecodeLZOSafe_8u(coded.data(), Unsigned(coded.size()), piece.data(), &size),
                  "zelsDecodeLZOSafe_8u");
          }};
}

Coder Liblzo2() {
  const auto work = std::make_shared<std::vector<uint64_t>>(LZO1X_1_MEM_COMPRESS / 8 + 1);
  return {[work](const Bytes& piece, uint8_t* out) {
            lzo_uint size = 0;
            if (lzo1x_1_compress(piece.data(), piece.size(), out, &size, work->data()) != LZO_E_OK) Fail("liblzo2");
            return size_t{size};
          },
          [](const Bytes& coded, Bytes& piece) {
            lzo_uint size = piece.size();
            if (lzo1x_decompress_safe(coded.data(), coded.size(), piece.data(), &size, nullptr) != LZO_E_OK) {
              Fail("liblzo2");
            }
          }};
}

// With the counting of bytes, the making of the code and its description, as for a buffer on its own.
Coder ZeldcHuffman() {
  const auto record = std::make_shared<std::array<uint32_t, 649>>();
  const auto state = reinterpret_cast<zelHuffState*>(record->data());
  return {[record, state](const Bytes& piece, uint8_t* out) {
            int32_t counts[4][256] = {}, lengths[256];
            for (size_t i = 0; i < piece.size(); ++i) ++counts[i & 3][piece[i]];
            for (int v = 0; v < 256; ++v) counts[0][v] += counts[1][v] + counts[2][v] + counts[3][v];
            int32_t packed = 384, size = 0, last = 0;
            Check(zelsEncodeHuffInit_8u(counts[0], state), "zelsEncodeHuffInit_8u");
            Check(zelsHuffGetLenCodeTable_8u(state, lengths), "zelsHuffGetLenCodeTable_8u");
            Check(zelsHuffLenCodeTablePack_8u(lengths, out, &packed), "zelsHuffLenCodeTablePack_8u");
            out += packed;
            Check(zelsEncodeHuff_8u(piece.data(), Int(piece.size()), out, &size, state), "zelsEncodeHuff_8u");
            Check(zelsEncodeHuffFinal_8u(out + size, &last, state), "zelsEncodeHuffFinal_8u");
            return static_cast<size_t>(packed + size + last);
          },
          [record, state](const Bytes& coded, Bytes& piece) {
            int32_t used = Int(coded.size()), size = Int(piece.size()), lengths[256];
            Check(zelsHuffLenCodeTableUnpack_8u(coded.data(), &used, lengths), "zelsHuffLenCodeTableUnpack_8u");
            Check(zelsDecodeHuffInit_8u(lengths, state), "zelsDecodeHuffInit_8u");
            Check(zelsDecodeHuff_8u(coded.data() + used, Int(coded.size()) - used, piece.data(), &size, state),
                  "zelsDecodeHuff_8u");
          }};
}

Coder Zlib(int level, int strategy) {
  const auto encoder = std::make_shared<ZlibEncoder>(level, strategy);
  const auto decoder = std::make_shared<ZlibDecoder>();
  return {[encoder](const Bytes& piece, uint8_t* out) {
            return encoder->Encode(piece.data(), piece.size(), out, Room(piece.size()));
          },
          [decoder](const Bytes& coded, Bytes& piece) {
            decoder->Decode(coded.data(), coded.size(), piece.data(), piece.size());
          }};
}

Coder Libdeflate(int level) {
  const std::shared_ptr<libdeflate_compressor> encoder(libdeflate_alloc_compressor(level), libdeflate_free_compressor);
  const std::shared_ptr<libdeflate_decompressor> decoder(libdeflate_alloc_decompressor(), libdeflate_free_decompressor);
  return {[encoder](const Bytes& piece, uint8_t* out) {
            return libdeflate_deflate_compress(encoder.get(), piece.data(), piece.size(), out, Room(piece.size()));
          },
          [decoder](const Bytes& coded, Bytes& piece) {
            if (libdeflate_deflate_decompress(decoder.get(), coded.data(), coded.size(), piece.data(), piece.size(),
                                              nullptr) != LIBDEFLATE_SUCCESS) {
              Fail("libdeflate cannot decode the stream");
            }
          }};
}

Coder ZeldcDeflate() {
  return {[](const Bytes& piece, uint8_t* out) {
            Output output(out, Room(piece.size()));
            DeflateFast(Input(piece, Buffers::kWhole), output);
            return output.drained;
          },
          [](const Bytes& coded, Bytes& piece) {
            Output output(piece.data(), piece.size());
            InflateWhole(Input(coded, Buffers::kWhole), output);
          }};
}

Coder ZeldcOneCall() {
  return {nullptr, [](const Bytes& coded, Bytes& piece) {
            Output output(piece.data(), piece.size());
            InflateByBlocks(Input(coded, Buffers::kWhole), output);
          }};
}

// The column and, behind it, the row.
Coder ZeldcTransform(size_t size) {
  const auto buffer = std::make_shared<Bytes>(6 * size + 70145);
  return {[buffer](const Bytes& piece, uint8_t* out) {
            int32_t row = 0;
            Check(zelsBWTFwd_8u(piece.data(), out, Int(piece.size()), &row, buffer->data()), "zelsBWTFwd_8u");
            for (size_t i = 0; i < 4; ++i) out[piece.size() + i] = static_cast<uint8_t>(row >> 8 * i);
            return piece.size() + 4;
          },
          [buffer](const Bytes& coded, Bytes& piece) {
            int32_t row = 0;
            for (size_t i = 0; i < 4; ++i) row |= coded[piece.size() + i] << 8 * i;
            Check(zelsBWTInv_8u(coded.data(), piece.data(), Int(piece.size()), row, buffer->data()), "zelsBWTInv_8u");
          }};
}

Coder Divsufsort(size_t size) {
  const auto order = std::make_shared<std::vector<saidx_t>>(size + 1);
  return {[order](const Bytes& piece, uint8_t* out) {
            const saidx_t row = divbwt(piece.data(), out, order->data(), Int(piece.size()));
            if (row < 0) Fail("divbwt");
            for (size_t i = 0; i < 4; ++i) out[piece.size() + i] = static_cast<uint8_t>(row >> 8 * i);
            return piece.size() + 4;
          },
          [order](const Bytes& coded, Bytes& piece) {
            saidx_t row = 0;
            for (size_t i = 0; i < 4; ++i) row |= coded[piece.size() + i] << 8 * i;
            if (inverse_bw_transform(coded.data(), piece.data(), order->data(), Int(piece.size()), row) < 0) {
              Fail("inverse_bw_transform");
            }
          }};
}

}  // namespace

void RegisterSizes(const std::vector<std::unique_ptr<Sample>>& samples, size_t largest) {
  const Coder lzo = ZeldcLzo(), liblzo2 = Liblzo2(), huffman = ZeldcHuffman(), zlib_huffman = Zlib(6, Z_HUFFMAN_ONLY),
              deflate = ZeldcDeflate(), zlib = Zlib(1, Z_DEFAULT_STRATEGY), zlib6 = Zlib(6, Z_DEFAULT_STRATEGY),
              libdeflate = Libdeflate(1);
  for (size_t size : LadderSizes(largest)) {
    const auto pieces = std::make_shared<const Pieces>(Cut(samples, size));
    if (pieces->empty()) return;
    const auto encoding = [&](const char* stage, const char* name, const Coder& coder, const Coder& decoder) {
      RegisterEncoding(stage, name, pieces, coder, decoder);
    };
    const auto decoding = [&](const char* stage, const char* name, const Coder& encoder, const Coder& coder) {
      RegisterDecoding(stage, name, pieces, encoder, coder);
    };
    encoding("deflate-fast", "zeldc", deflate, libdeflate);
    encoding("deflate-fast", "zlib-1", zlib, libdeflate);
    encoding("deflate-fast", "libdeflate-1", libdeflate, zlib);
    decoding("inflate", "zeldc", zlib6, deflate);
    decoding("inflate", "zeldc-one-call", zlib6, ZeldcOneCall());
    decoding("inflate", "zlib", zlib6, zlib);
    decoding("inflate", "libdeflate", zlib6, libdeflate);
    encoding("lzo-compress", "zeldc", lzo, liblzo2);
    encoding("lzo-compress", "lzo1x_1", liblzo2, lzo);
    decoding("lzo-decompress", "zeldc", lzo, lzo);
    decoding("lzo-decompress", "lzo1x_decompress_safe", lzo, liblzo2);
    encoding("huffman-encode", "zeldc", huffman, huffman);
    encoding("huffman-encode", "zlib", zlib_huffman, zlib);
    decoding("huffman-decode", "zeldc", huffman, huffman);
    decoding("huffman-decode", "zlib", zlib_huffman, zlib);
    const Coder transform = ZeldcTransform(size), divsufsort = Divsufsort(size);
    encoding("transform", "zeldc", transform, transform);
    encoding("transform", "libdivsufsort", divsufsort, divsufsort);
    decoding("inverse", "zeldc", transform, transform);
    decoding("inverse", "libdivsufsort", divsufsort, divsufsort);
  }
}
