// zelstat's tables, its chart, and what it does with files that it cannot measure.

#include <sys/stat.h>

#include <cmath>
#include <map>
#include <regex>
#include <sstream>

#include "shell.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

const std::vector<std::string> kByteCoders = {"order-0 entropy", "byte Huffman", "GIT, moving left",
                                              "GIT, moving right", "GIT, static"};
const std::vector<std::string> kSampleCoders = {"order-0 entropy", "VLC", "byte Huffman"};

struct Table {
  std::string title;
  std::vector<std::string> coders;
  std::map<std::string, size_t> bytes;
};

// The tables of an output, in which empty lines stand between them.
std::vector<Table> TablesOf(const std::string& output) {
  static const std::regex row("(\\S.*?\\S) +(\\d+) +[\\d.]+%( .*)?");
  std::vector<Table> tables;
  std::istringstream stream(output);
  bool inside = false;
  for (std::string line; std::getline(stream, line); inside = !line.empty()) {
    std::smatch match;
    if (!inside) {
      tables.push_back({line, {}, {}});
    } else if (std::regex_match(line, match, row)) {
      tables.back().coders.push_back(match[1]);
      tables.back().bytes[match[1]] = std::stoul(match[2]);
    }
  }
  return tables;
}

// Bits that the symbols need by their frequencies, in bytes.
template <typename Symbols>
size_t Entropy(const Symbols& symbols) {
  std::map<int, double> counts;
  for (const auto symbol : symbols) ++counts[symbol];
  double bits = 0;
  for (const auto& [symbol, count] : counts) bits -= count * std::log2(count / static_cast<double>(symbols.size()));
  return static_cast<size_t>(std::ceil(bits / 8 - 1e-6));
}

Bytes LittleEndian(const std::vector<int>& samples) {
  Bytes bytes;
  for (const int sample : samples) {
    bytes.push_back(static_cast<uint8_t>(sample));
    bytes.push_back(static_cast<uint8_t>(sample >> 8));
  }
  return bytes;
}

void AppendNumber(Bytes& bytes, uint32_t number, int size) {
  for (int i = 0; i < size; ++i) bytes.push_back(static_cast<uint8_t>(number >> 8 * i));
}

// A chunk of an odd length comes before the samples. Sizes may be wrong, as those of a program that writes to a pipe.
Bytes WaveFile(const Bytes& data, uint32_t channels, uint32_t bits, bool knows_size = true) {
  const uint32_t size = knows_size ? static_cast<uint32_t>(data.size()) : UINT32_MAX;
  Bytes file = ToBytes("RIFF");
  AppendNumber(file, knows_size ? size + 50 : UINT32_MAX, 4);
  Append(file, ToBytes("WAVEfmt "));
  AppendNumber(file, 16, 4);
  AppendNumber(file, 1, 2);
  AppendNumber(file, channels, 2);
  AppendNumber(file, 44100, 4);
  AppendNumber(file, 44100 * channels * bits / 8, 4);
  AppendNumber(file, channels * bits / 8, 2);
  AppendNumber(file, bits, 2);
  Append(file, ToBytes("note"));
  AppendNumber(file, 5, 4);
  Append(file, Bytes(6, 0x77));
  Append(file, ToBytes("data"));
  AppendNumber(file, size, 4);
  Append(file, data);
  return file;
}

std::vector<int> Wander(size_t n, uint64_t seed) {
  Random random(seed);
  std::vector<int> samples;
  int sample = 0;
  for (size_t i = 0; i < n; ++i) {
    sample += static_cast<int>(Uniform(random, 0, 60)) - 30 + static_cast<int>(Uniform(random, 0, 60)) - 30;
    samples.push_back(static_cast<int16_t>(sample));
  }
  return samples;
}

// The elements of a picture in their order, each with its attributes; what is no XML ends the test.
std::vector<std::string> ElementsOf(const std::string& picture) {
  static const std::regex tag("<(/?)([a-z]+)((?: [A-Za-z0-9:-]+=\"[^\"<&]*\")*)(/?)>");
  std::vector<std::string> elements, open;
  size_t at = 0;
  for (std::sregex_iterator i(picture.begin(), picture.end(), tag), end; i != end; ++i) {
    const std::string between = picture.substr(at, static_cast<size_t>(i->position()) - at);
    EXPECT_TRUE(std::regex_match(between, std::regex("([^<>&]|&amp;|&lt;|&gt;)*"))) << between;
    at = static_cast<size_t>(i->position() + i->length());
    if ((*i)[1].length() == 0) {
      elements.push_back((*i)[2]);
      if ((*i)[4].length() == 0) open.push_back((*i)[2]);
    } else if (open.empty() || open.back() != (*i)[2]) {
      ADD_FAILURE() << "</" << (*i)[2] << "> closes nothing";
    } else {
      open.pop_back();
    }
  }
  EXPECT_TRUE(open.empty());
  EXPECT_EQ(picture.substr(at), "\n");
  return elements;
}

class Zelstat : public ShellTest {
 protected:
  Table TableOf(const std::string& command) const {
    const Outcome outcome = Run(command);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    const std::vector<Table> tables = TablesOf(outcome.out);
    EXPECT_EQ(tables.size(), 1u);
    return tables.empty() ? Table() : tables[0];
  }
};

TEST_F(Zelstat, ShowsEveryCoderOfBytes) {
  const Bytes text = Text(100000, 1);
  Write("a", text);
  const Table table = TableOf("zelstat a");
  EXPECT_EQ(table.title, "a (100000 bytes)");
  EXPECT_EQ(table.coders, kByteCoders);
  const size_t floor = table.bytes.at("order-0 entropy");
  EXPECT_EQ(floor, Entropy(text));
  EXPECT_GE(table.bytes.at("byte Huffman"), floor);
  EXPECT_LT(table.bytes.at("byte Huffman"), floor + floor / 20 + 200);
  for (const std::string& coder : {kByteCoders[2], kByteCoders[3], kByteCoders[4]}) {
    EXPECT_GT(table.bytes.at(coder), 2 * (1024u + 256));
    EXPECT_LT(table.bytes.at(coder), text.size());
  }
}

TEST_F(Zelstat, AllKindsOfData) {
  for (const NamedData& input : AllKinds(20000)) {
    if (input.data.empty()) continue;
    Write("a", input.data);
    const Table table = TableOf("zelstat --block=7001 a");
    EXPECT_EQ(table.coders, kByteCoders) << input.name;
    EXPECT_EQ(table.bytes.at("order-0 entropy"), Entropy(input.data)) << input.name;
  }
}

TEST_F(Zelstat, OneByteValueTakesABit) {
  Write("a", Bytes(8000, 'x'));
  const Table table = TableOf("zelstat a");
  EXPECT_EQ(table.bytes.at("order-0 entropy"), 0u);
  EXPECT_GT(table.bytes.at("byte Huffman"), 1000u);
  EXPECT_LT(table.bytes.at("byte Huffman"), 1050u);
}

TEST_F(Zelstat, SmallerBlocksHaveMoreContainers) {
  Write("a", Text(100000, 2));
  const size_t one = TableOf("zelstat -b 1M a").bytes.at("GIT, static");
  const size_t ten = TableOf("zelstat -b 10000 a").bytes.at("GIT, static");
  EXPECT_GT(ten, one + 9 * 1024);
  EXPECT_EQ(TableOf("zelstat --block=64K a").bytes, TableOf("zelstat a").bytes);
}

TEST_F(Zelstat, ReadsStandardInput) {
  Write("a", Text(5000, 3));
  const Table table = TableOf("zelstat a");
  for (const char* const command : {"zelstat <a", "zelstat - <a", "cat a | zelstat"}) {
    const Table same = TableOf(command);
    EXPECT_EQ(same.title, "stdin (5000 bytes)") << command;
    EXPECT_EQ(same.bytes, table.bytes) << command;
  }
}

TEST_F(Zelstat, SamplesByTheirDifferences) {
  const std::vector<int> samples = Wander(30000, 1);
  std::vector<int> differences;
  for (size_t i = 0; i < samples.size(); ++i) {
    differences.push_back(static_cast<int16_t>(samples[i] - (i > 0 ? samples[i - 1] : 0)));
  }
  Write("a", LittleEndian(samples));
  const Table table = TableOf("zelstat --samples a");
  EXPECT_EQ(table.title, "a: raw samples (60000 bytes)");
  EXPECT_EQ(table.coders, kSampleCoders);
  const size_t floor = table.bytes.at("order-0 entropy");
  EXPECT_EQ(floor, Entropy(differences));
  EXPECT_GE(table.bytes.at("VLC"), floor);
  EXPECT_LT(table.bytes.at("VLC"), floor + floor / 50 + 400);
  EXPECT_GT(table.bytes.at("byte Huffman"), table.bytes.at("VLC"));
}

// The first sample is a difference of its own, and all others are the same one: two codes of a bit.
TEST_F(Zelstat, RampTakesABitASample) {
  std::vector<int> ramp;
  for (int i = 0; i < 16000; ++i) ramp.push_back(static_cast<int16_t>(100 + 9 * i));
  Write("a", LittleEndian(ramp));
  const size_t size = TableOf("zelstat -s a").bytes.at("VLC");
  EXPECT_GT(size, 2000u);
  EXPECT_LT(size, 2100u);
}

TEST_F(Zelstat, SamplesOfAnyValue) {
  Write("a", RandomBytes(150000, 4));
  EXPECT_EQ(TableOf("zelstat -s a").coders, kSampleCoders);
  std::vector<int> steep;  // lengths would go beyond the longest code
  for (int value = 0, count = 1; value < 24; ++value, count = count * 8 / 5 + 1) {
    for (int i = 0; i < count; ++i) steep.push_back(value * (i % 2));
  }
  Write("b", LittleEndian(steep));
  EXPECT_EQ(TableOf("zelstat -s b").coders, kSampleCoders);
  for (const size_t size : {2, 3, 4, 5}) {
    Write("c", Bytes(size, 0xFE));
    EXPECT_EQ(TableOf("zelstat -s c").title, "c: raw samples (" + std::to_string(size / 2 * 2) + " bytes)");
  }
}

TEST_F(Zelstat, WaveFiles) {
  const Bytes data = LittleEndian(Wander(20000, 2));
  Write("raw", data);
  Write("mono.wav", WaveFile(data, 1, 16));
  Write("piped.wav", WaveFile(data, 1, 16, false));
  Write("stereo.wav", WaveFile(data, 2, 16));
  const Table raw = TableOf("zelstat -s raw");
  const Table mono = TableOf("zelstat -s mono.wav");
  EXPECT_EQ(mono.title, "mono.wav: WAV, 1 channel (40000 bytes)");
  EXPECT_EQ(mono.bytes, raw.bytes);
  EXPECT_EQ(TableOf("zelstat -s piped.wav").bytes, raw.bytes);
  const Table stereo = TableOf("zelstat -s stereo.wav");
  EXPECT_EQ(stereo.title, "stereo.wav: WAV, 2 channels (40000 bytes)");
  EXPECT_GT(stereo.bytes.at("order-0 entropy"), raw.bytes.at("order-0 entropy"));  // two steps apart
}

TEST_F(Zelstat, WaveFilesWithout16BitSamplesAreRaw) {
  const Bytes data = LittleEndian(Wander(500, 3));
  const Bytes whole = WaveFile(data, 1, 16);
  Write("eight.wav", WaveFile(data, 1, 8));
  EXPECT_NE(TableOf("zelstat -s eight.wav").title.find(": raw samples"), std::string::npos);
  for (const size_t size : {2, 11, 12, 19, 20, 35, 36, 44, 57, 58, 59, 60, 61, 69}) {
    Write("cut.wav", Front(whole, size));
    const std::string kind = size < 60 ? "raw samples" : "WAV, 1 channel";
    EXPECT_EQ(TableOf("zelstat -s cut.wav").title.substr(0, 9 + kind.size()), "cut.wav: " + kind) << size;
  }
}

TEST_F(Zelstat, ChartHasABarACoder) {
  Write("a", Text(5000, 4));
  Write("b<&>\"'\xC3\xA4", Bytes(3000, 7));
  const Outcome outcome = Run("umask 022; zelstat --svg=chart.svg a b*");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(TablesOf(outcome.out).size(), 2u);
  const std::string picture = ReadText("chart.svg");
  EXPECT_EQ(picture.substr(0, 5), "<svg ");
  const std::vector<std::string> elements = ElementsOf(picture);
  EXPECT_EQ(std::count(elements.begin(), elements.end(), "rect"), 1 + 2 * 5);
  for (const std::string& coder : kByteCoders) EXPECT_NE(picture.find(">" + coder + "<"), std::string::npos) << coder;
  EXPECT_NE(picture.find(">b&lt;&amp;&gt;\"'?"
                         "?<"),
            std::string::npos);
  struct stat status {};
  ASSERT_EQ(stat(Path("chart.svg").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0644u);
}

TEST_F(Zelstat, ChartTakesThePlaceOfAnOldOne) {
  Write("a", LittleEndian(Wander(1000, 5)));
  Write("chart.svg", "old");
  EXPECT_EQ(Run("zelstat -s -g chart.svg a").status, 0);
  EXPECT_EQ(ReadText("chart.svg").substr(0, 5), "<svg ");
  EXPECT_EQ(Files(), (std::vector<std::string>{"a", "chart.svg"}));
}

TEST_F(Zelstat, ChartThatCannotBeWritten) {
  Write("a", Text(1000, 6));
  ASSERT_EQ(Run("mkdir there").status, 0);
  for (const char* const path : {"none/chart.svg", "there"}) {
    const Outcome outcome = Run(std::string("zelstat -g ") + path + " a");
    EXPECT_EQ(outcome.status, 1) << path;
    EXPECT_EQ(TablesOf(outcome.out).size(), 1u);
    EXPECT_EQ(outcome.err.find(std::string("zelstat: ") + path + ": "), 0u) << outcome.err;
  }
  EXPECT_EQ(Files(), (std::vector<std::string>{"a", "there"}));
}

TEST_F(Zelstat, OtherFilesAreMeasuredWhenOneFails) {
  Write("a", Text(1000, 7));
  Write("empty", "");
  ASSERT_EQ(Run("mkdir there").status, 0);
  const Outcome failed = Run("zelstat none there empty a");
  EXPECT_EQ(failed.status, 1);
  EXPECT_EQ(failed.err,
            "zelstat: none: No such file or directory\nzelstat: there: Is a directory\n"
            "zelstat: empty: is empty -- ignored\n");
  EXPECT_EQ(TablesOf(failed.out).size(), 1u);
  const Outcome warned = Run("zelstat empty a");
  EXPECT_EQ(warned.status, 2);
  EXPECT_EQ(TablesOf(warned.out).size(), 1u);
  EXPECT_EQ(Run("zelstat -g chart.svg empty").status, 2);
  EXPECT_EQ(Run("zelstat -s empty").err, "zelstat: empty: has no samples -- ignored\n");
  EXPECT_EQ(Files(), (std::vector<std::string>{"a", "empty", "there"}));
}

TEST_F(Zelstat, LargestFile) {
  ASSERT_EQ(Run("truncate -s 67108865 a").status, 0);
  const Outcome outcome = Run("zelstat a");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "zelstat: a: has more than 64 MiB\n");
}

TEST_F(Zelstat, FullStandardOutputIsAnError) {
  Write("a", Text(1000, 8));
  const Outcome outcome = Run("zelstat a >/dev/full");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "zelstat: stdout: No space left on device\n");
}

TEST_F(Zelstat, MistakesOnTheCommandLine) {
  for (const char* const block : {"0", "-1", "", "K", "4097K", "5M", "12x", "99999999999"}) {
    const Outcome outcome = Run(std::string("zelstat --block='") + block + "' a");
    EXPECT_EQ(outcome.status, 1) << block;
    EXPECT_EQ(outcome.err, std::string("zelstat: invalid block size '") + block + "'\n");
  }
  const Outcome unknown = Run("zelstat --unknown");
  EXPECT_EQ(unknown.status, 1);
  EXPECT_EQ(unknown.err, "zelstat: unrecognized option '--unknown'\nTry `zelstat --help' for more information.\n");
  EXPECT_EQ(unknown.out, "");
}

TEST_F(Zelstat, HelpAndVersion) {
  const Outcome help = Run("zelstat --help");
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.out.find("Usage: zelstat [OPTION]... [FILE]...\n"), 0u);
  for (const char* const option : {"--block", "--svg", "--samples", "--help", "--version"}) {
    EXPECT_NE(help.out.find(option), std::string::npos) << option;
  }
  EXPECT_EQ(Run("zelstat -V").out.find("zelstat (zeldc "), 0u);
}

TEST_F(Zelstat, WhatDoesNotComeBackIsAnError) {
#ifdef ZELDC_SANITIZED
  GTEST_SKIP() << "nothing goes in front of the sanitizer";
#endif
  Write("a", Text(1000, 9));
  const Outcome outcome = Run("LD_PRELOAD=" WRONG_HUFFMAN " zelstat a");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "zelstat: a: byte Huffman does not give it back\n");
  EXPECT_NE(outcome.out.find("MISMATCH"), std::string::npos);
  EXPECT_EQ(TablesOf(outcome.out).at(0).coders, kByteCoders);
}

}  // namespace
}  // namespace zeldc_test
