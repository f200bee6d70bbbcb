// The work on the files of the command line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/input_file.h"
#include "common/messages.h"
#include "common/target.h"
#include "zelzlib/options.h"

namespace zelzlib {

class Jobs {
 public:
  explicit Jobs(Options options);

  // Does all files. Returns the exit status.
  int Run();

 private:
  using Source = example::InputFile;

  void ReadDictionary();
  void TakePath(const std::string& path);
  Source Open(const std::string& path) const;
  void CompressSource(const Source& source);
  void DecompressSource(const Source& source);

  example::Target OpenTarget(const Source& source) const;
  std::string TargetPath(const std::string& path) const;
  void CheckTerminal(int descriptor, const char* what) const;
  void RemoveSource(const Source& source);

  bool WritesToStdout(const Source& source) const {
    return options_.toStdout || (source.path.empty() && options_.output.empty());
  }
  bool WantsProgress(const Source& source) const;

  Options options_;
  example::Messages messages_;
  std::vector<uint8_t> dictionary_;
};

}  // namespace zelzlib
