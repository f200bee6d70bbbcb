#include "shell.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace zeldc_test {

namespace {

std::string MakeDirectory() {
  std::string path = testing::TempDir() + "zeldc-test-XXXXXX";
  if (mkdtemp(path.data()) == nullptr) throw std::runtime_error(path + ": " + strerror(errno));
  return path;
}

std::string Slurp(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("can't read " + path);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

// What the programs see wherever the tests run. A sanitizer's report must not look like an exit status of theirs.
void PrepareEnvironment() {
  const char* const path = getenv("PATH");
  setenv("PATH", (std::string(ZELDC_EXAMPLES ":") + (path ? path : "")).c_str(), 1);
  setenv("LC_ALL", "C", 1);
  setenv("TZ", "UTC", 1);
  unsetenv("GZIP");
  for (const char* const name : {"ASAN_OPTIONS", "LSAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS"}) {
    const char* const value = getenv(name);
    setenv(name, (std::string(value ? value : "") + ":exitcode=99").c_str(), 1);
  }
}

void Redirect(const std::string& path, int flags, int descriptor) {
  const int file = open(path.c_str(), flags, 0600);
  if (file < 0 || dup2(file, descriptor) < 0) _exit(127);
  close(file);
}

}  // namespace

ShellTest::ShellTest() : directory_(MakeDirectory()), outputs_(MakeDirectory()) {}

ShellTest::~ShellTest() {
  std::filesystem::remove_all(directory_);
  std::filesystem::remove_all(outputs_);
}

Outcome ShellTest::Run(const std::string& command) const {
  Outcome outcome = Wait(Start(command, "run"));
  outcome.out = Slurp(outputs_ + "/run.out");
  outcome.err = Slurp(outputs_ + "/run.err");
  return outcome;
}

pid_t ShellTest::Start(const std::string& command, const std::string& name) const {
  const pid_t process = fork();
  if (process < 0) throw std::runtime_error("can't fork");
  setpgid(process, process);  // whichever of the two comes first
  if (process == 0) {
    if (chdir(directory_.c_str()) != 0) _exit(127);
    Redirect("/dev/null", O_RDONLY, STDIN_FILENO);
    Redirect(outputs_ + "/" + name + ".out", O_WRONLY | O_CREAT | O_TRUNC, STDOUT_FILENO);
    Redirect(outputs_ + "/" + name + ".err", O_WRONLY | O_CREAT | O_TRUNC, STDERR_FILENO);
    PrepareEnvironment();
    execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    _exit(127);
  }
  return process;
}

Outcome ShellTest::Wait(pid_t process) {
  int status;
  rusage usage;
  while (wait4(process, &status, 0, &usage) < 0) {
    if (errno != EINTR) throw std::runtime_error("can't wait");
  }
  Outcome outcome;
  outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  outcome.peak_kilobytes = usage.ru_maxrss;
  return outcome;
}

void ShellTest::Write(const std::string& name, const Bytes& content) const {
  std::ofstream file(Path(name), std::ios::binary);
  file.write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
  if (!file.flush()) throw std::runtime_error("can't write " + Path(name));
}

Bytes ShellTest::Read(const std::string& name) const { return ToBytes(Slurp(Path(name))); }

std::string ShellTest::ReadText(const std::string& name) const { return Slurp(Path(name)); }

std::vector<std::string> ShellTest::Files() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory_)) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

bool IsInstalled(const std::string& program) {
  return system(("command -v " + program + " >/dev/null 2>&1").c_str()) == 0;
}

std::string AsUnprivileged(const std::string& command) {
  return geteuid() == 0 ? "setpriv --bounding-set=-dac_override " + command : command;
}

}  // namespace zeldc_test
