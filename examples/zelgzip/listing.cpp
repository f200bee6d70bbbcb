#include "zelgzip/listing.h"

#include <cinttypes>
#include <cstdio>

namespace zelgzip {

std::string RatioText(uint64_t original, uint64_t compressed, uint64_t framingBytes) {
  const double saved = static_cast<double>(original) - static_cast<double>(compressed - framingBytes);
  char text[32];
  std::snprintf(text, sizeof text, "%5.1f%%", original > 0 ? 100.0 * saved / static_cast<double>(original) : 0.0);
  return text;
}

void Listing::Print(const Row& row) {
  if (!begun_) PrintTitle();
  if (verbose_) {
    char time[32] = "";
    if (const tm* local = localtime(&row.time)) strftime(time, sizeof time, "%b %e %H:%M", local);
    std::printf("defla %08" PRIx32 " %s ", row.crc, time);
  }
  PrintSizes(row.compressed, row.original, row.framingBytes, row.name);
  compressed_ += row.compressed;
  original_ += row.original;
  framingBytes_ += row.framingBytes;
}

void Listing::PrintTotals() {
  if (!begun_) PrintTitle();
  if (quiet_) return;
  if (verbose_) std::printf("%28s", "");
  PrintSizes(compressed_, original_, framingBytes_, "(totals)");
}

void Listing::PrintTitle() {
  begun_ = true;
  if (quiet_) return;
  if (verbose_) std::fputs("method  crc     date  time  ", stdout);
  std::puts("         compressed        uncompressed  ratio uncompressed_name");
}

void Listing::PrintSizes(uint64_t compressed, uint64_t original, uint64_t framingBytes, const std::string& name) const {
  std::printf("%19" PRIu64 " %19" PRIu64 " %s %s\n", compressed, original,
              RatioText(original, compressed, framingBytes).c_str(), name.c_str());
}

}  // namespace zelgzip
