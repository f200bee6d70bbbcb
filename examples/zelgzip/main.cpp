// zelgzip: compresses and decompresses files in the gzip format (RFC 1952) with the zeldc library.

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "common/messages.h"
#include "common/new_file.h"
#include "zelgzip/jobs.h"
#include "zelgzip/options.h"

namespace {

using zelgzip::Action;
using zelgzip::Options;

bool IsTerminal(int descriptor) { return isatty(descriptor) == 1; }

// Compressed data on a terminal is nearly always a mistake.
bool MistakesTerminal(const Options& options) {
  if (options.force) return false;
  const bool readsStdin = std::find(options.files.begin(), options.files.end(), "-") != options.files.end();
  const char* what = nullptr;
  if (options.action == Action::kCompress) {
    if ((options.toStdout || readsStdin) && IsTerminal(STDOUT_FILENO)) what = "written to";
  } else if (readsStdin && IsTerminal(STDIN_FILENO)) {
    what = "read from";
  }
  if (what == nullptr) return false;
  std::fprintf(stderr, "%s: compressed data not %s a terminal. Use -f to force %scompression.\n", zelgzip::kProgramName,
               what, options.action == Action::kCompress ? "" : "de");
  std::fprintf(stderr, "For help, type: %s -h\n", zelgzip::kProgramName);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const zelgzip::Options options = zelgzip::ParseOptions(argc, argv);
  if (MistakesTerminal(options)) return example::kExitError;
  example::RemoveNewFileOnSignals();
  return zelgzip::Jobs(options).Run();
}
