// The command line, as far as all programs have the same: options by getopt_long, help, version and license, mistakes,
// and the names of files.
#pragma once

#include <getopt.h>

#include <string>
#include <vector>

namespace example {

struct Syntax {
  const char* program;
  const char* help;             // the answer to -h
  const char* letters;          // as getopt_long takes them
  const option* longOptions;    // likewise
  const char* usage = nullptr;  // follows the message about an unknown option; without it, a hint at --help does
};

// The letter or number of the next option, whose argument is in optarg, or -1 when there is none left. The options -h,
// -L and -V, in a program that has them, and unknown ones are answered here and end the program.
int NextOption(const Syntax& syntax, int argc, char** argv);

// Ends the program with this message.
[[noreturn]] void EndByMistake(const Syntax& syntax, const std::string& text);

// What is behind the options; "-", which is standard input, when there is nothing.
std::vector<std::string> FilesBehindOptions(int argc, char** argv);

}  // namespace example
