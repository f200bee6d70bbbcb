// Programs in a directory of their own, as a user at a shell runs them.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

#include "gtest/gtest.h"
#include "support/bytes.h"

namespace zeldc_test {

struct Outcome {
  int status = 0;  // exit status; 128 and the signal's number when a signal ended the shell
  std::string out;
  std::string err;
  long peak_kilobytes = 0;  // of the largest program
};

// A test in an empty directory. The example programs are found as commands.
class ShellTest : public testing::Test {
 protected:
  ShellTest();
  ~ShellTest() override;

  // Runs a command line of the POSIX shell in the directory, without input.
  Outcome Run(const std::string& command) const;

  // Starts one without waiting for it. Its standard streams are the test's own files `name.out` and `name.err` unless
  // the command says otherwise; the answer is its process,
  // which leads a group of its own.
  pid_t Start(const std::string& command, const std::string& name) const;
  static Outcome Wait(pid_t process);

  void Write(const std::string& name, const Bytes& content) const;
  void Write(const std::string& name, std::string_view content) const { Write(name, ToBytes(content)); }
  Bytes Read(const std::string& name) const;
  std::string ReadText(const std::string& name) const;

  std::string Path(const std::string& name) const { return directory_ + "/" + name; }
  // All names in the directory, hidden ones too, sorted.
  std::vector<std::string> Files() const;

 private:
  std::string directory_;  // what the tests see
  std::string outputs_;    // where their output goes
};

bool IsInstalled(const std::string& program);

// The command, with which even the superuser may not write where a file's mode forbids it.
std::string AsUnprivileged(const std::string& command);

}  // namespace zeldc_test

// A test with a program that a machine may lack.
#define NEEDS_PROGRAM(program) \
  if (!zeldc_test::IsInstalled(program)) GTEST_SKIP() << program << " is not installed"
