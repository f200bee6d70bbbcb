// The work on the files of the command line.
#pragma once

#include <string>

#include "common/input_file.h"
#include "common/messages.h"
#include "common/target.h"
#include "zelgzip/decompress.h"
#include "zelgzip/listing.h"
#include "zelgzip/options.h"

namespace zelgzip {

class Jobs {
 public:
  explicit Jobs(Options options);

  // Does all files. Returns the exit status.
  int Run();

 private:
  using Source = example::InputFile;

  void TakePath(const std::string& path);
  void TakeDirectory(const std::string& path);
  void TakeFile(const std::string& path);
  void Take(const Source& source);

  void CompressSource(const Source& source);
  void DecompressSource(const Source& source);
  void ReadSource(const Source& source);  // to test or to list it

  MemberHeader HeaderOf(const Source& source);
  example::Target OpenTarget(const Source& source, const std::string& path) const;
  void RemoveSource(const Source& source);
  void RemarkOn(Ahead behind, const Source& source);
  void ReportDone(const Source& source, const std::string& ratio, const example::Target& target) const;

  std::string DecompressedPath(const Source& source, const MemberHeader& header) const;
  bool WritesToStdout(const Source& source) const { return options_.toStdout || source.path.empty(); }
  bool WantsProgress(const Source& source) const;

  Options options_;
  example::Messages messages_;
  Listing listing_;
};

}  // namespace zelgzip
