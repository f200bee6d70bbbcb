// The programs that put a file's compressed form in its place, for tests of what they have in common.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "bzip2_file.h"
#include "shell.h"
#include "support/oracle.h"

namespace zeldc_test {

struct FileProgram {
  std::string name;
  std::string suffix;
  std::string replace;  // option with which the input goes when it is done
  // What another decoder makes of a compressed file; null where there is none at hand.
  testing::AssertionResult (*gives)(const Bytes& compressed, const Bytes& data);
  std::string stdin_name;
  std::vector<std::string> long_work;  // options with which much data keeps it busy
};
inline void PrintTo(const FileProgram& program, std::ostream* out) { *out << program.name; }

inline const FileProgram kFilePrograms[] = {
    {"zelgzip", ".gz", "", UnzipsTo, "stdin", {"-9 "}},
    {"zelbzip2", ".bz2", "", BunzipsTo, "stdin", {"-p 1 ", "-p 3 "}},
    {"zellzop", ".lzo", "-U ", nullptr, "<stdin>", {"", "-q --parallel "}},
};

inline std::string ProgramName(const testing::TestParamInfo<FileProgram>& info) { return info.param.name; }

class FileProgramTest : public ShellTest, public testing::WithParamInterface<FileProgram> {
 protected:
  using Names = std::vector<std::string>;

  // The program's command with these arguments.
  static std::string Command(const std::string& arguments) { return GetParam().name + " " + arguments; }
  // The same, with the input deleted when it is done.
  static std::string Replacing(const std::string& arguments) { return Command(GetParam().replace + arguments); }
  // The name of a compressed file.
  static std::string Packed(const std::string& name) { return name + GetParam().suffix; }

  static testing::AssertionResult IsPacked(const Bytes& compressed, const Bytes& data) {
    return GetParam().gives == nullptr ? testing::AssertionSuccess() : GetParam().gives(compressed, data);
  }
};

}  // namespace zeldc_test
