#include "zelzlib/options.h"

#include "common/command_line.h"
#include "zelzlib/zlib_format.h"

namespace zelzlib {

namespace {

constexpr const char* kHelpText =
    R"(Usage: zelzlib [OPTION]... [FILE]...
Compress or decompress FILEs in the zlib format (by default, compress FILE to FILE.zz and remove it).

  -1 to -9          compress faster to better; the default is -6
  -c, --stdout      write on standard output, keep the files
  -d, --decompress  decompress
  -D, --dictionary=FILE
                    FILE is known to both sides: what repeats it is short
  -f, --force       overwrite output files, use terminals
  -h, --help        show this help
  -k, --keep        keep the input files
  -o, --output=FILE write to FILE, keep the input file
  -q, --quiet       show no warnings and no progress
  -t, --test        test compressed files
  -V, --version     show the version
  -w, --window=BITS compress with a window of 2^BITS bytes, 8 to 15; the default is 15

With no FILE, or when FILE is -, work on standard input.
)";

const option kLongOptions[] = {
    {"decompress", no_argument, nullptr, 'd'},   {"dictionary", required_argument, nullptr, 'D'},
    {"force", no_argument, nullptr, 'f'},        {"help", no_argument, nullptr, 'h'},
    {"keep", no_argument, nullptr, 'k'},         {"output", required_argument, nullptr, 'o'},
    {"quiet", no_argument, nullptr, 'q'},        {"stdout", no_argument, nullptr, 'c'},
    {"test", no_argument, nullptr, 't'},         {"version", no_argument, nullptr, 'V'},
    {"window", required_argument, nullptr, 'w'}, {nullptr, 0, nullptr, 0}};

const example::Syntax kSyntax = {kProgramName, kHelpText, "cdD:fhko:qtVw:123456789", kLongOptions};

// The number of bits, 0 when it is none.
int WindowBitsOf(const std::string& text) {
  for (int bits = kMinWindowBits; bits <= kMaxWindowBits; ++bits) {
    if (text == std::to_string(bits)) return bits;
  }
  return 0;
}

// What can't be done together; empty when there is nothing.
std::string MistakeIn(const Options& options) {
  if (options.windowBits == 0) return "the window must have 8 to 15 bits";
  if (options.output.empty()) return "";
  if (options.action == Action::kTest || options.toStdout) return "-o does not go with -c or -t";
  if (options.files.size() > 1) return "-o takes one file";
  return "";
}

}  // namespace

Options ParseOptions(int argc, char** argv) {
  Options options;
  int letter;
  while ((letter = example::NextOption(kSyntax, argc, argv)) != -1) {
    switch (letter) {
      case 'c':
        options.toStdout = true;
        break;
      case 'd':
        if (options.action != Action::kTest) options.action = Action::kDecompress;
        break;
      case 'D':
        options.dictionary = optarg;
        break;
      case 'f':
        options.force = true;
        break;
      case 'k':
        options.keep = true;
        break;
      case 'o':
        options.output = optarg;
        break;
      case 'q':
        options.quiet = true;
        break;
      case 't':
        options.action = Action::kTest;
        break;
      case 'w':
        options.windowBits = WindowBitsOf(optarg);
        break;
      default:
        options.level = letter - '0';
    }
  }
  options.files = example::FilesBehindOptions(argc, argv);
  if (const std::string mistake = MistakeIn(options); !mistake.empty()) example::EndByMistake(kSyntax, mistake);
  return options;
}

}  // namespace zelzlib
