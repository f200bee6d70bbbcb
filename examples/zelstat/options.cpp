#include "zelstat/options.h"

#include <getopt.h>

#include <cstdio>
#include <string_view>

#include "common/messages.h"
#include "zeldc.h"

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

std::optional<Options> ParseOptions(int argc, char** argv, int& exitStatus) {
  Options options;
  exitStatus = example::kExitOk;
  std::string name = kProgramName;
  argv[0] = name.data();  // getopt_long's own messages begin with it
  int letter;
  while ((letter = getopt_long(argc, argv, "b:g:hsV", kLongOptions, nullptr)) != -1) {
    switch (letter) {
      case 'b': {
        const auto size = SizeOf(optarg);
        if (!size) {
          std::fprintf(stderr, "%s: invalid block size '%s'\n", kProgramName, optarg);
          exitStatus = example::kExitError;
          return std::nullopt;
        }
        options.block = *size;
        break;
      }
      case 'g':
        options.chart = optarg;
        break;
      case 'h':
        std::fputs(kHelpText, stdout);
        return std::nullopt;
      case 's':
        options.samples = true;
        break;
      case 'V':
        std::printf("%s (zeldc %s)\n", kProgramName, zeldcGetLibVersion()->version);
        return std::nullopt;
      default:
        std::fprintf(stderr, "Try `%s --help' for more information.\n", kProgramName);
        exitStatus = example::kExitError;
        return std::nullopt;
    }
  }
  options.files.assign(argv + optind, argv + argc);
  if (options.files.empty()) options.files.push_back("-");
  return options;
}

}  // namespace zelstat
