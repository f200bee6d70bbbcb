#include "zelbzip2/jobs.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "common/progress.h"
#include "zelbzip2/compress.h"
#include "zelbzip2/decompress.h"
#include "zelbzip2/file_names.h"
#include "zelbzip2/run_expansion.h"

namespace zelbzip2 {

namespace {

using example::Failure;
using example::Input;
using example::Output;
using example::Progress;
using example::Skipped;
using example::SystemMessage;
using example::Target;

// How standard input is called in the table of -v.
constexpr const char* kStdinInTable = "(stdin)";

std::string Savings(uint64_t in, uint64_t out) {
  if (in == 0) return " no data compressed.";
  const double from = static_cast<double>(in);
  const double to = static_cast<double>(out);
  char text[128];
  std::snprintf(text, sizeof text, "%6.3f:1, %6.3f bits/byte, %5.2f%% saved, %llu in, %llu out.", from / to,
                8 * to / from, 100 * (1 - to / from), static_cast<unsigned long long>(in),
                static_cast<unsigned long long>(out));
  return text;
}

}  // namespace

Jobs::Jobs(Options options)
    : options_(std::move(options)), messages_(kProgramName, options_.quiet), longestName_(std::strlen(kStdinInTable)) {
  for (const std::string& path : options_.files) longestName_ = std::max(longestName_, path.size());
}

int Jobs::Run() {
  try {
    for (const std::string& path : options_.files) TakePath(path);
  } catch (const example::Fatal& fatal) {
    messages_.Error(fatal.what(), fatal.exitStatus());
  }
  return messages_.exitStatus();
}

void Jobs::TakePath(const std::string& path) {
  messages_.Try(
      path,
      [&] {
        if (options_.action == Action::kCompress) {
          Compress(Open(path));
        } else {
          Decompress(Open(path));
        }
      },
      example::kExitError);
}

// Opens a file, or standard input, if it is one to work on.
Jobs::Source Jobs::Open(const std::string& path) const {
  if (path == "-") return example::StandardInput();
  const bool replaced = options_.action != Action::kTest && !options_.toStdout;
  if (options_.action == Action::kCompress) {
    if (const auto suffix = SuffixOf(path)) {
      struct stat status;
      if (stat(path.c_str(), &status) == 0) {
        throw Skipped("Input file " + path + " already has " + *suffix + " suffix.");
      }
    }
  }
  const auto links = options_.force ? example::Links::kFollow : example::Links::kRefuse;
  auto file = replaced ? example::OpenForReplacing(path, links) : example::OpenForReading(path);
  if (!file && replaced && errno == ELOOP) throw Skipped("Input file " + path + " is not a normal file.");
  if (!file) throw Failure("Can't open input file " + path + ": " + std::strerror(errno) + ".");
  if (S_ISDIR(file->status.st_mode)) throw Failure("Input file " + path + " is a directory.");
  if (replaced && !S_ISREG(file->status.st_mode)) throw Skipped("Input file " + path + " is not a normal file.");
  return std::move(*file);
}

void Jobs::Compress(const Source& source) {
  if (WritesToStdout(source)) CheckTerminal(STDOUT_FILENO, "write compressed data to");
  Target target = OpenTarget(source, source.path + ".bz2");
  Progress progress(source.name(), source.size(), WantsProgress(source));
  Input input(source.descriptor.number(), source.name(), progress);
  Output output(target.descriptor(), target.name(), size_t{256} << 10);
  zelbzip2::Compress(input, options_.level, options_.threads, output);
  progress.Finish();
  target.Complete(source.status, 0);
  ReportDone(source, Savings(input.total(), output.total()));
  RemoveSource(source);
}

void Jobs::Decompress(const Source& source) {
  const bool testing = options_.action == Action::kTest;
  if (source.path.empty()) CheckTerminal(STDIN_FILENO, "read compressed data from");
  const std::string path = DecompressedPath(source.path);
  if (WritesFile(source) && !SuffixOf(source.path)) {
    messages_.Remark("Can't guess original name for " + source.path + " -- using " + path);
  }
  Target target = testing ? Target() : OpenTarget(source, path);
  Progress progress(source.name(), source.size(), WantsProgress(source));
  Input input(source.descriptor.number(), source.name(), progress);
  Decompressor decompressor(input, options_.threads);
  const Ahead ahead = decompressor.LookAhead();
  const bool copying = ahead == Ahead::kGarbage && options_.force && !testing;
  if (ahead == Ahead::kGarbage && !copying) {
    throw Failure(testing ? source.name() + ": bad magic number (file not created by bzip2)"
                          : source.name() + " is not a bzip2 file.",
                  kExitDamaged);
  }
  if (ahead == Ahead::kEnd || ahead == Ahead::kCutOff) {
    throw Failure(source.name() + ": file ends unexpectedly", kExitDamaged);
  }

  Output output(testing ? -1 : target.descriptor(), target.name(), kExpansionBufferBytes);
  if (copying) {
    decompressor.Copy(output);
  } else if (decompressor.Decompress(output) == Ahead::kGarbage) {
    progress.Finish();
    messages_.Remark(source.name() + ": trailing garbage after EOF ignored");
  }
  progress.Finish();
  target.Complete(source.status, 0);
  ReportDone(source, testing ? "ok" : copying ? "not compressed, copied" : "done");
  if (!testing) RemoveSource(source);
}

Target Jobs::OpenTarget(const Source& source, const std::string& path) const {
  if (WritesToStdout(source)) return Target();
  struct stat status;
  const bool exists = lstat(path.c_str(), &status) == 0;
  if (exists && !options_.force) throw Failure("Output file " + path + " already exists.");
  if (const auto others = example::OtherLinks(source.status); others > 0 && !options_.force) {
    throw Failure("Input file " + source.path + " has " + std::to_string(others) + " other link" +
                  (others == 1 ? "." : "s."));
  }
  return Target(path, exists);
}

void Jobs::CheckTerminal(int descriptor, const char* what) const {
  if (isatty(descriptor) != 1) return;
  throw Failure(std::string("I won't ") + what + " a terminal.\n" + kProgramName + ": For help, type: `" +
                kProgramName + " --help'.");
}

void Jobs::RemoveSource(const Source& source) {
  if (WritesToStdout(source) || options_.keep) return;
  if (unlink(source.path.c_str()) != 0) messages_.Error(SystemMessage(source.path, errno));
}

void Jobs::ReportDone(const Source& source, const std::string& what) const {
  if (!options_.verbose) return;
  const std::string name = source.path.empty() ? kStdinInTable : source.path;
  std::fprintf(stderr, "  %s:%*s %s\n", name.c_str(), static_cast<int>(longestName_ - name.size()), "", what.c_str());
}

bool Jobs::WantsProgress(const Source& source) const {
  return example::WantsBar(options_.quiet, options_.action != Action::kTest && WritesToStdout(source));
}

}  // namespace zelbzip2
