// The pages hold together: every function is on the page of its family, links lead somewhere, and programs that pages
// quote are those that are tested.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

const fs::path kRoot = PROJECT_DIR;

std::string TextOf(const fs::path& file) {
  std::ifstream stream(file);
  if (!stream) throw std::runtime_error("no " + file.string());
  return std::string(std::istreambuf_iterator<char>(stream), {});
}

std::vector<std::string> AllMatches(const std::string& text, const char* pattern) {
  const std::regex regex(pattern);
  std::vector<std::string> found;
  for (std::sregex_iterator i(text.begin(), text.end(), regex), end; i != end; ++i) found.push_back((*i)[1]);
  return found;
}

std::vector<fs::path> Pages() {
  std::vector<fs::path> pages = {kRoot / "README.md", kRoot / "CONTRIBUTING.md", kRoot / "CHANGELOG.md"};
  for (const auto& entry : fs::recursive_directory_iterator(kRoot / "docs")) {
    if (entry.path().extension() == ".md") pages.push_back(entry.path());
  }
  return pages;
}

// The pages that have tables of functions, each with the headers that it names as its own.
std::map<fs::path, std::set<std::string>> FamilyPages() {
  std::map<fs::path, std::set<std::string>> pages;
  for (const auto& entry : fs::directory_iterator(kRoot / "docs/families")) {
    const std::string text = TextOf(entry.path());
    const size_t start = text.find("\nHeader");
    const std::string headers = text.substr(start, text.find("\n\n", start) - start);
    for (const std::string& header : AllMatches(headers, "`(zeldc/\\w+\\.h)`")) pages[entry.path()].insert(header);
  }
  pages[kRoot / "docs/conventions.md"] = {};
  for (auto& [page, headers] : pages) headers.insert("zeldc/types.h");  // the version and the release functions
  return pages;
}

std::string WithoutCode(const std::string& text) {
  std::string prose, line;
  bool code = false;
  for (std::istringstream lines(text); std::getline(lines, line);) {
    if (line.starts_with("```")) code = !code;
    if (!code) prose += line + "\n";
  }
  return prose;
}

TEST(Pages, HaveEveryFunctionInATableOfItsFamilyOnly) {
  std::map<std::string, std::set<std::string>> headers_of;
  for (const auto& entry : fs::directory_iterator(kRoot / "include/zeldc")) {
    for (const std::string& name : AllMatches(TextOf(entry.path()), "ZELDC_API [^;()]*?(zel\\w+)\\(")) {
      headers_of[name].insert("zeldc/" + entry.path().filename().string());
    }
  }
  ASSERT_EQ(headers_of.size(), 140u);

  std::map<std::string, std::set<fs::path>> pages_of;
  const auto pages = FamilyPages();
  for (const auto& [page, headers] : pages) {
    for (const std::string& cell : AllMatches(TextOf(page), "\n\\|([^|]*)\\|")) {
      for (const std::string& name : AllMatches(cell, "`(zels\\w+|zeldc\\w+)`")) {
        EXPECT_TRUE(headers_of.contains(name)) << page << " has " << name;
        pages_of[name].insert(page);
      }
    }
  }
  for (const auto& [name, headers] : headers_of) {
    ASSERT_EQ(pages_of[name].size(), 1u) << name;
    const fs::path page = *pages_of[name].begin();
    for (const std::string& header : headers) EXPECT_TRUE(pages.at(page).contains(header)) << name << " on " << page;
  }
}

TEST(Pages, LinkToFilesThatExist) {
  size_t count = 0;
  for (const fs::path& page : Pages()) {
    for (const std::string& link : AllMatches(WithoutCode(TextOf(page)), "\\]\\(([^)\\s]+)\\)")) {
      if (link.find(':') != std::string::npos) continue;
      const fs::path target = (page.parent_path() / link.substr(0, link.find('#'))).lexically_normal();
      EXPECT_TRUE(fs::exists(target)) << page << " links to " << link;
      ++count;
    }
  }
  EXPECT_GT(count, 100u);
}

TEST(Pages, AreAllOnTheStartPage) {
  const fs::path docs = kRoot / "docs";
  std::set<fs::path> linked = {docs / "index.md"};
  for (const std::string& link : AllMatches(TextOf(docs / "index.md"), "\n\\| \\[[^\\]]*\\]\\(([^)]+)\\)")) {
    linked.insert((docs / link).lexically_normal());
  }
  for (const fs::path& page : Pages()) {
    if (page.lexically_relative(docs).begin()->string() == "..") continue;
    EXPECT_TRUE(linked.contains(page)) << page;
  }
}

TEST(Pages, QuoteEveryDocumentedProgram) {
  std::multiset<std::string> quoted;
  for (const fs::path& page : Pages()) {
    for (const std::string& name : AllMatches(TextOf(page), "\n\\\\include (\\S+)\n")) quoted.insert(name);
  }
  for (const auto& entry : fs::directory_iterator(kRoot / "examples/docs")) {
    const std::string name = entry.path().filename().string();
    if (!name.ends_with(".c")) continue;
    EXPECT_EQ(quoted.count(name), 1u) << name;
  }
  for (const std::string& name : quoted) EXPECT_TRUE(fs::exists(kRoot / "examples/docs" / name)) << name;
}

TEST(Pages, ReadmeHasTheFirstProgramAsItIs) {
  EXPECT_NE(TextOf(kRoot / "README.md").find("\n```c\n" + TextOf(kRoot / "examples/docs/first.c") + "```\n"),
            std::string::npos);
}

// What the start page and README tell to do in a clone.
TEST(Pages, TellTheSameCommandsForTheFirstProgram) {
  const std::string command =
      "gcc examples/docs/first.c -I include -L build -lzeldc -lzelcore -Wl,-rpath,\"$PWD/build\" -o build/first && "
      "build/first\n";
  EXPECT_NE(TextOf(kRoot / "README.md").find(command), std::string::npos);
  EXPECT_NE(TextOf(kRoot / "docs/index.md").find(command), std::string::npos);
}

}  // namespace
