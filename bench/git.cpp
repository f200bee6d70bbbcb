// Interval coding of a file's blocks of 64 KiB and 1 MiB, with every strategy. No other library has this coder: a copy
// says what memory alone would allow, and zlib's fastest level what one gets elsewhere for such a time.

#include <string.h>
#include <zlib.h>

#include <memory>

#include "bench.h"

namespace {

size_t TotalSize(const std::vector<Bytes>& all) {
  size_t total = 0;
  for (const Bytes& one : all) total += one.size();
  return total;
}

int32_t Length(const Bytes& bytes) { return static_cast<int32_t>(bytes.size()); }

// A coder of single blocks: writes to the destination and returns the size.
class Coder {
 public:
  virtual ~Coder() = default;
  virtual size_t Encode(const Bytes& block, Bytes& dst) = 0;
  virtual size_t Decode(const Bytes& coded, Bytes& dst) = 0;
};

class Git : public Coder {
 public:
  Git(size_t block_size, int strategy) : strategy_(strategy) {
    const auto size = static_cast<int32_t>(block_size);
    Check(zelsEncodeGITInitAlloc_8u(size, 2 * size + 8192, &encoder_), "zelsEncodeGITInitAlloc_8u");
    Check(zelsDecodeGITInitAlloc_8u(1, size, &decoder_), "zelsDecodeGITInitAlloc_8u");
  }
  ~Git() override {
    zelsGITFree_8u(encoder_);
    zelsGITFree_8u(decoder_);
  }
  Git(const Git&) = delete;
  Git& operator=(const Git&) = delete;

  size_t Encode(const Bytes& block, Bytes& dst) override {
    int32_t size = 0;
    Check(zelsEncodeGIT_8u(block.data(), Length(block), dst.data(), &size, strategy_, encoder_), "zelsEncodeGIT_8u");
    return static_cast<size_t>(size);
  }
  size_t Decode(const Bytes& coded, Bytes& dst) override {
    int32_t size = 0;
    Check(zelsDecodeGIT_8u(coded.data(), Length(coded), dst.data(), &size, strategy_, decoder_), "zelsDecodeGIT_8u");
    return static_cast<size_t>(size);
  }

 private:
  int strategy_;
  zelGITEncodeState* encoder_ = nullptr;
  zelGITDecodeState* decoder_ = nullptr;
};

class Zlib : public Coder {
 public:
  size_t Encode(const Bytes& block, Bytes& dst) override {
    uLongf size = static_cast<uLongf>(dst.size());
    if (compress2(dst.data(), &size, block.data(), static_cast<uLong>(block.size()), 1) != Z_OK) Fail("compress2");
    return size;
  }
  size_t Decode(const Bytes& coded, Bytes& dst) override {
    uLongf size = static_cast<uLongf>(dst.size());
    if (uncompress(dst.data(), &size, coded.data(), static_cast<uLong>(coded.size())) != Z_OK) Fail("uncompress");
    return size;
  }
};

class Copy : public Coder {
 public:
  size_t Encode(const Bytes& block, Bytes& dst) override {
    memcpy(dst.data(), block.data(), block.size());
    benchmark::ClobberMemory();
    return block.size();
  }
  size_t Decode(const Bytes& coded, Bytes& dst) override { return Encode(coded, dst); }
};

std::unique_ptr<Coder> Make(const std::string& name, size_t block_size) {
  if (name == "zlib-1") return std::make_unique<Zlib>();
  if (name == "memcpy") return std::make_unique<Copy>();
  return std::make_unique<Git>(block_size, name == "zeldc-left" ? 1 : name == "zeldc-right" ? 2 : 3);
}

std::vector<Bytes> EncodeAll(const std::vector<Bytes>& blocks, Coder& coder) {
  Bytes room(2 * blocks.front().size() + 8192);
  std::vector<Bytes> coded;
  for (const Bytes& block : blocks) {
    const size_t size = coder.Encode(block, room);
    coded.emplace_back(room.begin(), room.begin() + static_cast<ptrdiff_t>(size));
  }
  return coded;
}

void Verify(const std::vector<Bytes>& blocks, const std::vector<Bytes>& coded, Coder& coder) {
  Bytes room(blocks.front().size());
  for (size_t i = 0; i < coded.size(); ++i) {
    const size_t size = coder.Decode(coded[i], room);
    if (size != blocks[i].size() || !std::equal(blocks[i].begin(), blocks[i].end(), room.begin())) {
      Fail("a block does not come back");
    }
  }
}

void RegisterCoder(const std::string& coder_name, const char* size_name, size_t block_size, Sample& sample) {
  const Bytes& data = sample.data();
  const auto name = [&](const char* way) {
    return Name("git", std::string(way) + "-" + size_name, coder_name, sample.name());
  };
  Register(name("encode"), data.size(), [&data, coder_name, block_size]() -> Task {
    const std::shared_ptr<Coder> coder = Make(coder_name, block_size);
    const std::vector<Bytes> blocks = CutIntoBlocks(data, block_size);
    const std::vector<Bytes> coded = EncodeAll(blocks, *coder);
    Verify(blocks, coded, *coder);
    return {[coder, blocks, room = Bytes(2 * block_size + 8192)]() mutable {
              for (const Bytes& block : blocks) coder->Encode(block, room);
            },
            coder_name == "memcpy" ? 0 : TotalSize(coded)};
  });
  Register(name("decode"), data.size(), [&data, coder_name, block_size]() -> Task {
    const std::shared_ptr<Coder> coder = Make(coder_name, block_size);
    return {[coder, coded = EncodeAll(CutIntoBlocks(data, block_size), *coder), room = Bytes(block_size)]() mutable {
      for (const Bytes& one : coded) coder->Decode(one, room);
    }};
  });
}

}  // namespace

void RegisterGit(Sample& sample) {
  for (const char* coder : {"zeldc-left", "zeldc-right", "zeldc-static", "zlib-1", "memcpy"}) {
    RegisterCoder(coder, "64KiB", size_t{64} << 10, sample);
    RegisterCoder(coder, "1MiB", size_t{1} << 20, sample);
  }
}
