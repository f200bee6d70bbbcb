// What -l and -v print about sizes.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>

namespace zelgzip {

// How much smaller the data has become, as in " 63.1%". framingBytes is the part of the compressed file that is header
// and trailer.
std::string RatioText(uint64_t original, uint64_t compressed, uint64_t framingBytes);

// The table of -l.
class Listing {
 public:
  struct Row {
    std::string name;  // of the decompressed file
    uint64_t compressed = 0;
    uint64_t original = 0;
    uint64_t framingBytes = 0;
    uint32_t crc = 0;
    time_t time = 0;
  };

  Listing(bool verbose, bool quiet) : verbose_(verbose), quiet_(quiet) {}

  void Print(const Row& row);
  void PrintTotals();

 private:
  void PrintTitle();
  void PrintSizes(uint64_t compressed, uint64_t original, uint64_t framingBytes, const std::string& name) const;

  bool verbose_;
  bool quiet_;
  bool begun_ = false;
  uint64_t compressed_ = 0;
  uint64_t original_ = 0;
  uint64_t framingBytes_ = 0;
};

}  // namespace zelgzip
