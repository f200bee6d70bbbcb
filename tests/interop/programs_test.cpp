// Files by the gzip and pigz programs: the raw stream within each member.

#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "gtest/gtest.h"
#include "inflate/checks.h"
#include "support/data.h"
#include "support/oracle.h"

namespace zeldc_test {
namespace {

// What the program makes of the data with the arguments; it reads and writes files of its own.
Bytes RunOn(const Bytes& data, const std::string& program, const std::string& arguments) {
  const std::string path = testing::TempDir() + "zeldc_interop_" + std::to_string(getpid());
  std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(data.data()), std::ssize(data));
  const std::string command = program + " " + arguments + " < '" + path + "' > '" + path + ".gz'";
  EXPECT_EQ(system(command.c_str()), 0) << command;
  std::ifstream output(path + ".gz", std::ios::binary);
  const Bytes file{std::istreambuf_iterator<char>(output), std::istreambuf_iterator<char>()};
  remove(path.c_str());
  remove((path + ".gz").c_str());
  return file;
}

uint32_t Number(const Bytes& bytes, size_t at) {
  return static_cast<uint32_t>(bytes.at(at) | bytes.at(at + 1) << 8 | bytes.at(at + 2) << 16) |
         uint32_t{bytes.at(at + 3)} << 24;
}

// The file is a gzip member of `data` whose stream decodes with all splits; behind it stands the trailer.
void ExpectMemberDecodes(const Bytes& file, const Bytes& data) {
  // RFC 1952 section 2.3: input from a pipe has neither name nor other optional fields.
  ASSERT_GE(file.size(), 18u);
  ASSERT_EQ(file[0], 0x1F);
  ASSERT_EQ(file[1], 0x8B);
  ASSERT_EQ(file[2], 8);
  ASSERT_EQ(file[3], 0);
  const Bytes body(file.begin() + 10, file.end());
  const Bytes stream(body.begin(), body.end() - 8);
  ExpectDecodes(stream, data);
  for (const Path path : {Path::kBytes, Path::kPairs}) {
    DecodeOptions options;
    options.path = path;
    options.max_output = data.size() + 1;
    const Decoded got = Decode(body, options);
    ASSERT_EQ(got.consumed, stream.size());
    EXPECT_EQ(Number(body, got.consumed), ZlibCrc32(got.data));
    EXPECT_EQ(Number(body, got.consumed + 4), got.data.size());
  }
}

Bytes Input() {
  Bytes data = Text(50000, 1);
  const Bytes mixed = Mixed(50000, 2);
  data.insert(data.end(), mixed.begin(), mixed.end());
  return data;
}

TEST(InteropPrograms, GzipAtEveryLevel) {
  const Bytes data = Input();
  for (int level = 1; level <= 9; ++level) {
    SCOPED_TRACE(level);
    ExpectMemberDecodes(RunOn(data, GZIP_PROGRAM, "-nc" + std::to_string(level)), data);
  }
}

TEST(InteropPrograms, GzipWithMarkersForRsync) {
  const Bytes data = Input();
  ExpectMemberDecodes(RunOn(data, GZIP_PROGRAM, "-nc --rsyncable"), data);
}

TEST(InteropPrograms, GzipOfAlmostNothing) {
  for (size_t size = 0; size < 4; ++size) {
    const Bytes data = RandomBytes(size, size);
    ExpectMemberDecodes(RunOn(data, GZIP_PROGRAM, "-nc"), data);
  }
}

TEST(InteropPrograms, PigzAtEveryLevel) {
  const Bytes data = Input();
  for (int level = 0; level <= 9; ++level) {
    SCOPED_TRACE(level);
    ExpectMemberDecodes(RunOn(data, PIGZ_PROGRAM, "-nmc" + std::to_string(level)), data);
  }
}

TEST(InteropPrograms, PigzWithManyShortBlocksOfManyThreads) {
  // Pieces of 32 KiB, each ended by markers; with -i also without the history of the last.
  const Bytes data = Mixed(400000, 3);
  for (const char* const arguments : {"-nmc -p4 -b32", "-nmc -p4 -b32 -i", "-nmc -p1", "-nmc -p3 -b32 --rsyncable"}) {
    SCOPED_TRACE(arguments);
    ExpectMemberDecodes(RunOn(data, PIGZ_PROGRAM, arguments), data);
  }
}

TEST(InteropPrograms, PigzAtItsSlowestAndWithSpecialStrategies) {
  const Bytes data = Text(20000, 4);
  for (const char* const arguments : {"-nmc -11 -I3", "-nmc --huffman", "-nmc --rle"}) {
    SCOPED_TRACE(arguments);
    ExpectMemberDecodes(RunOn(data, PIGZ_PROGRAM, arguments), data);
  }
}

}  // namespace
}  // namespace zeldc_test
