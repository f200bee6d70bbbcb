// The work on the files of the command line.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/input_file.h"
#include "common/messages.h"
#include "common/target.h"
#include "zellzop/blocks.h"
#include "zellzop/listing.h"
#include "zellzop/options.h"

namespace zellzop {

class Jobs {
 public:
  explicit Jobs(Options options);

  // Does all files. Returns the exit status.
  int Run();

 private:
  using Source = example::InputFile;

  // What stands where a member may begin.
  enum class Ahead { kMember, kParallel, kEnd, kGarbage };
  static Ahead LookAhead(example::InputCursor& cursor);

  void TakePath(const std::string& path);
  Source Open(const std::string& path) const;
  void Compress(const Source& source);
  void Decompress(const Source& source);
  bool OpenOutput(const Source& source, const std::optional<MemberHeader>& header, bool first, bool restoresNames,
                  std::optional<example::Output>& output);
  void ReadMember(const Source& source, example::InputCursor& cursor, const std::optional<MemberHeader>& header,
                  example::Output& output);
  void Finish(const Source& source, const std::optional<MemberHeader>& header, example::Output& output);

  MemberHeader MakeHeader(const Source& source) const;
  std::string PathFor(const Source& source, const std::optional<MemberHeader>& header, bool restoresName,
                      bool isLater) const;
  example::Target& OpenTarget(const Source& source, const std::string& path);
  void CompleteTarget(const Source& source, const std::optional<MemberHeader>& header);
  void RemoveSource(const Source& source);
  void Unlink(const std::string& path);
  void Warn(const std::string& text);
  int StatusOfWarnings() const { return options_.failOnWarnings ? example::kExitWarning : example::kExitOk; }
  void Say(const Source& source, const char* what) const;

  bool WritesToStdout(const Source& source) const {
    return options_.toStdout || (source.path.empty() && options_.output.empty());
  }
  bool WritesNewFiles() const {
    return (options_.action == Action::kCompress || options_.action == Action::kDecompress) && !options_.toStdout;
  }
  // To a file of its own name.
  bool WritesFile(const Source& source) const {
    return WritesNewFiles() && options_.output.empty() && !source.path.empty();
  }
  // The output is done when this file is.
  bool CompletesTarget(const Source& source) const {
    return WritesFile(source) || (!options_.output.empty() && options_.files.size() == 1);
  }
  bool WantsProgress(const Source& source) const;

  Options options_;
  example::Messages messages_;
  Listing listing_;
  std::unique_ptr<example::Target> target_;  // with -o, of all files
  std::vector<std::string> doneFiles_;       // with -o, files to be deleted at the end
};

}  // namespace zellzop
