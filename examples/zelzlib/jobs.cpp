#include "zelzlib/jobs.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "common/progress.h"
#include "zelzlib/compress.h"
#include "zelzlib/decompress.h"

namespace zelzlib {

namespace {

using example::Failure;
using example::Input;
using example::Output;
using example::Progress;
using example::SystemMessage;
using example::Target;

constexpr size_t kOutputBufferBytes = 256 << 10;
constexpr size_t kLargestDictionary = 1 << 20;  // 32 KiB of it are of use

bool HasSuffix(const std::string& path) {
  const size_t length = std::strlen(kSuffix);
  return path.size() > length && path.compare(path.size() - length, length, kSuffix) == 0;
}

}  // namespace

Jobs::Jobs(Options options) : options_(std::move(options)), messages_(kProgramName, options_.quiet) {}

int Jobs::Run() {
  try {
    if (!options_.dictionary.empty()) ReadDictionary();
    for (const std::string& path : options_.files) TakePath(path);
  } catch (const Failure& failure) {
    messages_.Error(failure.what());
  }
  return messages_.exitStatus();
}

void Jobs::ReadDictionary() {
  const auto file = example::OpenForReading(options_.dictionary);
  if (!file) throw Failure(SystemMessage(options_.dictionary, errno));
  Progress progress(options_.dictionary, 0, false);
  Input input(file->descriptor.number(), options_.dictionary, progress);
  dictionary_.resize(kLargestDictionary + 1);
  dictionary_.resize(input.ReadFully(dictionary_.data(), dictionary_.size()));
  if (dictionary_.empty()) throw Failure(options_.dictionary + ": the dictionary is empty");
  if (dictionary_.size() > kLargestDictionary) throw Failure(options_.dictionary + ": the dictionary is too large");
}

void Jobs::TakePath(const std::string& path) {
  messages_.Try(path, [&] {
    const Source source = Open(path);
    if (options_.action == Action::kCompress) {
      CompressSource(source);
    } else {
      DecompressSource(source);
    }
  });
}

Jobs::Source Jobs::Open(const std::string& path) const {
  if (path == "-") return example::StandardInput();
  const bool replaced = options_.action != Action::kTest && !options_.toStdout && options_.output.empty();
  auto file = replaced
                  ? example::OpenForReplacing(path, options_.force ? example::Links::kFollow : example::Links::kRefuse)
                  : example::OpenForReading(path);
  if (!file && replaced && errno == ELOOP) throw example::Skipped(path + ": is a symbolic link -- ignored");
  if (!file) throw Failure(SystemMessage(path, errno));
  if (S_ISDIR(file->status.st_mode)) throw Failure(SystemMessage(path, EISDIR));
  if (replaced && !S_ISREG(file->status.st_mode)) throw example::Skipped(path + ": is not a regular file -- ignored");
  return std::move(*file);
}

void Jobs::CompressSource(const Source& source) {
  if (WritesToStdout(source)) CheckTerminal(STDOUT_FILENO, "written to");
  Target target = OpenTarget(source);
  Progress progress(source.name(), source.size(), WantsProgress(source));
  Input input(source.descriptor.number(), source.name(), progress);
  Output output(target.descriptor(), target.name(), kOutputBufferBytes);
  Compress(input, options_.level, options_.windowBits, dictionary_, output);
  progress.Finish();
  target.Complete(source.status, 0);
  RemoveSource(source);
}

void Jobs::DecompressSource(const Source& source) {
  const bool testing = options_.action == Action::kTest;
  if (source.path.empty()) CheckTerminal(STDIN_FILENO, "read from");
  Target target = testing ? Target() : OpenTarget(source);
  Progress progress(source.name(), source.size(), WantsProgress(source));
  Input input(source.descriptor.number(), source.name(), progress);
  Output output(testing ? -1 : target.descriptor(), target.name(), kOutputBufferBytes);
  const bool moreBehind = Decompressor(input, dictionary_, output).Run();
  progress.Finish();
  target.Complete(source.status, 0);
  if (moreBehind) messages_.Warning(source.name() + ": decompression OK, trailing garbage ignored");
  if (!testing) RemoveSource(source);
}

Target Jobs::OpenTarget(const Source& source) const {
  if (WritesToStdout(source)) return Target();
  const std::string path = TargetPath(source.path);
  struct stat existing;
  const bool exists = lstat(path.c_str(), &existing) == 0;
  if (exists && existing.st_dev == source.status.st_dev && existing.st_ino == source.status.st_ino) {
    throw Failure(source.name() + " and " + path + " are the same file");
  }
  if (exists && !options_.force) throw Failure(path + ": already exists");
  return Target(path, exists);
}

std::string Jobs::TargetPath(const std::string& path) const {
  if (!options_.output.empty()) return options_.output;
  if (options_.action != Action::kCompress) {
    if (!HasSuffix(path)) throw example::Skipped(path + ": unknown suffix -- ignored");
    return path.substr(0, path.size() - std::strlen(kSuffix));
  }
  if (HasSuffix(path) && !options_.force) {
    throw example::Skipped(path + ": already has " + kSuffix + " suffix -- unchanged");
  }
  return path + kSuffix;
}

// Compressed data on a terminal is nearly always a mistake.
void Jobs::CheckTerminal(int descriptor, const char* what) const {
  if (options_.force || isatty(descriptor) != 1) return;
  throw Failure(std::string("compressed data not ") + what + " a terminal; use -f to force it");
}

void Jobs::RemoveSource(const Source& source) {
  if (WritesToStdout(source) || options_.keep || !options_.output.empty()) return;
  if (unlink(source.path.c_str()) != 0) messages_.Warning(SystemMessage(source.path, errno));
}

bool Jobs::WantsProgress(const Source& source) const {
  return example::WantsBar(options_.quiet, options_.action != Action::kTest && WritesToStdout(source));
}

}  // namespace zelzlib
