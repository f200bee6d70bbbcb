#include "zelgzip/options.h"

#include "common/command_line.h"

namespace zelgzip {

namespace {

constexpr size_t kLongestSuffix = 30;

constexpr const char* kHelpText =
    R"(Usage: zelgzip [OPTION]... [FILE]...
Compress or decompress FILEs in the gzip format (by default, compress FILEs in place).

  -c, --stdout      write on standard output, keep the files unchanged
  -d, --decompress  decompress
  -f, --force       overwrite output files, follow links, use terminals
  -h, --help        show this help
  -k, --keep        keep the input files
  -l, --list        list what compressed files hold
  -L, --license     show the license
  -n, --no-name     neither save nor restore the name and the time
  -N, --name        save or restore the name and the time
  -q, --quiet       show no warnings and no progress
  -r, --recursive   work on directories, too
  -S, --suffix=SUF  use the suffix SUF on compressed files
  -t, --test        test compressed files
  -v, --verbose     say what is done
  -V, --version     show the version
  -1, --fast        compress faster (the same as -2 and -3)
  -6                compress normally (the same as -4, -5 and -7); this is the default
  -9, --best        compress better (the same as -8)

With no FILE, or when FILE is -, work on standard input.
)";

const option kLongOptions[] = {{"ascii", no_argument, nullptr, 'a'},      {"best", no_argument, nullptr, '9'},
                               {"decompress", no_argument, nullptr, 'd'}, {"fast", no_argument, nullptr, '1'},
                               {"force", no_argument, nullptr, 'f'},      {"help", no_argument, nullptr, 'h'},
                               {"keep", no_argument, nullptr, 'k'},       {"license", no_argument, nullptr, 'L'},
                               {"list", no_argument, nullptr, 'l'},       {"name", no_argument, nullptr, 'N'},
                               {"no-name", no_argument, nullptr, 'n'},    {"quiet", no_argument, nullptr, 'q'},
                               {"recursive", no_argument, nullptr, 'r'},  {"silent", no_argument, nullptr, 'q'},
                               {"stdout", no_argument, nullptr, 'c'},     {"suffix", required_argument, nullptr, 'S'},
                               {"test", no_argument, nullptr, 't'},       {"to-stdout", no_argument, nullptr, 'c'},
                               {"uncompress", no_argument, nullptr, 'd'}, {"verbose", no_argument, nullptr, 'v'},
                               {"version", no_argument, nullptr, 'V'},    {nullptr, 0, nullptr, 0}};

const example::Syntax kSyntax = {kProgramName, kHelpText, "acdfhklLnNqrS:tvV123456789", kLongOptions};

zelLZ77Level LevelOf(int digit) {
  if (digit <= '3') return zelLZ77LevelFast;
  return digit <= '7' ? zelLZ77LevelNormal : zelLZ77LevelBest;
}

bool IsUsableSuffix(const std::string& suffix) {
  return !suffix.empty() && suffix.size() <= kLongestSuffix && suffix.find('/') == std::string::npos;
}

// An action asked for later never takes back what an earlier one asked for: -l does not test on, -t writes nothing.
void Want(Options& options, Action action) {
  if (options.action < action) options.action = action;
}

}  // namespace

Options ParseOptions(int argc, char** argv) {
  Options options;
  int letter;
  while ((letter = example::NextOption(kSyntax, argc, argv)) != -1) {
    switch (letter) {
      case 'a':
        break;  // lines end here as they do in the compressed file
      case 'c':
        options.toStdout = true;
        break;
      case 'd':
        Want(options, Action::kDecompress);
        break;
      case 'f':
        options.force = true;
        break;
      case 'k':
        options.keep = true;
        break;
      case 'l':
        Want(options, Action::kList);
        break;
      case 'n':
        options.name = false;
        break;
      case 'N':
        options.name = true;
        break;
      case 'q':
        options.quiet = true;
        options.verbose = false;
        break;
      case 'r':
        options.recursive = true;
        break;
      case 'S':
        options.suffix = optarg;
        break;
      case 't':
        Want(options, Action::kTest);
        break;
      case 'v':
        options.verbose = true;
        options.quiet = false;
        break;
      default:
        options.level = LevelOf(letter);
    }
  }
  if (!IsUsableSuffix(options.suffix)) {
    example::EndByMistake(kSyntax, "invalid suffix '" + options.suffix + "'");
  }
  options.files = example::FilesBehindOptions(argc, argv);
  return options;
}

}  // namespace zelgzip
