#include "zellzop/jobs.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "common/progress.h"
#include "zellzop/file_names.h"
#include "zellzop/parallel_file.h"

namespace zellzop {

namespace {

using example::Failure;
using example::Fatal;
using example::Input;
using example::InputCursor;
using example::Output;
using example::Progress;
using example::Skipped;
using example::SystemMessage;
using example::Target;

constexpr size_t kBufferBytes = 256 << 10;

std::string NameOf(const example::InputFile& source) { return source.path.empty() ? "<stdin>" : source.path; }

// What a new file's permissions are without any to take over.
mode_t DefaultMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

// Those of a new file of ours.
struct stat DefaultAttributes() {
  struct stat attributes {};
  attributes.st_mode = DefaultMode();
  attributes.st_uid = geteuid();
  attributes.st_gid = getegid();
  clock_gettime(CLOCK_REALTIME, &attributes.st_atim);
  attributes.st_mtim = attributes.st_atim;
  return attributes;
}

}  // namespace

Jobs::Jobs(Options options)
    : options_(std::move(options)),
      messages_(kProgramName, options_.quiet || !options_.warn),
      listing_(options_.verbose > 0, options_.quiet) {}

int Jobs::Run() {
  try {
    for (const std::string& path : options_.files) TakePath(path);
    // Half of what was to be in the one file is not what was asked for.
    if (target_ && messages_.exitStatus() != example::kExitError) {
      target_->Complete(DefaultAttributes(), 0);
      for (const std::string& path : doneFiles_) Unlink(path);
    }
    if (options_.action == Action::kList) listing_.PrintTotals();
    if (std::fflush(stdout) != 0) messages_.Error(SystemMessage("<stdout>", errno));
  } catch (const Failure& failure) {
    messages_.Error(failure.what());
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
      StatusOfWarnings());
  if (options_.output.empty()) target_.reset();
}

Jobs::Source Jobs::Open(const std::string& path) const {
  if (path == "-") return example::StandardInput();
  if (options_.action == Action::kCompress && options_.force < 2 && HasSuffix(path, options_.suffix)) {
    throw Skipped(path + ": warning: already has " + options_.suffix + " suffix -- unchanged");
  }
  const bool replaced = WritesNewFiles();
  // What is not a file is skipped without waiting for anyone.
  auto file = replaced ? example::OpenForReplacing(path, example::Links::kFollow) : example::OpenForReading(path);
  if (!file) throw Failure(path + ": can't open input file: " + std::strerror(errno));
  const bool isPlain = S_ISREG(file->status.st_mode);
  if (!isPlain && (replaced || S_ISDIR(file->status.st_mode))) {
    throw Skipped(path + ": warning: not a regular file -- skipped");
  }
  return std::move(*file);
}

MemberHeader Jobs::MakeHeader(const Source& source) const {
  MemberHeader header;
  header.level = static_cast<uint8_t>(options_.level == 1 ? 1 : 5);
  if (options_.check == Check::kAdler32) header.flags |= kAdlerOfData;
  if (options_.check == Check::kCrc32) header.flags |= kCrcOfData | kCrcOfHeader;
  if (source.path.empty()) {
    header.flags |= kFromStdin;
    header.time = static_cast<uint64_t>(time(nullptr));
  } else {
    header.mode = source.status.st_mode;
    header.time = static_cast<uint64_t>(source.status.st_mtime);
    header.name = BaseName(source.path);
  }
  if (WritesToStdout(source)) header.flags |= kToStdout;
  return header;
}

void Jobs::Compress(const Source& source) {
  if (WritesToStdout(source) && options_.force == 0 && isatty(STDOUT_FILENO) == 1) {
    throw Fatal("<stdout>: compressed data not written to a terminal");
  }
  Target& target = OpenTarget(source, source.path + options_.suffix);
  Say(source, "compressing");
  Progress progress(NameOf(source), source.size(), WantsProgress(source));
  Input input(source.descriptor.number(), NameOf(source), progress);
  Output output(target.descriptor(), target.name(), kBufferBytes);
  if (options_.parallel) {
    CompressParallel(input, output);
  } else {
    const MemberHeader header = MakeHeader(source);
    const std::vector<uint8_t> bytes = Encode(header);
    output.Put(bytes.data(), bytes.size());
    CompressBlocks(input, header.flags, output);
  }
  output.Flush();
  progress.Finish();
  if (options_.parallel) messages_.Remark(target.name() + ": only zellzop reads this file");
  CompleteTarget(source, std::nullopt);
  RemoveSource(source);
}

Jobs::Ahead Jobs::LookAhead(InputCursor& cursor) {
  if (!cursor.Have(kMagicBytes)) return cursor.left == 0 ? Ahead::kEnd : Ahead::kGarbage;
  Ahead ahead = Ahead::kGarbage;
  if (std::memcmp(cursor.next, kMemberMagic, kMagicBytes) == 0) ahead = Ahead::kMember;
  if (std::memcmp(cursor.next, kParallelMagic, kMagicBytes) == 0) ahead = Ahead::kParallel;
  if (ahead != Ahead::kGarbage) {
    cursor.next += kMagicBytes;
    cursor.left -= kMagicBytes;
  }
  return ahead;
}

void Jobs::Decompress(const Source& source) {
  Progress progress(NameOf(source), source.size(), WantsProgress(source));
  Input input(source.descriptor.number(), NameOf(source), progress);
  InputCursor cursor(input, kBufferBytes);
  Ahead ahead = LookAhead(cursor);
  if (ahead != Ahead::kMember && ahead != Ahead::kParallel) throw Failure(NameOf(source) + ": not a lzop file");
  bool restoresNames = options_.restoreName;
  std::optional<MemberHeader> header;
  std::optional<Output> output;
  bool failed = false;
  for (bool first = true; ahead == Ahead::kMember || ahead == Ahead::kParallel; first = false) {
    header.reset();
    if (ahead == Ahead::kMember) header = ReadMemberHeader(cursor);
    if (first && WritesFile(source) && !restoresNames && header &&
        HasSecondMember(source.descriptor.number(), *header)) {
      Warn(NameOf(source) + ": warning: multipart archive -- restoring file names");
      restoresNames = true;
    }
    // Each member to a file of its own, or all to one output.
    const bool separate = restoresNames && WritesFile(source);
    if (first || separate) failed |= !OpenOutput(source, header, first, restoresNames, output);
    ReadMember(source, cursor, header, *output);
    if (separate) Finish(source, header, *output);
    if (options_.action == Action::kTest && !options_.quiet) {
      std::fprintf(stderr, "testing %s OK\n", NameOf(source).c_str());
    }
    ahead = LookAhead(cursor);
    const bool warns =
        options_.action != Action::kList && !separate && !(options_.restoreName && options_.action == Action::kTest);
    if (first && warns && (ahead == Ahead::kMember || ahead == Ahead::kParallel)) {
      progress.Finish();
      Warn(NameOf(source) + ": warning: this is a multipart archive (try option '-N')");
    }
  }
  if (!restoresNames || !WritesFile(source)) Finish(source, header, *output);
  progress.Finish();
  if (ahead == Ahead::kGarbage) Warn(NameOf(source) + ": warning: ignoring trailing garbage in lzop file");
  if (options_.action == Action::kDecompress && !failed) RemoveSource(source);
}

// Makes the output of a member, or of all. A member whose file may not be written is no reason to leave out the others:
// it is dropped, and the answer is false.
bool Jobs::OpenOutput(const Source& source, const std::optional<MemberHeader>& header, bool first, bool restoresNames,
                      std::optional<Output>& output) {
  if (options_.action != Action::kDecompress) {
    output.emplace(-1, "", kBufferBytes);
    return true;
  }
  try {
    Target& target = OpenTarget(source, PathFor(source, header, restoresNames, !first));
    Say(source, "decompressing");
    output.emplace(target.descriptor(), target.name(), kBufferBytes);
    return true;
  } catch (const Fatal&) {
    throw;
  } catch (const Failure& failure) {
    if (!restoresNames) throw;
    messages_.Error(failure.what());
    output.emplace(-1, "", kBufferBytes);
    return false;
  }
}

void Jobs::ReadMember(const Source& source, InputCursor& cursor, const std::optional<MemberHeader>& header,
                      Output& output) {
  const bool lists = options_.action == Action::kList;
  const Blocks what = lists                            ? Blocks::kSkip
                      : options_.check == Check::kNone ? Blocks::kDecodeUnchecked
                                                       : Blocks::kDecode;
  const BlockSums sums = header ? ReadBlocks(cursor, *header, what, output) : ReadParallel(cursor, what, output);
  if (!lists) return;
  std::string name = source.path.empty() ? "<stdout>" : source.path;
  if (const auto path = DecompressedPath(source.path, options_.suffix)) name = *path;
  if (options_.restoreName && header && !header->name.empty()) name = header->name;
  listing_.Print(header ? MethodName(*header) : "parallel", sums, header ? header->time : 0, name);
}

// All of an output is there.
void Jobs::Finish(const Source& source, const std::optional<MemberHeader>& header, Output& output) {
  output.Flush();
  if (options_.action == Action::kDecompress) CompleteTarget(source, header);
}

std::string Jobs::PathFor(const Source& source, const std::optional<MemberHeader>& header, bool restoresName,
                          bool isLater) const {
  if (!WritesFile(source)) return "";
  if (restoresName && header) {
    if (const auto path = Besides(source.path, header->name)) return *path;
    if (isLater || !options_.restoreName) {
      throw Fatal(source.path + ": multipart archive, but no filename stored (use option '-o')");
    }
  }
  if (const auto path = DecompressedPath(source.path, options_.suffix)) return *path;
  if (options_.force < 2) throw Failure(source.path + ": unknown suffix -- ignored");
  return source.path + ".raw";
}

Target& Jobs::OpenTarget(const Source& source, const std::string& path) {
  if (target_) return *target_;
  if (WritesToStdout(source)) {
    target_ = std::make_unique<Target>();
    return *target_;
  }
  const std::string& name = options_.output.empty() ? path : options_.output;
  struct stat status;
  const bool exists = lstat(name.c_str(), &status) == 0;
  if (exists && options_.force == 0) {
    const std::string text = name + ": already exists; not overwritten";
    if (!options_.output.empty()) throw Fatal(text);  // no other file would fare better
    throw Failure(text);
  }
  target_ = std::make_unique<Target>(name, exists);
  return *target_;
}

// The file is done. That of -o waits for the others.
void Jobs::CompleteTarget(const Source& source, const std::optional<MemberHeader>& header) {
  if (!CompletesTarget(source) || !target_) return;
  struct stat attributes = source.path.empty() ? DefaultAttributes() : source.status;
  time_t changed = 0;
  if (options_.action == Action::kDecompress) {
    // A stored mode cannot give more than permissions.
    if (!options_.restoreMode) {
      attributes.st_mode = DefaultMode();
    } else if (header && header->mode != 0) {
      attributes.st_mode = header->mode & 0777;
    }
    if (!options_.restoreTime) {
      changed = time(nullptr);
    } else if (header) {
      changed = static_cast<time_t>(header->time);
    }
  }
  target_->Complete(attributes, changed);
  target_.reset();
}

void Jobs::RemoveSource(const Source& source) {
  if (!options_.unlink || source.path.empty() || (options_.toStdout && options_.force == 0)) return;
  if (!options_.output.empty() && !CompletesTarget(source)) {
    doneFiles_.push_back(source.path);
  } else {
    Unlink(source.path);
  }
}

void Jobs::Unlink(const std::string& path) {
  if (unlink(path.c_str()) != 0) messages_.Error(SystemMessage(path, errno));
}

void Jobs::Warn(const std::string& text) { messages_.Warning(text, StatusOfWarnings()); }

void Jobs::Say(const Source& source, const char* what) const {
  if (options_.verbose == 0) return;
  const std::string target = WritesToStdout(source) ? "<stdout>" : target_->name();
  std::fprintf(stderr, "%s %s into %s\n", what, NameOf(source).c_str(), target.c_str());
}

bool Jobs::WantsProgress(const Source& source) const {
  const bool lists = options_.action == Action::kList;
  return example::WantsBar(options_.quiet, lists || (options_.action != Action::kTest && WritesToStdout(source)));
}

}  // namespace zellzop
