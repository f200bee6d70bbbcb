#include "zellzop/listing.h"

#include <cstdio>
#include <ctime>

namespace zellzop {

namespace {

double Percent(const BlockSums& sums) {
  return sums.data == 0 ? 0 : 100 * static_cast<double>(sums.compressed) / static_cast<double>(sums.data);
}

std::string DateAndTime(uint64_t time) {
  const time_t seconds = static_cast<time_t>(time);
  char text[32] = "";
  if (const tm* const local = std::localtime(&seconds)) std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", local);
  return text;
}

using Long = unsigned long long;

}  // namespace

std::string MethodName(const MemberHeader& header) {
  return header.method == kLzo1x1 ? "LZO1X-1" : header.method == kLzo1x1Of15Bits ? "LZO1X-1(15)" : "LZO1X-999";
}

void Listing::Print(const std::string& method, const BlockSums& sums, uint64_t time, const std::string& name) {
  const Long data = sums.data, compressed = sums.compressed;
  if (lines_++ == 0 && !quiet_) {
    if (verbose_) {
      std::puts("Method         Length    Packed  Ratio     Date    Time   Name");
      std::puts("------         ------    ------  -----     ----    ----   ----");
    } else {
      std::puts("method      compressed  uncompr. ratio uncompressed_name");
    }
  }
  if (verbose_) {
    std::printf("%-11s%10llu%10llu%6.1f%%  %16s  %s\n", method.c_str(), data, compressed, Percent(sums),
                DateAndTime(time).c_str(), name.c_str());
  } else {
    std::printf("%-11s%10llu%10llu%6.1f%% %s\n", method.c_str(), compressed, data, Percent(sums), name.c_str());
  }
  totals_.data += sums.data;
  totals_.compressed += sums.compressed;
}

void Listing::PrintTotals() {
  if (lines_ < 2 || quiet_) return;
  const Long data = totals_.data, compressed = totals_.compressed;
  if (verbose_) {
    std::puts("              -------   -------  -----                    ----");
    std::printf("%21llu%10llu%6.1f%%  %16s  %d files\n", data, compressed, Percent(totals_), "", lines_);
  } else {
    std::printf("%21llu%10llu%6.1f%% (totals -- %d files)\n", compressed, data, Percent(totals_), lines_);
  }
}

}  // namespace zellzop
