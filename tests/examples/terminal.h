// Programs at a terminal, and patience with them.
#pragma once

#include <functional>
#include <string>

#include "gtest/gtest.h"

namespace zeldc_test {

// Whether the condition comes true within a time that is long enough for the slowest machine: only a failing test waits
// so long.
bool Eventually(const std::function<bool()>& condition);

// A pseudo-terminal: what programs write to `name()` can be read here.
class Terminal {
 public:
  Terminal();
  ~Terminal();
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  bool works() const { return slave_ >= 0; }
  const std::string& name() const { return name_; }

  // Everything written so far.
  const std::string& Text();
  void Type(const std::string& keys) const;

 private:
  int master_;
  int slave_ = -1;
  std::string name_;
  std::string text_;
};

// A test with a terminal of its own.
template <typename Test>
class OnTerminal : public Test {
 protected:
  void SetUp() override {
    if (!terminal_.works()) GTEST_SKIP() << "there are no pseudo-terminals";
  }

  Terminal terminal_;
};

}  // namespace zeldc_test
