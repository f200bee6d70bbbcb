// What a program has to tell its user: messages on standard error, and the exit status that follows from them.
#pragma once

#include <stdexcept>
#include <string>

namespace example {

enum ExitStatus { kExitOk = 0, kExitError = 1, kExitWarning = 2 };

// A file that cannot be done: the exit status becomes 1, and the next file is taken.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A failure that ends the program, because it would meet every other file, too.
class Fatal : public Failure {
 public:
  using Failure::Failure;
};

// A file that is left alone on purpose: the exit status becomes 2 unless there are failures.
class Skipped : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// `name: reason`, with the system's text for an errno value.
std::string SystemMessage(const std::string& name, int errorNumber);

class Messages {
 public:
  Messages(std::string program, bool quiet) : program_(std::move(program)), quiet_(quiet) {}

  void Error(const std::string& text);
  void Warning(const std::string& text);  // not shown when quiet
  void Remark(const std::string& text);   // as a warning, but without effect on the exit status

  int exitStatus() const { return status_; }

 private:
  void Print(const std::string& text) const;

  std::string program_;
  bool quiet_;
  int status_ = kExitOk;
};

}  // namespace example
