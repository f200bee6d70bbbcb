#include "common/new_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "common/messages.h"

namespace example {

namespace {

static_assert(sizeof(off_t) == 8, "files of more than 2 GiB need 64-bit offsets");

constexpr std::array kEndingSignals = {SIGHUP, SIGINT, SIGTERM};

// What the signal handler has to remove; empty when there is nothing.
char pendingPath[PATH_MAX];

// Holds the signals back while the temporary file and pendingPath must change together.
class SignalsHeld {
 public:
  SignalsHeld() {
    sigset_t held;
    sigemptyset(&held);
    for (const int number : kEndingSignals) sigaddset(&held, number);
    sigprocmask(SIG_BLOCK, &held, &before_);
  }
  ~SignalsHeld() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;

 private:
  sigset_t before_;
};

// Dies of the signal, as it would have done without us: SA_RESETHAND has restored the default action.
void RemoveAndDie(int number) {
  if (pendingPath[0] != '\0') unlink(pendingPath);
  raise(number);
}

}  // namespace

NewFile::NewFile(std::string path) : path_(std::move(path)) {
  const size_t slash = path_.rfind('/');
  temporaryPath_ = (slash == std::string::npos ? "" : path_.substr(0, slash + 1)) + ".zeldc-XXXXXX";
  if (temporaryPath_.size() >= sizeof pendingPath) throw Failure(SystemMessage(path_, ENAMETOOLONG));

  const SignalsHeld held;
  descriptor_ = mkstemp(temporaryPath_.data());
  if (descriptor_ < 0) throw Failure(SystemMessage(path_, errno));
  std::memcpy(pendingPath, temporaryPath_.c_str(), temporaryPath_.size() + 1);
}

NewFile::~NewFile() {
  if (descriptor_ >= 0) close(descriptor_);
  if (temporaryPath_.empty()) return;
  const SignalsHeld held;
  unlink(temporaryPath_.c_str());
  pendingPath[0] = '\0';
}

void NewFile::CopyAttributes(const struct stat& other, time_t modificationTime) {
  // Only the superuser may give files away, so the owner is an attempt. Permissions of a group that could not be kept
  // would go to another one.
  mode_t mode = other.st_mode & 0777;
  if (fchown(descriptor_, static_cast<uid_t>(-1), other.st_gid) != 0) mode &= ~static_cast<mode_t>(070);
  if (fchown(descriptor_, other.st_uid, static_cast<gid_t>(-1)) != 0) errno = 0;
  if (fchmod(descriptor_, mode) != 0) throw Failure(SystemMessage(path_, errno));

  timespec times[2] = {other.st_atim, other.st_mtim};
  if (modificationTime != 0) times[1] = {modificationTime, 0};
  if (futimens(descriptor_, times) != 0) throw Failure(SystemMessage(path_, errno));
}

void NewFile::Commit(bool replace) {
  // Some file systems report a failed write only here.
  if (close(std::exchange(descriptor_, -1)) != 0) throw Failure(SystemMessage(path_, errno));

  const SignalsHeld held;
  const char* const from = temporaryPath_.c_str();
  const char* const to = path_.c_str();
  if (replace) {
    if (rename(from, to) != 0) throw Failure(SystemMessage(path_, errno));
  } else if (link(from, to) == 0) {
    unlink(from);
  } else {
    // A link never replaces a file. Where the file system knows no links, look first.
    const int linkError = errno;
    struct stat status;
    if (linkError == EEXIST || lstat(to, &status) == 0) throw Failure(SystemMessage(path_, EEXIST));
    if (rename(from, to) != 0) throw Failure(SystemMessage(path_, errno));
  }
  temporaryPath_.clear();
  pendingPath[0] = '\0';
}

void RemoveNewFileOnSignals() {
  for (const int number : kEndingSignals) {
    struct sigaction before;
    sigaction(number, nullptr, &before);
    // A signal that the parent had ignored, as nohup does, stays ignored.
    if (before.sa_handler == SIG_IGN) continue;
    struct sigaction action {};
    action.sa_handler = RemoveAndDie;
    action.sa_flags = SA_RESETHAND;
    sigemptyset(&action.sa_mask);
    sigaction(number, &action, nullptr);
  }
  std::signal(SIGXFSZ, SIG_IGN);
}

}  // namespace example
