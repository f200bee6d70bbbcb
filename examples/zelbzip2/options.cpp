#include "zelbzip2/options.h"

#include <algorithm>
#include <cstdlib>
#include <thread>

#include "common/command_line.h"

namespace zelbzip2 {

namespace {

constexpr unsigned kMostThreads = 1024;
constexpr int kSmallLevel = 2;

constexpr const char* kHelpText =
    R"(Usage: zelbzip2 [OPTION]... [FILE]...
Compress or decompress FILEs in the bzip2 format (by default, compress FILEs in place).

  -c, --stdout       write on standard output, keep the files unchanged
  -d, --decompress   decompress
  -f, --force        overwrite output files, follow links; with -d, pass on what is not compressed
  -h, --help         show this help
  -k, --keep         keep the input files
  -L, --license      show the license
  -p, --processes=N  work on N blocks at a time; the default is the number of processors
  -q, --quiet        show no warnings and no progress
  -s, --small        use less memory: one block at a time, of 200,000 bytes when compressing
  -t, --test         test compressed files
  -v, --verbose      say what is done
  -V, --version      show the version
  -z, --compress     compress
  -1 .. -9           compress in blocks of 100,000 .. 900,000 bytes; the default is -9
      --fast         the same as -1
      --best         the same as -9

With no FILE, or when FILE is -, work on standard input. A program of this kind whose name has "unzip" in it
decompresses by default; one whose name has "cat" in it does so to standard output.
)";

const option kLongOptions[] = {{"best", no_argument, nullptr, '9'},
                               {"compress", no_argument, nullptr, 'z'},
                               {"decompress", no_argument, nullptr, 'd'},
                               {"fast", no_argument, nullptr, '1'},
                               {"force", no_argument, nullptr, 'f'},
                               {"help", no_argument, nullptr, 'h'},
                               {"keep", no_argument, nullptr, 'k'},
                               {"license", no_argument, nullptr, 'L'},
                               {"processes", required_argument, nullptr, 'p'},
                               {"quiet", no_argument, nullptr, 'q'},
                               {"small", no_argument, nullptr, 's'},
                               {"stdout", no_argument, nullptr, 'c'},
                               {"test", no_argument, nullptr, 't'},
                               {"verbose", no_argument, nullptr, 'v'},
                               {"version", no_argument, nullptr, 'V'},
                               {nullptr, 0, nullptr, 0}};

const example::Syntax kSyntax = {kProgramName, kHelpText, "cdfhkLp:qstvVz123456789", kLongOptions};

// A number of threads, or 0 if the text is none.
unsigned ThreadsOf(const char* text) {
  char* end = nullptr;
  const unsigned long number = std::strtoul(text, &end, 10);
  if (text[0] < '0' || text[0] > '9' || *end != '\0' || number > kMostThreads) return 0;
  return static_cast<unsigned>(number);
}

std::string BaseName(const std::string& path) { return path.substr(path.rfind('/') + 1); }

}  // namespace

Options ParseOptions(int argc, char** argv) {
  Options options;
  options.threads = std::clamp(std::thread::hardware_concurrency(), 1u, kMostThreads);
  bool small = false;

  const std::string calledAs = BaseName(argc > 0 ? argv[0] : "");
  options.toStdout = calledAs.find("cat") != std::string::npos;
  if (options.toStdout || calledAs.find("unzip") != std::string::npos) options.action = Action::kDecompress;

  int letter;
  while ((letter = example::NextOption(kSyntax, argc, argv)) != -1) {
    switch (letter) {
      case 'c':
        options.toStdout = true;
        break;
      case 'd':
        options.action = Action::kDecompress;
        break;
      case 'f':
        options.force = true;
        break;
      case 'k':
        options.keep = true;
        break;
      case 'p':
        options.threads = ThreadsOf(optarg);
        if (options.threads == 0) {
          example::EndByMistake(kSyntax, std::string("invalid number of threads '") + optarg + "'");
        }
        break;
      case 'q':
        options.quiet = true;
        break;
      case 's':
        small = true;
        break;
      case 't':
        options.action = Action::kTest;
        break;
      case 'v':
        options.verbose = true;
        break;
      case 'z':
        options.action = Action::kCompress;
        break;
      default:
        options.level = letter - '0';
    }
  }
  if (small) {
    options.threads = 1;
    options.level = std::min(options.level, kSmallLevel);
  }
  options.files = example::FilesBehindOptions(argc, argv);
  return options;
}

}  // namespace zelbzip2
