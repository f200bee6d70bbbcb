// Digests everything that the encoders write for the fixed inputs, under several conditions that must not matter, and
// compares the result with the one on record.
//
// Usage: test_digest FILE [--write | FAMILY...]
//
// FILE holds a line for each family and one for all of them. With --write it is written instead; with names of families
// only those are looked at. Exit status: 0 if all are equal, 1 if not.

#include <inttypes.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core.h"
#include "families.h"

namespace zeldc_digest {

namespace {

using Lines = std::map<std::string, std::string>;

std::string Text(uint64_t digest) {
  char text[17];
  snprintf(text, sizeof text, "%016" PRIx64, digest);
  return text;
}

// What a family's output is under all conditions; nothing if they matter, or if the thread count can't be set.
std::optional<uint64_t> DigestOf(const Family& family, bool* can_run) {
  static constexpr Conditions kConditions[] = {{0x00, true, 1}, {0xA5, false, 2}, {0xA5, true, 3}, {0x00, false, 8}};
  std::optional<uint64_t> digest;
  *can_run = true;
  for (Conditions conditions : kConditions) {
    if (family.threads != 0) conditions.threads = family.threads;
    if (!SetConditions(conditions) && family.threads != 0) {
      *can_run = false;
      return std::nullopt;
    }
    Run run = {conditions, {}};
    family.digest(run);
    if (digest.has_value() && *digest != run.digest.value()) {
      printf("%s: %s in fresh aligned memory with one thread, but %s in memory of 0x%02X, %s, with %d threads\n",
             family.name, Text(*digest).c_str(), Text(run.digest.value()).c_str(), conditions.fill,
             conditions.aligned ? "aligned" : "unaligned", static_cast<int>(conditions.threads));
      return std::nullopt;
    }
    digest = run.digest.value();
  }
  return digest;
}

Lines Read(const char* path) {
  Lines lines;
  FILE* const file = fopen(path, "r");
  if (file == nullptr) return lines;
  char name[100], digest[100];
  while (fscanf(file, "%99s %99s", name, digest) == 2) lines[name] = digest;
  fclose(file);
  return lines;
}

bool Write(const char* path, const std::string& text) {
  FILE* const file = fopen(path, "wb");
  if (file == nullptr) return false;
  const bool is_whole = fwrite(text.data(), 1, text.size(), file) == text.size();
  return fclose(file) == 0 && is_whole;
}

int Main(const char* path, bool write, const std::vector<std::string>& only) {
  const Lines recorded = Read(path);
  std::string output, different;
  Digest all;
  bool is_complete = only.empty(), is_one = true;
  const auto compare = [&](const std::string& name, const std::string& digest) {
    output += name + " " + digest + "\n";
    printf("%-24s %s\n", name.c_str(), digest.c_str());
    const auto line = recorded.find(name);
    if (line == recorded.end() || line->second != digest) different += " " + name;
  };
  for (const Family& family : kFamilies) {
    if (!only.empty() && std::find(only.begin(), only.end(), family.name) == only.end()) continue;
    bool can_run = true;
    const std::optional<uint64_t> digest = DigestOf(family, &can_run);
    if (!digest.has_value()) is_complete = false;
    if (!can_run) {
      printf("%-24s left out: the number of threads can't be set\n", family.name);
      if (kOwnsCore) return 1;
    } else if (!digest.has_value()) {
      is_one = false;
    } else {
      all.Number(*digest);
      compare(family.name, Text(*digest));
    }
  }
  if (is_complete) compare("all", Text(all.value()));
  if (!is_one) {
    printf("\nThe output of the families above depends on more than input and arguments: that is a fault.\n");
    return 1;
  }
  if (write) {
    if (!is_complete) {
      printf("\nNot written: not every family could run.\n");
      return 1;
    }
    return Write(path, output) ? 0 : 1;
  }
  if (!different.empty()) {
    printf(
        "\nWhat the encoders write is not what %s has on record, in:%s\n"
        "If that is meant, renew the file with\n"
        "  test_digest %s --write\n"
        "and say in CHANGELOG.md, in one line, whose output has changed and why. If not, it is a fault.\n",
        path, different.c_str(), path);
    return 1;
  }
  return 0;
}

}  // namespace

}  // namespace zeldc_digest

int main(int argc, char** argv) {
  if (argc < 2) {
    fprintf(stderr, "usage: test_digest FILE [--write | FAMILY...]\n");
    return 1;
  }
  const bool write = argc == 3 && strcmp(argv[2], "--write") == 0;
  const std::vector<std::string> only(argv + 2, argv + (write ? 2 : argc));
  return zeldc_digest::Main(argv[1], write, only);
}
