// The command line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zelstat {

inline constexpr const char* kProgramName = "zelstat";
inline constexpr int32_t kLargestBlock = 4 << 20;

struct Options {
  bool samples = false;
  int32_t block = 64 << 10;        // bytes of a block of the interval transformation
  std::string chart;               // path of the SVG file; empty for none
  std::vector<std::string> files;  // "-" is standard input; never empty
};

// Reads the command line. When there is nothing left to do, because help was asked for or because of a mistake, it ends
// the program.
Options ParseOptions(int argc, char** argv);

}  // namespace zelstat
