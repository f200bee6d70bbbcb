// The command line.
#pragma once

#include <string>
#include <vector>

namespace zellzop {

inline constexpr const char* kProgramName = "zellzop";

enum class Action { kCompress, kDecompress, kTest, kList };
enum class Check { kNone, kAdler32, kCrc32 };

struct Options {
  Action action = Action::kCompress;
  int level = 3;
  Check check = Check::kAdler32;  // with kNone, decompression verifies none either
  bool parallel = false;
  bool toStdout = false;
  std::string output;  // -o: the one file for everything; empty without it
  bool unlink = false;
  int force = 0;  // how often it was given
  bool restoreName = false;
  bool restoreMode = true;
  bool restoreTime = true;
  std::string suffix = ".lzo";
  int verbose = 0;
  bool quiet = false;
  bool warn = true;
  bool failOnWarnings = true;
  std::vector<std::string> files;  // "-" is standard input; never empty
};

// Reads the command line. When there is nothing left to do, because help was asked for or because of a mistake, it ends
// the program.
Options ParseOptions(int argc, char** argv);

}  // namespace zellzop
