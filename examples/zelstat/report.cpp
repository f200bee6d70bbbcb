#include "zelstat/report.h"

#include <cinttypes>
#include <cstdio>

namespace zelstat {

namespace {

// A line's column, with blanks where there is nothing to tell.
std::string Speed(uint64_t bytes, double seconds) {
  if (seconds <= 0) return "";
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", static_cast<double>(bytes) / seconds / 1e6);
  return text;
}

}  // namespace

void Print(const FileResults& file) {
  std::printf("%s (%" PRIu64 " bytes)\n", file.name.c_str(), file.bytes);
  std::printf("%-18s %12s %8s %14s %14s\n", "coder", "bytes", "ratio", "encode MB/s", "decode MB/s");
  for (const Result& result : file.results) {
    const double percent = 100.0 * static_cast<double>(result.bytes) / static_cast<double>(file.bytes);
    std::string line(120, '\0');
    const int length = std::snprintf(
        line.data(), line.size(), "%-18s %12" PRIu64 " %7.1f%% %14s %14s", result.coder.c_str(), result.bytes, percent,
        Speed(file.bytes, result.encodeSeconds).c_str(), Speed(file.bytes, result.decodeSeconds).c_str());
    line.resize(static_cast<size_t>(length));
    if (!result.remark.empty()) line += "  " + result.remark;
    if (!result.comesBack) line += "  MISMATCH";
    line.erase(line.find_last_not_of(' ') + 1);
    std::puts(line.c_str());
  }
}

}  // namespace zelstat
