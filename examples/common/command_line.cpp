#include "common/command_line.h"

#include <cstdio>
#include <cstdlib>

#include "common/messages.h"
#include "zeldc.h"

namespace example {

int NextOption(const Syntax& syntax, int argc, char** argv) {
  argv[0] = const_cast<char*>(syntax.program);  // getopt_long's own messages begin with it
  const int letter = getopt_long(argc, argv, syntax.letters, syntax.longOptions, nullptr);
  switch (letter) {
    case 'h':
      std::fputs(syntax.help, stdout);
      break;
    case 'L':
      std::printf("%s comes under the MIT license; see the file LICENSE.\n", syntax.program);
      break;
    case 'V':
      std::printf("%s (zeldc %s)\n", syntax.program, zeldcGetLibVersion()->version);
      break;
    case '?':
      if (syntax.usage != nullptr) {
        std::fprintf(stderr, "%s\n", syntax.usage);
      } else {
        std::fprintf(stderr, "Try `%s --help' for more information.\n", syntax.program);
      }
      std::exit(kExitError);
    default:
      return letter;
  }
  std::exit(kExitOk);
}

void EndByMistake(const Syntax& syntax, const std::string& text) {
  std::fprintf(stderr, "%s: %s\n", syntax.program, text.c_str());
  std::exit(kExitError);
}

std::vector<std::string> FilesBehindOptions(int argc, char** argv) {
  std::vector<std::string> files(argv + optind, argv + argc);
  if (files.empty()) files.push_back("-");
  return files;
}

}  // namespace example
