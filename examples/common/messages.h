// What a program has to tell its user: messages on standard error, and the exit status that follows from them.
#pragma once

#include <new>
#include <stdexcept>
#include <string>

namespace example {

// Programs may add their own for other kinds of failures.
enum ExitStatus { kExitOk = 0, kExitError = 1, kExitWarning = 2 };

// A file that cannot be done: it decides the exit status, and the next file is taken.
class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& text, int exitStatus = kExitError)
      : std::runtime_error(text), exitStatus_(exitStatus) {}

  int exitStatus() const { return exitStatus_; }

 private:
  int exitStatus_;
};

// A failure that ends the program, because it would meet every other file, too.
class Fatal : public Failure {
 public:
  using Failure::Failure;
};

// A file that is left alone on purpose, which is worth a warning.
class Skipped : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// `name: reason`, with the system's text for an errno value.
std::string SystemMessage(const std::string& name, int errorNumber);

class Messages {
 public:
  Messages(std::string program, bool quiet) : program_(std::move(program)), quiet_(quiet) {}

  void Error(const std::string& text, int exitStatus = kExitError);
  void Warning(const std::string& text, int exitStatus = kExitWarning);  // not shown when quiet
  void Remark(const std::string& text);  // as a warning, but without effect on the exit status

  // Does the work on one file. What is thrown there becomes a message, unless it ends the program; skipped files leave
  // this exit status.
  template <typename Work>
  void Try(const std::string& path, Work work, int skippedStatus = kExitWarning) {
    try {
      work();
    } catch (const Fatal&) {
      throw;
    } catch (const Failure& failure) {
      Error(failure.what(), failure.exitStatus());
    } catch (const Skipped& skipped) {
      Warning(skipped.what(), skippedStatus);
    } catch (const std::bad_alloc&) {
      Error(path + ": memory exhausted");
    }
  }

  // The highest of the errors; that of the warnings when there is no error.
  int exitStatus() const { return error_ != kExitOk ? error_ : warning_; }

 private:
  void Print(const std::string& text) const;

  std::string program_;
  bool quiet_;
  int error_ = kExitOk;
  int warning_ = kExitOk;
};

}  // namespace example
