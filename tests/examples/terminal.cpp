#include "terminal.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "gtest/gtest.h"

namespace zeldc_test {

bool Eventually(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(120);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

Terminal::Terminal() : master_(posix_openpt(O_RDWR | O_NOCTTY)) {
  if (master_ >= 0 && grantpt(master_) == 0 && unlockpt(master_) == 0) {
    name_ = ptsname(master_);
    slave_ = open(name_.c_str(), O_RDWR | O_NOCTTY);
    fcntl(master_, F_SETFL, O_NONBLOCK);
  }
}

Terminal::~Terminal() {
  if (slave_ >= 0) close(slave_);
  if (master_ >= 0) close(master_);
}

const std::string& Terminal::Text() {
  char buffer[4096];
  ssize_t count;
  while ((count = read(master_, buffer, sizeof buffer)) > 0) text_.append(buffer, static_cast<size_t>(count));
  return text_;
}

void Terminal::Type(const std::string& keys) const {
  EXPECT_EQ(write(master_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
}

}  // namespace zeldc_test
