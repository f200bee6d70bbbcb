#include "zelstat/options.h"

#include <optional>
#include <string_view>

#include "common/command_line.h"

namespace zelstat {

namespace {

constexpr const char* kHelpText =
    R"(Usage: zelstat [OPTION]... [FILE]...
Code each FILE with the general entropy coders, decode it again, compare, and show sizes and speeds.

  -b, --block=SIZE  bytes of a block of the interval transformation, with K or M for their
                    multiples, 1 to 4M (default 64K)
  -g, --svg=FILE    draw the sizes into FILE, a bar a coder
  -h, --help        show this help
  -s, --samples     take FILEs for 16-bit little-endian samples, or for WAV files of them, and
                    code the differences between neighbours by codes of their own
  -V, --version     show the version

With no FILE, or when FILE is -, read standard input.
Exit status: 0 all came back as it was; 1 something did not, or a file failed; 2 warnings.
)";

const option kLongOptions[] = {{"block", required_argument, nullptr, 'b'}, {"help", no_argument, nullptr, 'h'},
                               {"samples", no_argument, nullptr, 's'},     {"svg", required_argument, nullptr, 'g'},
                               {"version", no_argument, nullptr, 'V'},     {nullptr, 0, nullptr, 0}};

const example::Syntax kSyntax = {kProgramName, kHelpText, "b:g:hsV", kLongOptions};

std::optional<int32_t> SizeOf(std::string_view text) {
  int64_t factor = 1;
  if (text.ends_with('K')) factor = 1 << 10;
  if (text.ends_with('M')) factor = 1 << 20;
  if (factor > 1) text.remove_suffix(1);
  if (text.empty() || text.size() > 7) return std::nullopt;
  int64_t size = 0;
  for (const char digit : text) {
    if (digit < '0' || digit > '9') return std::nullopt;
    size = 10 * size + (digit - '0');
  }
  size *= factor;
  if (size < 1 || size > kLargestBlock) return std::nullopt;
  return static_cast<int32_t>(size);
}

}  // namespace

Options ParseOptions(int argc, char** argv) {
  Options options;
  int letter;
  while ((letter = example::NextOption(kSyntax, argc, argv)) != -1) {
    switch (letter) {
      case 'b': {
        const auto size = SizeOf(optarg);
        if (!size) example::EndByMistake(kSyntax, std::string("invalid block size '") + optarg + "'");
        options.block = *size;
        break;
      }
      case 'g':
        options.chart = optarg;
        break;
      case 's':
        options.samples = true;
        break;
    }
  }
  options.files = example::FilesBehindOptions(argc, argv);
  return options;
}

}  // namespace zelstat
