// The command line.
#pragma once

#include <string>
#include <vector>

namespace zelbzip2 {

inline constexpr const char* kProgramName = "zelbzip2";

enum class Action { kCompress, kDecompress, kTest };

struct Options {
  Action action = Action::kCompress;
  int level = 9;
  unsigned threads = 1;
  bool toStdout = false;
  bool keep = false;
  bool force = false;
  bool verbose = false;
  bool quiet = false;
  std::vector<std::string> files;  // "-" is standard input; never empty
};

// Reads the command line. When there is nothing left to do, because help was asked for or because of a mistake, it ends
// the program.
Options ParseOptions(int argc, char** argv);

}  // namespace zelbzip2
