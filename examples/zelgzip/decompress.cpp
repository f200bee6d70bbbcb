#include "zelgzip/decompress.h"

#include <new>

#include "common/messages.h"

namespace zelgzip {

namespace {

using example::Failure;
using example::Output;

constexpr size_t kInputBufferBytes = 256 << 10;

[[noreturn]] void ThrowInvalid(const std::string& name, const char* what) {
  throw Failure(name + ": invalid compressed data--" + what);
}

uint32_t LittleEndian32(const uint8_t* bytes) {
  uint32_t value = 0;
  for (int i = 0; i < 4; ++i) value |= static_cast<uint32_t>(bytes[i]) << 8 * i;
  return value;
}

}  // namespace

Decompressor::Decompressor(example::Input& input) : cursor_(input, kInputBufferBytes) {
  zelLZ77State* state = nullptr;
  if (zelsDecodeLZ77InitAlloc_8u(0, &state) != zelOk) throw std::bad_alloc();
  state_.reset(state);
}

const MemberHeader& Decompressor::ReadFirstHeader() {
  contents_.header = ReadHeader(cursor_, contents_.framingBytes);
  return contents_.header;
}

const Contents& Decompressor::Decompress(Output& output) {
  try {
    DecodeMembers(output);
  } catch (const Failure&) {
    // Whoever reads from a pipe can use what comes before the damage.
    output.Flush();
    throw;
  }
  output.Flush();
  return contents_;
}

void Decompressor::DecodeMembers(Output& output) {
  DecodeMember(output);
  while ((contents_.behind = LookAhead(cursor_)) == Ahead::kMember) {
    ReadHeader(cursor_, contents_.framingBytes);
    zelsDecodeLZ77Reset_8u(state_.get());
    DecodeMember(output);
  }
}

void Decompressor::Copy(Output& output) {
  while (cursor_.More()) {
    output.Put(cursor_.next, static_cast<size_t>(cursor_.left));
    cursor_.left = 0;
  }
  output.Flush();
}

void Decompressor::DecodeMember(Output& output) {
  const uint64_t before = contents_.size;
  contents_.crc = 0;
  while (DecodeBlock(ReadBlockType(), output) != zelWarnStreamEnd) {
  }
  CheckTrailer(contents_.size - before);
}

int32_t Decompressor::ReadBlockType() {
  // The reserved type leaves the variable alone.
  int32_t type = -1;
  if (!cursor_.More()) ThrowUnexpectedEnd(cursor_);
  zelStatus status;
  while ((status = zelsDecodeLZ77GetBlockType_8u(&cursor_.next, &cursor_.left, &type, state_.get())) ==
         zelWarnSrcShort) {
    if (!cursor_.More()) ThrowUnexpectedEnd(cursor_);
  }
  if (status != zelOk || type < 0) ThrowInvalid(cursor_.name(), "format violated");
  return type;
}

// Decodes to the block's end. Returns zelOk, or zelWarnStreamEnd when it was the last block.
zelStatus Decompressor::DecodeBlock(int32_t type, Output& output) {
  for (;;) {
    const uint8_t* const begin = output.next;
    const zelStatus status = DecodePart(type, output);
    const int32_t written = static_cast<int32_t>(output.next - begin);
    if (written > 0) zelsCRC32_8u(begin, written, &contents_.crc);
    contents_.size += static_cast<uint64_t>(written);

    if (status == zelOk || status == zelWarnStreamEnd) return status;
    if (status == zelWarnDstFull) {
      output.Flush();
    } else if (status == zelWarnSrcShort) {
      if (!cursor_.More()) ThrowUnexpectedEnd(cursor_);
    } else {
      ThrowInvalid(cursor_.name(), "format violated");
    }
  }
}

zelStatus Decompressor::DecodePart(int32_t type, Output& output) {
  if (type == zelLZ77HuffStored) {
    return zelsDecodeLZ77StoredBlock_8u(&cursor_.next, &cursor_.left, &output.next, &output.room, state_.get());
  }
  const auto decoder = type == zelLZ77HuffFixed ? zelsDecodeLZ77FixedHuffFull_8u : zelsDecodeLZ77DynamicHuffFull_8u;
  return decoder(&cursor_.next, &cursor_.left, &output.next, &output.room, zelLZ77FlushNone, state_.get());
}

void Decompressor::CheckTrailer(uint64_t memberSize) {
  if (!cursor_.Have(kTrailerBytes)) ThrowUnexpectedEnd(cursor_);
  const uint32_t crc = LittleEndian32(cursor_.next);
  const uint32_t size = LittleEndian32(cursor_.next + 4);
  if (crc != contents_.crc) ThrowInvalid(cursor_.name(), "crc error");
  if (size != static_cast<uint32_t>(memberSize)) ThrowInvalid(cursor_.name(), "length error");
  cursor_.next += kTrailerBytes;
  cursor_.left -= static_cast<int32_t>(kTrailerBytes);
  contents_.framingBytes += kTrailerBytes;
}

}  // namespace zelgzip
