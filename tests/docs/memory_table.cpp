// The table of what records and buffers take, from the library's own answers.
//
// Usage: memory_table [PAGE]
//
// Prints the table. With a page (docs/memory.md) it prints nothing if the page has the table, and else what is missing.

#include <zelcore.h>
#include <zeldc.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

int32_t threads = 1;

struct Row {
  const char* what;
  const char* asked;
  std::string bytes;
};

std::string Grouped(int64_t number) {
  std::string text = std::to_string(number);
  for (size_t i = text.size(); i > 3; i -= 3) text.insert(i - 3, ",");
  return text;
}

// The size that a GetSize function answers for these arguments.
template <typename... Parameters, typename... Arguments>
std::string Size(zelStatus (*function)(Parameters...), Arguments... arguments) {
  int32_t size = 0;
  const zelStatus status = function(arguments..., &size);
  return status < 0 ? "status " + std::to_string(status) : Grouped(size);
}

std::string LzoSize(int32_t count, uint32_t length) {
  threads = count;
  return Size(zelsEncodeLZOGetSize, zelLZOMethodParallel, length);
}

std::vector<Row> Rows() {
  constexpr int32_t kBlock = 900000;
  // A code of 300 values with up to 20 bits: 0, 10, 110 and so on, and behind 11 ones 10 bits for the others.
  std::vector<zelVLCCode> codes;
  for (int32_t i = 0; i < 10; ++i) codes.push_back({i, (2 << i) - 2, i + 1});
  for (int32_t i = 10; i < 300; ++i) codes.push_back({i, 0x3FF << 10 | i, 20});
  const auto values = static_cast<int32_t>(codes.size());
  static const int32_t widths[] = {10, 10};

  // A public record may have pointers: it alone differs between builds.
  const bool layout = sizeof(zelInflateState) == (sizeof(void*) == 8 ? 8240 : 8232);
  return {
      {"Deflate encoder", "zelsEncodeLZ77GetSize_8u", Size(zelsEncodeLZ77GetSize_8u)},
      {"Inflate decoder", "zelsDecodeLZ77GetSize_8u", Size(zelsDecodeLZ77GetSize_8u)},
      {"one-call inflate", "sizeof(zelInflateState)", layout ? "8,240; 8,232 on 32-bit builds" : "another size"},
      {"run lengths of bzip2", "zelsRLEGetSize_BZ2_8u", Size(zelsRLEGetSize_BZ2_8u)},
      {"move-to-front", "zelsMTFGetSize_8u", Size(zelsMTFGetSize_8u)},
      {"transform, block of 900,000", "zelsBWTFwdGetSize_8u", Size(zelsBWTFwdGetSize_8u, kBlock)},
      {"inverse, block of 900,000", "zelsBWTInvGetSize_8u", Size(zelsBWTInvGetSize_8u, uint32_t{kBlock})},
      {"either, block of 32,768", "zelsBWTGetSize_SmallBlock_8u", Size(zelsBWTGetSize_SmallBlock_8u, 32768)},
      {"bzip2 Huffman encoder, 900,000 symbols", "zelsEncodeHuffGetSize_BZ2_16u8u",
       Size(zelsEncodeHuffGetSize_BZ2_16u8u, kBlock)},
      {"bzip2 Huffman decoder, 900,000 symbols", "zelsDecodeHuffGetSize_BZ2_8u16u",
       Size(zelsDecodeHuffGetSize_BZ2_8u16u, kBlock)},
      {"the same for any stream", "zelsDecodeHuffGetSize_BZ2_8u16u", Size(zelsDecodeHuffGetSize_BZ2_8u16u, 1638350)},
      {"byte Huffman", "zelsHuffGetSize_8u", Size(zelsHuffGetSize_8u)},
      {"interval encoder, block of 64 KiB", "zelsEncodeGITGetSize_8u", Size(zelsEncodeGITGetSize_8u, 65536, 73728)},
      {"interval encoder, block of 1 MiB", "zelsEncodeGITGetSize_8u", Size(zelsEncodeGITGetSize_8u, 1 << 20, 9 << 17)},
      {"interval decoder, blocks of any size", "zelsDecodeGITGetSize_8u", Size(zelsDecodeGITGetSize_8u, 1)},
      {"VLC encoder, values 0 to 299", "zelsVLCEncodeGetSize_32s",
       Size(zelsVLCEncodeGetSize_32s, codes.data(), values)},
      {"VLC decoder, widths 10 and 10", "zelsVLCDecodeGetSize_32s",
       Size(zelsVLCDecodeGetSize_32s, codes.data(), values, widths, 2)},
      {"VLC decoder for pairs of 10 bits", "zelsVLCDecodeUTupleGetSize_32s",
       Size(zelsVLCDecodeUTupleGetSize_32s, codes.data(), values, widths, 2, 2, 10)},
      {"LZSS, either direction", "zelsLZSSGetSize_8u", Size(zelsLZSSGetSize_8u)},
      {"LZO encoder, one thread", "zelsEncodeLZOGetSize", LzoSize(1, 1 << 20)},
      {"LZO encoder, 4 threads, inputs of 1 MiB", "zelsEncodeLZOGetSize", LzoSize(4, 1 << 20)},
  };
}

std::string Table() {
  std::string table = "| Record or buffer | Asked by | Bytes |\n|---|---|---:|\n";
  for (const Row& row : Rows()) {
    table += std::string("| ") + row.what + " | `" + row.asked + "` | " + row.bytes + " |\n";
  }
  return table;
}

}  // namespace

extern "C" int32_t ownGetNumThreads(void) { return threads; }

int main(int argc, char** argv) {
  const std::string table = Table();
  if (argc == 1) {
    std::fputs(table.c_str(), stdout);
    return 0;
  }
  std::ifstream page(argv[1]);
  const std::string text(std::istreambuf_iterator<char>(page), {});
  if (text.find("\n\n" + table + "\n") != std::string::npos) return 0;
  std::printf("%s does not have this table:\n%s", argv[1], table.c_str());
  return 1;
}
