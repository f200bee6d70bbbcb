// The command line.
#pragma once

#include <string>
#include <vector>

namespace zelzlib {

inline constexpr const char* kProgramName = "zelzlib";
inline constexpr const char* kSuffix = ".zz";

enum class Action { kCompress, kDecompress, kTest };

struct Options {
  Action action = Action::kCompress;
  int level = 6;
  int windowBits = 15;
  bool toStdout = false;
  bool keep = false;
  bool force = false;
  bool quiet = false;
  std::string output;              // empty: after the input
  std::string dictionary;          // a file; empty: none
  std::vector<std::string> files;  // "-" is standard input; never empty
};

// Reads the command line. When there is nothing left to do, because help was asked for or because of a mistake, it ends
// the program.
Options ParseOptions(int argc, char** argv);

}  // namespace zelzlib
