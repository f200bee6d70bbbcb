#include "zellzop/options.h"

#include <unistd.h>

#include "common/command_line.h"
#include "zellzop/parallel_file.h"

namespace zellzop {

namespace {

constexpr const char* kUsage = "Usage: zellzop [-dtlhLV1..9] [-qvcfFnNkU] [-o file] [-S suffix] [--parallel] [file..]";

constexpr const char* kHelpText =
    R"(Usage: zellzop [COMMAND] [OPTION]... [FILE]...
Compress or decompress FILEs in the .lzo format of lzop. Files are kept unless -U is given.

Commands:
  -1 .. -9             compress (the default, as -3); all levels compress alike, by LZO1X-1
  -d, --decompress     decompress
  -t, --test           test compressed files
  -l, --list           list compressed files
  -h, --help           show this help
  -L, --license        show the license
  -V, --version        show the version

Options:
  -c, --stdout         write on standard output
  -o, --output=FILE    write all output to FILE
  -f, --force          overwrite output files, use terminals; twice: whatever suffix a file has
  -F, --no-checksum    neither store nor verify checksums of the data
      --crc32          store CRC-32 checksums instead of Adler-32
  -n, --no-name        do not restore the stored file name (the default)
  -N, --name           restore the stored file name
      --no-mode        do not restore the stored permissions
      --no-time        do not restore the stored time
  -S, --suffix=.SUF    use the suffix .SUF instead of .lzo
  -k, --keep           keep the input files (the default)
  -U, --unlink         delete the input files when they are done
  -q, --quiet          show no warnings and no progress
      --no-warn        show no warnings
      --ignore-warn    show no warnings, and do not exit with 2 because of them
  -v, --verbose        say what is done
      --parallel       compress with all processors, into a format that only zellzop reads (suffix .zlzo)

With no FILE, or when FILE is -, work on standard input.
)";

enum LongOption { kCrc32 = 256, kNoMode, kNoTime, kNoWarn, kIgnoreWarn, kNoStdin, kParallel };

const option kLongOptions[] = {{"best", no_argument, nullptr, '9'},
                               {"checksum", no_argument, nullptr, 'C'},
                               {"crc32", no_argument, nullptr, kCrc32},
                               {"decompress", no_argument, nullptr, 'd'},
                               {"delete", no_argument, nullptr, 'U'},
                               {"fast", no_argument, nullptr, '1'},
                               {"force", no_argument, nullptr, 'f'},
                               {"help", no_argument, nullptr, 'h'},
                               {"ignore-warn", no_argument, nullptr, kIgnoreWarn},
                               {"keep", no_argument, nullptr, 'k'},
                               {"license", no_argument, nullptr, 'L'},
                               {"list", no_argument, nullptr, 'l'},
                               {"name", no_argument, nullptr, 'N'},
                               {"no-checksum", no_argument, nullptr, 'F'},
                               {"no-mode", no_argument, nullptr, kNoMode},
                               {"no-name", no_argument, nullptr, 'n'},
                               {"no-stdin", no_argument, nullptr, kNoStdin},
                               {"no-time", no_argument, nullptr, kNoTime},
                               {"no-warn", no_argument, nullptr, kNoWarn},
                               {"output", required_argument, nullptr, 'o'},
                               {"parallel", no_argument, nullptr, kParallel},
                               {"quiet", no_argument, nullptr, 'q'},
                               {"silent", no_argument, nullptr, 'q'},
                               {"stdout", no_argument, nullptr, 'c'},
                               {"suffix", required_argument, nullptr, 'S'},
                               {"test", no_argument, nullptr, 't'},
                               {"to-stdout", no_argument, nullptr, 'c'},
                               {"uncompress", no_argument, nullptr, 'd'},
                               {"unlink", no_argument, nullptr, 'U'},
                               {"verbose", no_argument, nullptr, 'v'},
                               {"version", no_argument, nullptr, 'V'},
                               {nullptr, 0, nullptr, 0}};

const example::Syntax kSyntax = {kProgramName, kHelpText, "cCdfFhklLnNo:qS:tUvV123456789", kLongOptions, kUsage};

// ".foo" for "foo" and ".foo"; empty for what is no suffix.
std::string SuffixFrom(std::string text) {
  if (!text.starts_with('.')) text.insert(0, 1, '.');
  const bool good = text.size() > 1 && text.find_first_of("./*+", 1) == std::string::npos;
  return good ? text : "";
}

[[noreturn]] void EndByMistake(const std::string& text) { example::EndByMistake(kSyntax, text + "\n" + kUsage); }

}  // namespace

Options ParseOptions(int argc, char** argv) {
  Options options;
  bool readsStdin = true;
  bool keep = false;
  bool hasSuffix = false;
  int letter;
  while ((letter = example::NextOption(kSyntax, argc, argv)) != -1) {
    switch (letter) {
      case 'c':
        options.toStdout = true;
        break;
      case 'C':
        break;  // the default
      case 'd':
        options.action = Action::kDecompress;
        break;
      case 'f':
        ++options.force;
        break;
      case 'F':
        options.check = Check::kNone;
        break;
      case 'k':
        keep = true;
        break;
      case 'l':
        options.action = Action::kList;
        break;
      case 'n':
      case 'N':
        options.restoreName = letter == 'N';
        break;
      case 'o':
        options.output = optarg;
        break;
      case 'q':
        options.quiet = true;
        break;
      case 'S':
        options.suffix = SuffixFrom(optarg);
        hasSuffix = true;
        if (options.suffix.empty()) EndByMistake(std::string("invalid suffix '") + optarg + "'");
        break;
      case 't':
        options.action = Action::kTest;
        break;
      case 'U':
        options.unlink = true;
        break;
      case 'v':
        ++options.verbose;
        break;
      case kCrc32:
        options.check = Check::kCrc32;
        break;
      case kNoMode:
        options.restoreMode = false;
        break;
      case kNoTime:
        options.restoreTime = false;
        break;
      case kNoWarn:
        options.warn = false;
        break;
      case kIgnoreWarn:
        options.warn = options.failOnWarnings = false;
        break;
      case kNoStdin:
        readsStdin = false;
        break;
      case kParallel:
        options.parallel = true;
        break;
      default:
        options.level = letter - '0';
    }
  }
  if (options.toStdout && !options.output.empty()) EndByMistake("cannot use both '-c' and '-o'");
  if (keep) options.unlink = false;
  if (options.parallel && !hasSuffix) options.suffix = kParallelSuffix;
  const bool namesNoFile = optind == argc;
  // A terminal is nothing to compress or to read an archive from.
  const bool usesStdin = readsStdin && (options.force > 0 || isatty(STDIN_FILENO) != 1);
  if (namesNoFile && !usesStdin) EndByMistake("nothing to do !");
  options.files = example::FilesBehindOptions(argc, argv);
  return options;
}

}  // namespace zellzop
