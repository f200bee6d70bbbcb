// The work on the files of the command line.
#pragma once

#include <string>

#include "common/input_file.h"
#include "common/messages.h"
#include "common/target.h"
#include "zelbzip2/options.h"

namespace zelbzip2 {

class Jobs {
 public:
  explicit Jobs(Options options);

  // Does all files. Returns the exit status.
  int Run();

 private:
  using Source = example::InputFile;

  void TakePath(const std::string& path);
  Source Open(const std::string& path) const;
  void Compress(const Source& source);
  void Decompress(const Source& source);

  example::Target OpenTarget(const Source& source, const std::string& path) const;
  void CheckTerminal(int descriptor, const char* what) const;
  void RemoveSource(const Source& source);
  void ReportDone(const Source& source, const std::string& what) const;

  bool WritesToStdout(const Source& source) const { return options_.toStdout || source.path.empty(); }
  bool WritesFile(const Source& source) const { return options_.action != Action::kTest && !WritesToStdout(source); }
  bool WantsProgress(const Source& source) const;

  Options options_;
  example::Messages messages_;
  size_t longestName_;
};

}  // namespace zelbzip2
