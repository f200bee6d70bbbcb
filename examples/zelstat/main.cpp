// zelstat: what the general entropy coders of the zeldc library make of files.

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <vector>

#include "common/file_streams.h"
#include "common/input_file.h"
#include "common/messages.h"
#include "common/new_file.h"
#include "common/progress.h"
#include "zelstat/byte_coders.h"
#include "zelstat/chart.h"
#include "zelstat/options.h"
#include "zelstat/report.h"
#include "zelstat/sample_coder.h"

namespace zelstat {

namespace {

using example::Failure;
using example::Skipped;
using example::SystemMessage;

// The library counts in 31 bits; codes may be longer than what they stand for.
constexpr size_t kMostBytes = size_t{1} << 26;

Bytes ReadAll(const std::string& path) {
  auto file = path == "-" ? example::StandardInput() : example::OpenForReading(path);
  if (!file) throw Failure(SystemMessage(path, errno));
  example::Progress progress(file->name(), file->size(), false);
  example::Input input(file->descriptor.number(), file->name(), progress);
  Bytes content(static_cast<size_t>(std::min<uint64_t>(kMostBytes + 1, file->size() + 65536)));
  size_t size = 0;
  for (;;) {
    size += input.ReadFully(&content[size], content.size() - size);
    if (size > kMostBytes) throw Failure(file->name() + ": has more than 64 MiB");
    if (size < content.size()) break;
    content.resize(std::min(kMostBytes + 1, 2 * content.size()));
  }
  content.resize(size);
  return content;
}

FileResults Measure(const std::string& path, const Options& options) try {
  const Bytes content = ReadAll(path);
  FileResults file;
  file.name = path == "-" ? "stdin" : path;
  if (!options.samples) {
    if (content.empty()) throw Skipped(file.name + ": is empty -- ignored");
    file.bytes = content.size();
    file.results = CodeBytes(content, options.block);
    return file;
  }
  const Samples samples = ReadSamples(content);
  if (samples.values.empty()) throw Skipped(file.name + ": has no samples -- ignored");
  file.name += ": " + samples.kind;
  file.bytes = 2 * samples.values.size();
  file.results = CodeSamples(samples);
  return file;
} catch (const CoderError& error) {
  throw Failure(path + ": " + error.what());
}

int Run(const Options& options) {
  example::Messages messages(kProgramName, false);
  std::vector<FileResults> files;
  for (const std::string& path : options.files) {
    messages.Try(path, [&] {
      files.push_back(Measure(path, options));
      if (files.size() > 1) std::puts("");
      Print(files.back());
      for (const Result& result : files.back().results) {
        if (!result.comesBack) messages.Error(files.back().name + ": " + result.coder + " does not give it back");
      }
    });
  }
  try {
    if (!options.chart.empty() && !files.empty()) WriteChart(options.chart, DrawChart(files));
  } catch (const Failure& failure) {
    messages.Error(failure.what());
  }
  if (std::fflush(stdout) != 0) messages.Error(SystemMessage("stdout", errno));
  return messages.exitStatus();
}

}  // namespace

}  // namespace zelstat

int main(int argc, char** argv) {
  const zelstat::Options options = zelstat::ParseOptions(argc, argv);
  example::RemoveNewFileOnSignals();
  return zelstat::Run(options);
}
