// The table of -l.
#pragma once

#include <string>

#include "zellzop/blocks.h"

namespace zellzop {

class Listing {
 public:
  Listing(bool verbose, bool quiet) : verbose_(verbose), quiet_(quiet) {}

  // method and level as of a header; time 0: none
  void Print(const std::string& method, const BlockSums& sums, uint64_t time, const std::string& name);
  // Where there is more than one line.
  void PrintTotals();

 private:
  bool verbose_;
  bool quiet_;
  int lines_ = 0;
  BlockSums totals_;
};

// "LZO1X-1", "LZO1X-1(15)", "LZO1X-999".
std::string MethodName(const MemberHeader& header);

}  // namespace zellzop
