// Which gzip headers zelgzip reads, and which it refuses.

#include <string>

#include "gzip_file.h"
#include "shell.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

class ZelgzipHeader : public ShellTest {
 protected:
  const Bytes text_ = Text(3000, 3);

  // The file decompresses, and every proper part of its header is an unexpected end.
  void ExpectReadable(const GzipFields& fields) {
    Write("x.gz", GzipFile(text_, fields));
    const Outcome outcome = Run("zelgzip -dc x.gz");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(ToBytes(outcome.out), text_);

    const Bytes header = GzipHeader(fields);
    const size_t step = header.size() > 100 ? 30011 : 1;
    for (size_t size = 0; size < header.size(); size += step) {
      Write("part.gz", Bytes(header.begin(), header.begin() + static_cast<ptrdiff_t>(size)));
      const Outcome part = Run("zelgzip -t part.gz");
      EXPECT_EQ(part.status, 1) << size;
      EXPECT_EQ(part.err, "zelgzip: part.gz: unexpected end of file\n") << size;
    }
  }

  void ExpectRefused(const GzipFields& fields, const std::string& message) {
    Write("x.gz", GzipFile(text_, fields));
    const Outcome outcome = Run("zelgzip -d x.gz");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "zelgzip: x.gz" + message + "\n");
    EXPECT_EQ(Files(), std::vector<std::string>{"x.gz"});
  }
};

TEST_F(ZelgzipHeader, PlainHeaderIsRead) { ExpectReadable({}); }

TEST_F(ZelgzipHeader, TextFlagIsRead) { ExpectReadable({.flags = 1}); }

TEST_F(ZelgzipHeader, NameIsRead) { ExpectReadable({.name = ToBytes("some name")}); }

TEST_F(ZelgzipHeader, CommentIsRead) { ExpectReadable({.comment = ToBytes("a comment")}); }

TEST_F(ZelgzipHeader, ExtraFieldIsRead) { ExpectReadable({.extra = Bytes{'A', 'p', 2, 0, 1, 2}}); }

TEST_F(ZelgzipHeader, EmptyFieldsAreRead) { ExpectReadable({.extra = Bytes(), .name = Bytes(), .comment = Bytes()}); }

TEST_F(ZelgzipHeader, HeaderCrcIsRead) { ExpectReadable({.header_crc = true}); }

TEST_F(ZelgzipHeader, AllFieldsTogetherAreRead) {
  ExpectReadable({.flags = 1,
                  .time = 0xffffffff,
                  .extra = Bytes{'A', 'p', 0, 0},
                  .name = ToBytes("n"),
                  .comment = ToBytes("c"),
                  .header_crc = true});
}

TEST_F(ZelgzipHeader, LongestFieldsAreRead) {
  ExpectReadable(
      {.extra = RandomBytes(65535, 4), .name = Bytes(300000, 'n'), .comment = Bytes(300000, 'c'), .header_crc = true});
}

TEST_F(ZelgzipHeader, WrongHeaderCrcIsRefused) {
  const Bytes header = GzipHeader({.name = ToBytes("n"), .header_crc = true});
  const int right = header[header.size() - 2] | header[header.size() - 1] << 8;
  for (const int error : {0x0001, 0x8000}) {
    char message[100];
    snprintf(message, sizeof message, ": header checksum 0x%04x != computed checksum 0x%04x", right ^ error, right);
    ExpectRefused({.name = ToBytes("n"), .header_crc = true, .header_crc_error = static_cast<uint16_t>(error)},
                  message);
  }
}

TEST_F(ZelgzipHeader, WrongHeaderCrcOfALaterMemberIsRefused) {
  Bytes file = GzipFile(text_);
  Append(file, GzipFile(text_, {.header_crc = true, .header_crc_error = 1}));
  Write("x.gz", file);
  EXPECT_EQ(Run("zelgzip -d x.gz").status, 1);
  EXPECT_EQ(Files(), std::vector<std::string>{"x.gz"});
}

TEST_F(ZelgzipHeader, OtherMethodsAreRefused) {
  ExpectRefused({.method = 7}, ": unknown method 7 -- not supported");
  ExpectRefused({.method = 255}, ": unknown method 255 -- not supported");
}

TEST_F(ZelgzipHeader, EncryptionIsRefused) { ExpectRefused({.flags = 0x20}, " is encrypted -- not supported"); }

TEST_F(ZelgzipHeader, ReservedFlagsAreRefused) {
  ExpectRefused({.flags = 0x40}, " has flags 0x40 -- not supported");
  ExpectRefused({.flags = 0x80}, " has flags 0x80 -- not supported");
}

TEST_F(ZelgzipHeader, OtherFilesAreRefused) {
  for (const char* const content : {"plain text", "\x1f plain", "PK\x03\x04", "\x1f\x9d\x90"}) {
    Write("x.gz", content);
    const Outcome outcome = Run("zelgzip -d x.gz");
    EXPECT_EQ(outcome.status, 1) << content;
    EXPECT_EQ(outcome.err, "zelgzip: x.gz: not in gzip format\n") << content;
  }
}

}  // namespace
}  // namespace zeldc_test
