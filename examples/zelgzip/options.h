// The command line.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "zeldc.h"

namespace zelgzip {

inline constexpr const char* kProgramName = "zelgzip";

enum class Action { kCompress, kDecompress, kTest, kList };

struct Options {
  Action action = Action::kCompress;
  zelLZ77Level level = zelLZ77LevelNormal;
  bool toStdout = false;
  bool keep = false;
  bool force = false;
  bool recursive = false;
  bool verbose = false;
  bool quiet = false;
  std::optional<bool> name;  // -N or -n; without either, compressing keeps the name and decompressing ignores it
  std::string suffix = ".gz";
  std::vector<std::string> files;  // "-" is standard input; never empty
};

// Reads the command line. When there is nothing left to do, because help was asked for or because of a mistake, it ends
// the program.
Options ParseOptions(int argc, char** argv);

}  // namespace zelgzip
