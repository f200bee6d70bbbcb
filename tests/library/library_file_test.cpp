// What the built library exports, imports and contains, read from the file.

#include <stdio.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "gtest/gtest.h"

namespace {

using Names = std::set<std::string>;

std::vector<std::string> LinesOf(const std::string& command) {
  FILE* const pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error(command);
  std::string text;
  char buffer[4096];
  for (size_t n = 0; (n = fread(buffer, 1, sizeof(buffer), pipe)) > 0;) text.append(buffer, n);
  if (pclose(pipe) != 0) throw std::runtime_error(command);
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::string TextOf(const std::filesystem::path& file) {
  std::ifstream stream(file);
  if (!stream) throw std::runtime_error("no " + file.string());
  return std::string(std::istreambuf_iterator<char>(stream), {});
}

Names AllMatches(const std::string& text, const char* pattern) {
  const std::regex regex(pattern);
  Names names;
  for (std::sregex_iterator i(text.begin(), text.end(), regex), end; i != end; ++i) names.insert((*i)[1]);
  return names;
}

// The names in the export map's global part.
Names MapNames() {
  const std::string text = TextOf(EXPORT_MAP);
  const size_t start = text.find("global:") + 7;
  return AllMatches(text.substr(start, text.find("local:") - start), "(\\w+);");
}

// The functions that the public headers declare.
Names HeaderNames() {
  Names names;
  for (const auto& entry : std::filesystem::directory_iterator(HEADER_DIR)) {
    names.merge(AllMatches(TextOf(entry.path()), "ZELDC_API [^;()]*?(zel\\w+)\\("));
  }
  return names;
}

struct Symbol {
  std::string address;  // empty when undefined
  char type;
};

// A file's dynamic symbols, without the versions of imported ones.
std::map<std::string, Symbol> DynamicSymbols(const std::string& file = LIBRARY_FILE) {
  std::map<std::string, Symbol> symbols;
  for (const std::string& line : LinesOf(NM " -D " + file)) {
    std::istringstream stream(line);
    std::vector<std::string> words{std::istream_iterator<std::string>(stream), {}};
    if (words.size() == 2) words.insert(words.begin(), "");
    if (words.size() != 3) throw std::runtime_error("nm: " + line);
    symbols[words[2].substr(0, words[2].find('@'))] = {words[0], words[1].at(0)};
  }
  return symbols;
}

// The values of one kind of entry of the dynamic section.
Names DynamicEntries(const std::string& kind) {
  std::string text;
  for (const std::string& line : LinesOf(READELF " -d -W " LIBRARY_FILE)) {
    if (line.find("(" + kind + ")") != std::string::npos) text += line + "\n";
  }
  return AllMatches(text, "\\[(.*)\\]");
}

// Types of undefined symbols: U required, w and v may stay unresolved (the compiler's own start-up code).
Names RequiredImports() {
  Names names;
  for (const auto& [name, symbol] : DynamicSymbols()) {
    if (symbol.type == 'U') names.insert(name);
  }
  return names;
}

void ExpectOneAddress(const std::vector<std::string>& names) {
  const auto symbols = DynamicSymbols();
  for (const std::string& name : names) {
    ASSERT_TRUE(symbols.count(name)) << name;
    EXPECT_EQ(symbols.at(name).address, symbols.at(names[0]).address) << name;
  }
}

std::vector<std::string> ObjectFiles() {
  std::vector<std::string> files;
  std::istringstream stream(TextOf(OBJECT_LIST));
  for (std::string file; std::getline(stream, file);) files.push_back(file);
  return files;
}

struct Section {
  std::string name;
  size_t size;
  std::string flags;
};

std::vector<Section> SectionsOf(const std::string& object) {
  // [ 1] .text PROGBITS 0000000000000000 000040 000123 00 AX 0 0 16; without flags a column is missing
  static const std::regex kLine(
      "\\s*\\[ *\\d+\\]\\s+(\\.\\S+)\\s+\\S+\\s+\\S+\\s+\\S+\\s+(\\S+)\\s+\\S+\\s+([A-Z]*).*");
  std::vector<Section> sections;
  for (const std::string& line : LinesOf(READELF " -S -W " + object)) {
    std::smatch match;
    if (std::regex_match(line, match, kLine)) {
      sections.push_back({match[1], std::stoul(match[2], nullptr, 16), match[3]});
    }
  }
  return sections;
}

}  // namespace

TEST(LibraryFile, ExportsTheNamesOfTheMapAndNothingElse) {
  Names exported;
  for (const auto& [name, symbol] : DynamicSymbols()) {
    if (!symbol.address.empty()) exported.insert(name);
  }
  EXPECT_EQ(exported, MapNames());
}

TEST(LibraryFile, MapHoldsTheFunctionsOfThePublicHeaders) { EXPECT_EQ(MapNames(), HeaderNames()); }

TEST(LibraryFile, EveryExportIsCalledByTheProgramInC) {
  Names called;
  for (const auto& [name, symbol] : DynamicSymbols(C_CALLER)) {
    if (symbol.type == 'U' && name.rfind("zel", 0) == 0) called.insert(name);
  }
  EXPECT_EQ(called, MapNames());
}

TEST(LibraryFile, SonameHasTheMajorVersion) { EXPECT_EQ(DynamicEntries("SONAME"), Names{"libzeldc.so.6"}); }

TEST(LibraryFile, NeedsLibcZelcoreAndTheOpenMPRunTimeOnly) {
  Names needed = DynamicEntries("NEEDED");
  EXPECT_EQ(needed.erase("libc.so.6"), 1u);
  EXPECT_EQ(needed.erase("libzelcore.so"), 1u);
  EXPECT_EQ(needed.erase("libgomp.so.1") + needed.erase("libomp.so.5"), 1u);  // GCC's or Clang's
  EXPECT_EQ(needed, Names{});
}

TEST(LibraryFile, ImportsTheThreeOfZelcoreByName) {
  const Names imports = RequiredImports();
  for (const char* name : {"zelMalloc", "zelFree", "ownGetNumThreads"}) EXPECT_TRUE(imports.count(name)) << name;
}

TEST(LibraryFile, ImportsNothingButMemoryAndOpenMPFunctionsOtherwise) {
  // bcmp is what Clang makes of a memcmp whose sign nobody asks for.
  const std::regex allowed(
      "zelMalloc|zelFree|ownGetNumThreads|(GOMP|__kmpc|omp)_\\w+|mem(cpy|move|set|cmp|chr)|__mem(cpy|move|set)_chk|"
      "bcmp|"
      "__stack_chk_fail|___tls_get_addr");
  for (const std::string& name : RequiredImports()) EXPECT_TRUE(std::regex_match(name, allowed)) << name;
}

TEST(LibraryFile, FreeIsOneFunctionUnderEightNames) {
  ExpectOneAddress({"zelsLZ77Free_8u", "zelsDecodeHuffFree_BZ2_8u16u", "zelsEncodeHuffFree_BZ2_16u8u", "zelsGITFree_8u",
                    "zelsHuffFree_8u", "zelsLZSSFree_8u", "zelsMTFFree_8u", "zelsRLEFree_BZ2_8u"});
}

TEST(LibraryFile, RecordAccessIsOneFunctionForEncoderAndDecoder) {
  for (const char* name : {"GetStatus_8u", "GetPairs_8u", "SetPairs_8u"}) {
    ExpectOneAddress({std::string("zelsEncodeLZ77") + name, std::string("zelsDecodeLZ77") + name});
  }
}

TEST(LibraryFile, ObjectsHaveNoStartUpCode) {
  size_t sections = 0;
  for (const std::string& object : ObjectFiles()) {
    for (const Section& section : SectionsOf(object)) {
      ++sections;
      for (const char* prefix : {".init", ".ctors", ".preinit_array", ".fini", ".dtors"}) {
        EXPECT_NE(section.name.rfind(prefix, 0), 0u) << section.name << " in " << object;
      }
    }
  }
  EXPECT_GT(sections, ObjectFiles().size());
}

// Data that only the loader writes (.data.rel.ro: addresses in constants) does not count.
TEST(LibraryFile, ObjectsHaveNoWritableData) {
  bool saw_text = false;
  for (const std::string& object : ObjectFiles()) {
    for (const Section& section : SectionsOf(object)) {
      saw_text |= section.name == ".text" && section.size > 0 && section.flags == "AX";
      if (section.flags.find('W') == std::string::npos || section.name.rfind(".data.rel.ro", 0) == 0) continue;
      EXPECT_EQ(section.size, 0u) << section.name << " in " << object;
    }
  }
  EXPECT_TRUE(saw_text);
}
