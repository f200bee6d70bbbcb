// A progress bar on standard error.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace example {

// The bar of one file. It appears only when standard error is a terminal and the work takes longer than a moment, and
// is wiped away when the object goes.
class Progress {
 public:
  // total: bytes to be done, or 0 when that is not known
  Progress(std::string name, uint64_t total, bool wanted);
  ~Progress() { Finish(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Show(uint64_t done);

  // Wipes the bar away, so that messages can follow.
  void Finish();

 private:
  using Clock = std::chrono::steady_clock;

  std::string name_;
  uint64_t total_;
  bool enabled_;
  bool visible_ = false;
  Clock::time_point start_;
  Clock::time_point nextDrawing_;
};

// Whether a bar is wanted, which would be in the way of data on the same terminal.
bool WantsBar(bool quiet, bool writesToStdout);

// The line to be shown, `width` characters at most: the file's name, a bar when the total is known, the amount and
// speed.
std::string ProgressLine(const std::string& name, uint64_t done, uint64_t total, double seconds, size_t width);

}  // namespace example
