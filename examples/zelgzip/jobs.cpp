#include "zelgzip/jobs.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <vector>

#include "common/progress.h"
#include "zelgzip/compress.h"
#include "zelgzip/file_names.h"
#include "zelgzip/file_rules.h"

namespace zelgzip {

namespace {

using example::Failure;
using example::Input;
using example::Output;
using example::Progress;
using example::Skipped;
using example::SystemMessage;
using example::Target;

constexpr size_t kOutputBufferBytes = 256 << 10;

}  // namespace

Jobs::Jobs(Options options)
    : options_(std::move(options)),
      messages_(kProgramName, options_.quiet),
      listing_(options_.verbose, options_.quiet) {}

int Jobs::Run() {
  try {
    for (const std::string& path : options_.files) TakePath(path);
    if (options_.action == Action::kList && options_.files.size() > 1) listing_.PrintTotals();
    if (std::fflush(stdout) != 0) messages_.Error(SystemMessage("stdout", errno));
  } catch (const example::Fatal& fatal) {
    messages_.Error(fatal.what());
  }
  return messages_.exitStatus();
}

void Jobs::TakePath(const std::string& path) {
  messages_.Try(path, [&] {
    try {
      if (path == "-") {
        Take(example::StandardInput());
      } else if (options_.recursive && std::filesystem::is_directory(path)) {
        TakeDirectory(path);
      } else {
        TakeFile(path);
      }
    } catch (const std::filesystem::filesystem_error& error) {
      throw Failure(path + ": " + error.code().message());
    }
  });
}

void Jobs::TakeDirectory(const std::string& path) {
  // The work adds and removes entries, so they are collected first. Links to directories might lead in circles.
  std::vector<std::string> entries;
  for (const auto& entry : std::filesystem::directory_iterator(path)) {
    if (!entry.is_symlink() || !entry.is_directory()) entries.push_back(entry.path().string());
  }
  std::sort(entries.begin(), entries.end());
  for (const std::string& entry : entries) TakePath(entry);
}

void Jobs::TakeFile(const std::string& givenPath) {
  const bool compressing = options_.action == Action::kCompress;
  const bool readOnly = options_.toStdout || options_.action == Action::kTest || options_.action == Action::kList;
  const std::string path = compressing ? givenPath : ExistingCompressed(givenPath, options_.suffix);
  Take(readOnly ? OpenForReading(path) : OpenForReplacing(path, options_.force));
}

void Jobs::Take(const Source& source) {
  switch (options_.action) {
    case Action::kCompress:
      return CompressSource(source);
    case Action::kDecompress:
      return DecompressSource(source);
    case Action::kTest:
    case Action::kList:
      return ReadSource(source);
  }
}

void Jobs::CompressSource(const Source& source) {
  const auto suffix = SuffixOf(source.path, options_.suffix);
  if (suffix && !options_.force && !WritesToStdout(source)) {
    const bool wanted = options_.verbose || !options_.recursive;
    if (wanted) messages_.Remark(source.path + " already has " + *suffix + " suffix -- unchanged");
    return;
  }
  const MemberHeader header = HeaderOf(source);
  Target target = OpenTarget(source, source.path + options_.suffix);
  Progress progress(source.name(), source.size(), WantsProgress(source));
  Input input(source.descriptor.number(), source.name(), progress);
  Output output(target.descriptor(), target.name(), kOutputBufferBytes);
  const uint64_t framingBytes = Compress(input, header, options_.level, output);
  progress.Finish();
  target.Complete(source.status, 0);
  ReportDone(source, RatioText(input.total(), output.total(), framingBytes), target);
  RemoveSource(source);
}

void Jobs::DecompressSource(const Source& source) {
  Progress progress(source.name(), source.size(), WantsProgress(source));
  Input input(source.descriptor.number(), source.name(), progress);
  Decompressor decompressor(input);

  // As cat would do: with -cdf, what is not compressed is passed on.
  if (options_.force && WritesToStdout(source) && !decompressor.Recognizes()) {
    Output output(STDOUT_FILENO, "stdout", kOutputBufferBytes);
    decompressor.Copy(output);
    return;
  }

  if (!WritesToStdout(source) && !SuffixOf(source.path, options_.suffix)) {
    throw Skipped(source.path + ": unknown suffix -- ignored");
  }
  const MemberHeader& header = decompressor.ReadFirstHeader();
  Target target = OpenTarget(source, DecompressedPath(source, header));
  Output output(target.descriptor(), target.name(), kOutputBufferBytes);
  const Contents& contents = decompressor.Decompress(output);
  progress.Finish();
  target.Complete(source.status, options_.name.value_or(false) ? time_t{header.modificationTime} : 0);
  RemarkOn(contents.behind, source);
  ReportDone(source, RatioText(contents.size, input.total(), contents.framingBytes), target);
  RemoveSource(source);
}

void Jobs::ReadSource(const Source& source) {
  Progress progress(source.name(), source.size(), WantsProgress(source));
  Input input(source.descriptor.number(), source.name(), progress);
  Decompressor decompressor(input);
  const MemberHeader& header = decompressor.ReadFirstHeader();
  Output nowhere(kOutputBufferBytes);
  const Contents& contents = decompressor.Decompress(nowhere);
  progress.Finish();
  RemarkOn(contents.behind, source);
  if (options_.action == Action::kList) {
    listing_.Print({.name = source.path.empty() ? "stdout" : DecompressedPath(source, header),
                    .compressed = input.total(),
                    .original = contents.size,
                    .framingBytes = contents.framingBytes,
                    .crc = contents.crc,
                    .time = header.modificationTime != 0 ? time_t{header.modificationTime} : source.status.st_mtime});
  } else if (options_.verbose) {
    std::fprintf(stderr, "%s OK\n", source.path.empty() ? "" : (source.path + ":\t").c_str());
  }
}

MemberHeader Jobs::HeaderOf(const Source& source) {
  MemberHeader header;
  if (!options_.name.value_or(true)) return header;
  if (!source.path.empty()) header.fileName = BaseName(source.path);
  if (S_ISREG(source.status.st_mode)) {
    const auto time = source.status.st_mtime;
    if (time > 0 && static_cast<uint64_t>(time) <= std::numeric_limits<uint32_t>::max()) {
      header.modificationTime = static_cast<uint32_t>(time);
    } else {
      messages_.Warning(source.name() + ": warning: file timestamp out of range for gzip format");
    }
  }
  return header;
}

Target Jobs::OpenTarget(const Source& source, const std::string& path) const {
  if (WritesToStdout(source)) return Target();
  return ReplacementOf(source, path, options_.force);
}

// The name that a decompressed file gets, or that -l shows.
std::string Jobs::DecompressedPath(const Source& source, const MemberHeader& header) const {
  if (options_.name.value_or(false)) {
    if (const auto stored = Besides(source.path, header.fileName)) return *stored;
  }
  return WithoutSuffix(source.path, options_.suffix);
}

void Jobs::RemoveSource(const Source& source) {
  if (WritesToStdout(source) || options_.keep) return;
  if (unlink(source.path.c_str()) != 0) messages_.Warning(SystemMessage(source.path, errno));
}

void Jobs::RemarkOn(Ahead behind, const Source& source) {
  if (behind == Ahead::kGarbage) {
    messages_.Warning(source.name() + ": decompression OK, trailing garbage ignored");
  } else if (behind == Ahead::kZeros && options_.verbose) {
    messages_.Warning(source.name() + ": decompression OK, trailing zero bytes ignored");
  }
}

void Jobs::ReportDone(const Source& source, const std::string& ratio, const Target& target) const {
  if (!options_.verbose) return;
  std::string text = source.path.empty() ? "" : source.path + ":\t";
  text += ratio;
  if (!WritesToStdout(source)) text += (options_.keep ? " -- created " : " -- replaced with ") + target.name();
  std::fprintf(stderr, "%s\n", text.c_str());
}

bool Jobs::WantsProgress(const Source& source) const {
  return example::WantsBar(options_.quiet, WritesToStdout(source));
}

}  // namespace zelgzip
