#include "zelgzip/member_header.h"

#include <cstdio>
#include <vector>

#include "common/messages.h"

namespace zelgzip {

namespace {

using example::Failure;
using example::InputCursor;

constexpr uint8_t kMagic[] = {0x1f, 0x8b};
constexpr uint8_t kMethodDeflate = 8;
constexpr uint8_t kOsUnix = 3;

constexpr unsigned kFlagHeaderCrc = 0x02;
constexpr unsigned kFlagExtra = 0x04;
constexpr unsigned kFlagName = 0x08;
constexpr unsigned kFlagComment = 0x10;
constexpr unsigned kFlagEncrypted = 0x20;
constexpr unsigned kFlagsReserved = 0xc0;

// No name that a file can have is longer; a longer one is read over.
constexpr size_t kLongestName = 4096;

// Takes a header byte by byte and keeps its CRC.
class HeaderBytes {
 public:
  explicit HeaderBytes(InputCursor& cursor) : cursor_(cursor) {}

  unsigned Byte() {
    if (!cursor_.More()) ThrowUnexpectedEnd(cursor_);
    const uint8_t value = *cursor_.next;
    zelsCRC32_8u(&value, 1, &crc_);
    ++cursor_.next;
    --cursor_.left;
    ++count_;
    return value;
  }

  uint32_t LittleEndian(int bytes) {
    uint32_t value = 0;
    for (int i = 0; i < bytes; ++i) value |= Byte() << 8 * i;
    return value;
  }

  void Skip(uint32_t bytes) {
    while (bytes-- > 0) Byte();
  }

  std::string Text() {
    std::string value;
    bool fits = true;
    while (const unsigned c = Byte()) {
      fits = fits && value.size() < kLongestName;
      if (fits) value.push_back(static_cast<char>(c));
    }
    return fits ? value : "";
  }

  uint32_t crc() const { return crc_; }
  uint64_t count() const { return count_; }

 private:
  InputCursor& cursor_;
  uint32_t crc_ = 0;
  uint64_t count_ = 0;
};

template <class... Values>
std::string Formatted(const char* format, Values... values) {
  char text[128];
  std::snprintf(text, sizeof text, format, values...);
  return text;
}

void RefuseUnsupported(const std::string& name, unsigned method, unsigned flags) {
  if (method != kMethodDeflate) throw Failure(name + Formatted(": unknown method %u -- not supported", method));
  if (flags & kFlagEncrypted) throw Failure(name + " is encrypted -- not supported");
  if (flags & kFlagsReserved) throw Failure(name + Formatted(" has flags 0x%x -- not supported", flags));
}

}  // namespace

void ThrowUnexpectedEnd(const InputCursor& cursor) { throw Failure(cursor.name() + ": unexpected end of file"); }

bool StandsOnMember(InputCursor& cursor) {
  return cursor.Have(2) && cursor.next[0] == kMagic[0] && cursor.next[1] == kMagic[1];
}

Ahead LookAhead(InputCursor& cursor) {
  if (!cursor.More()) return Ahead::kEnd;
  if (*cursor.next == 0) {
    while (cursor.More() && *cursor.next == 0) {
      ++cursor.next;
      --cursor.left;
    }
    return cursor.left > 0 ? Ahead::kGarbage : Ahead::kZeros;
  }
  // A single byte tells nothing of what was to follow.
  if (!cursor.Have(2)) ThrowUnexpectedEnd(cursor);
  return StandsOnMember(cursor) ? Ahead::kMember : Ahead::kGarbage;
}

MemberHeader ReadHeader(InputCursor& cursor, uint64_t& bytes) {
  if (!cursor.Have(2)) ThrowUnexpectedEnd(cursor);
  if (!StandsOnMember(cursor)) throw Failure(cursor.name() + ": not in gzip format");

  HeaderBytes reader(cursor);
  reader.Skip(sizeof kMagic);
  const unsigned method = reader.Byte();
  const unsigned flags = reader.Byte();
  RefuseUnsupported(cursor.name(), method, flags);

  MemberHeader header;
  header.modificationTime = reader.LittleEndian(4);
  reader.Skip(2);  // the compressor's effort and system say nothing about the data
  if (flags & kFlagExtra) reader.Skip(reader.LittleEndian(2));
  if (flags & kFlagName) header.fileName = reader.Text();
  if (flags & kFlagComment) reader.Text();
  if (flags & kFlagHeaderCrc) {
    const unsigned computed = reader.crc() & 0xffff;
    const unsigned stored = reader.LittleEndian(2);
    if (stored != computed) {
      throw Failure(cursor.name() +
                    Formatted(": header checksum 0x%04x != computed checksum 0x%04x", stored, computed));
    }
  }
  bytes += reader.count();
  return header;
}

uint64_t WriteHeader(const MemberHeader& header, zelLZ77Level level, example::Output& output) {
  const uint8_t effort = level == zelLZ77LevelBest ? 2 : level == zelLZ77LevelFast ? 4 : 0;
  const uint32_t time = header.modificationTime;
  std::vector<uint8_t> bytes(kMagic, kMagic + sizeof kMagic);
  bytes.push_back(kMethodDeflate);
  bytes.push_back(header.fileName.empty() ? 0 : kFlagName);
  for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<uint8_t>(time >> shift));
  bytes.push_back(effort);
  bytes.push_back(kOsUnix);
  if (!header.fileName.empty()) {
    bytes.insert(bytes.end(), header.fileName.begin(), header.fileName.end());
    bytes.push_back(0);
  }
  output.Put(bytes.data(), bytes.size());
  return bytes.size();
}

}  // namespace zelgzip
