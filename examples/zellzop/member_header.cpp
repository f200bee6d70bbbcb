#include "zellzop/member_header.h"

#include "common/messages.h"
#include "zeldc.h"

namespace zellzop {

namespace {

using example::Failure;
using example::InputCursor;

constexpr uint16_t kVersion = 0x1040;  // 1.04
constexpr uint16_t kLibraryVersion = 0x20A0;
constexpr uint16_t kVersionForAdler = 0x0940;
constexpr uint16_t kVersionForCrc = 0x1001;
constexpr uint16_t kOldestVersion = 0x0940;  // earlier ones had other headers
constexpr uint32_t kUnknownFlags = 0x000FC000;
constexpr uint32_t kExtraField = 0x40;  // something behind the name that is not described

// The bytes of a header, one number after another.
class HeaderReader {
 public:
  explicit HeaderReader(InputCursor& input) : input_(input) {}

  const std::vector<uint8_t>& bytes() const { return bytes_; }

  uint32_t Number(int32_t size) {
    if (!input_.Have(size)) throw Failure("unexpected end of file: " + input_.name());
    uint32_t value = 0;
    for (int32_t i = 0; i < size; ++i) value = value << 8 | input_.next[i];
    bytes_.insert(bytes_.end(), input_.next, input_.next + size);
    input_.next += size;
    input_.left -= size;
    return value;
  }
  uint8_t Byte() { return static_cast<uint8_t>(Number(1)); }

 private:
  InputCursor& input_;
  std::vector<uint8_t> bytes_;
};

void PutHalf(std::vector<uint8_t>& bytes, uint16_t value) {
  bytes.push_back(static_cast<uint8_t>(value >> 8));
  bytes.push_back(static_cast<uint8_t>(value));
}

uint32_t CheckOf(const std::vector<uint8_t>& bytes, uint32_t flags) {
  return flags & kCrcOfHeader ? Crc32(bytes.data(), bytes.size()) : Adler32(bytes.data(), bytes.size());
}

}  // namespace

const uint8_t kMemberMagic[kMagicBytes] = {0x89, 'L', 'Z', 'O', 0x00, '\r', '\n', 0x1A, '\n'};

uint32_t Adler32(const uint8_t* bytes, size_t count) {
  uint32_t sum = 1;
  zelsAdler32_8u(bytes, static_cast<int32_t>(count), &sum);
  return sum;
}

uint32_t Crc32(const uint8_t* bytes, size_t count) {
  uint32_t sum = 0;
  zelsCRC32_8u(bytes, static_cast<int32_t>(count), &sum);
  return sum;
}

void PutWord(std::vector<uint8_t>& bytes, uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<uint8_t>(value >> shift));
}

uint32_t WordAt(const uint8_t* bytes) {
  return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

std::vector<uint8_t> Encode(const MemberHeader& header) {
  std::vector<uint8_t> fields;
  PutHalf(fields, kVersion);
  PutHalf(fields, kLibraryVersion);
  PutHalf(fields, header.flags & kCrcOfHeader ? kVersionForCrc : kVersionForAdler);
  fields.push_back(header.method);
  fields.push_back(header.level);
  PutWord(fields, header.flags);
  PutWord(fields, header.mode);
  PutWord(fields, static_cast<uint32_t>(header.time));
  PutWord(fields, static_cast<uint32_t>(header.time >> 32));
  const std::string name = header.name.size() <= 255 ? header.name : "";
  fields.push_back(static_cast<uint8_t>(name.size()));
  fields.insert(fields.end(), name.begin(), name.end());
  PutWord(fields, CheckOf(fields, header.flags));
  fields.insert(fields.begin(), kMemberMagic, kMemberMagic + kMagicBytes);
  return fields;
}

MemberHeader ReadMemberHeader(InputCursor& input) {
  const std::string& file = input.name();
  HeaderReader reader(input);
  MemberHeader header;
  const uint32_t version = reader.Number(2);
  if (version < kOldestVersion) throw Failure(file + ": header of a version that is too old");
  reader.Number(2);
  if (reader.Number(2) > kVersion) throw Failure(file + ": you need a newer version of zellzop");
  header.method = reader.Byte();
  header.level = reader.Byte();
  header.flags = reader.Number(4);
  if (header.flags & kHasFilter) header.filter = reader.Number(4);
  header.mode = reader.Number(4);
  header.time = reader.Number(4);
  header.time |= uint64_t{reader.Number(4)} << 32;
  for (int left = reader.Byte(); left > 0; --left) header.name += static_cast<char>(reader.Byte());
  const uint32_t expected = CheckOf(reader.bytes(), header.flags);
  header.size = kMagicBytes + reader.bytes().size() + 4;
  if (reader.Number(4) != expected) throw Failure(file + ": header corrupted (checksum error)");
  if (header.method < kLzo1x1 || header.method > kLzo1x999) {
    throw Failure(file + ": unknown compression method -- get a newer version of zellzop");
  }
  if (header.flags & (kUnknownFlags | kExtraField)) {
    throw Failure(file + ": unknown header flags -- get a newer version of zellzop");
  }
  return header;
}

}  // namespace zellzop
