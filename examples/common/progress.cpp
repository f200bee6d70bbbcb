#include "common/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace example {

namespace {

constexpr auto kFirstDrawingAfter = std::chrono::milliseconds(1000);
constexpr auto kDrawingInterval = std::chrono::milliseconds(100);
constexpr size_t kNameWidth = 24;
constexpr size_t kBarWidth = 30;

size_t TerminalWidth() {
  winsize size{};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 80;
  return size.ws_col;
}

}  // namespace

Progress::Progress(std::string name, uint64_t total, bool wanted)
    : name_(std::move(name)),
      total_(total),
      enabled_(wanted && isatty(STDERR_FILENO) == 1),
      start_(Clock::now()),
      nextDrawing_(start_ + kFirstDrawingAfter) {}

void Progress::Finish() {
  if (visible_) std::fputs("\r\033[K", stderr);
  enabled_ = visible_ = false;
}

void Progress::Show(uint64_t done) {
  if (!enabled_) return;
  const Clock::time_point now = Clock::now();
  if (now < nextDrawing_) return;
  const std::chrono::duration<double> elapsed = now - start_;
  // The last column stays free: a terminal would begin a new line behind it.
  const std::string line = ProgressLine(name_, done, total_, elapsed.count(), TerminalWidth() - 1);
  std::fprintf(stderr, "\r%s\033[K", line.c_str());
  std::fflush(stderr);
  visible_ = true;
  nextDrawing_ = now + kDrawingInterval;
}

bool WantsBar(bool quiet, bool writesToStdout) { return !quiet && !(writesToStdout && isatty(STDOUT_FILENO) == 1); }

std::string ProgressLine(const std::string& name, uint64_t done, uint64_t total, double seconds, size_t width) {
  std::string line = name.size() <= kNameWidth ? name : "..." + name.substr(name.size() - (kNameWidth - 3));
  if (total > 0) {
    const double part = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
    const size_t filled = static_cast<size_t>(part * kBarWidth);
    char percent[16];
    std::snprintf(percent, sizeof percent, "] %3d%%", static_cast<int>(part * 100));
    line += " [" + std::string(filled, '=') + std::string(kBarWidth - filled, ' ') + percent;
  }
  char amount[64];
  const double megabytes = static_cast<double>(done) / 1e6;
  std::snprintf(amount, sizeof amount, " %.1f MB %.1f MB/s", megabytes, seconds > 0 ? megabytes / seconds : 0.0);
  line += amount;
  if (line.size() > width) line.resize(width);
  return line;
}

}  // namespace example
