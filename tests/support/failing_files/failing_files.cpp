#undef _FORTIFY_SOURCE  // would replace these functions by its own
#include "support/failing_files/failing_files.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace failing_files {

namespace {

struct State {
  bool isFollowing = false;
  Plan plan;
  size_t counted = 0;
  std::string calls = {}, signalled = {};
  int signal = 0;
  std::FILE *notes = nullptr;
};

State &state() {
  static State &state = *new State;  // calls may come after the last destructor
  return state;
}

// True if the call must fail, or a write must be short.
bool isMarked(const std::string &name) {
  State &now = state();
  if (!now.isFollowing) return false;
  now.isFollowing = false;  // not for the calls below
  if (now.plan.observe) now.plan.observe(name);
  const bool marked = ++now.counted == now.plan.failing;
  now.calls += name + (marked ? "! " : " ");
  if (now.notes != nullptr) std::fprintf(now.notes, "%s%s", name.c_str(), marked ? "! " : " ");
  now.isFollowing = true;
  if (now.signalled == name) kill(getpid(), now.signal);
  return marked;
}

bool fails(const char *name) {
  if (!isMarked(name) || state().plan.error == 0) return false;
  errno = state().plan.error;
  return true;
}

// What takes file offsets of 64 bits has a name of its own.
template <typename Result, typename... Parameters>
auto systems(const char *name, Result (*)(Parameters...)) {
  void *wide = dlsym(RTLD_NEXT, (std::string(name) + "64").c_str());
  return reinterpret_cast<Result (*)(Parameters...)>(wide != nullptr ? wide
                                                                     : dlsym(RTLD_NEXT, name));
}

template <typename Function, typename... Arguments>
auto call(const char *name, Function *own, Arguments... arguments) {
  return fails(name) ? decltype(own(arguments...))(-1) : systems(name, own)(arguments...);
}

[[gnu::constructor]] void readPlan() {
  const char *text = std::getenv(kPlanVariable);
  if (text == nullptr) return;
  std::istringstream(text) >> state().plan.failing >> state().plan.error >> state().signalled >>
      state().signal;
  state().notes = std::fopen(std::getenv(kCallsVariable), "w");
  std::setvbuf(state().notes, nullptr, _IONBF, 0);
  state().isFollowing = true;
}

}  // namespace

Following::Following(const Plan &plan) { state() = {true, plan}; }
Following::~Following() { state().isFollowing = false; }
std::string Following::calls() { return state().calls; }

}  // namespace failing_files

using failing_files::call;
using failing_files::fails;
using failing_files::systems;
using Status = struct stat;

extern "C" {

int open(const char *path, int flags, ...) {
  va_list list;
  va_start(list, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(list, mode_t) : 0;
  va_end(list);
  return call("open", static_cast<int (*)(const char *, int, mode_t)>(nullptr), path, flags, mode);
}

ssize_t write(int file, const void *bytes, size_t count) {
  const bool isMarked = failing_files::isMarked("write");
  const int error = failing_files::state().plan.error;
  if (isMarked && error != 0) {
    errno = error;
    return -1;
  }
  return systems("write", &write)(file, bytes, isMarked ? (count + 1) / 2 : count);
}

// The file is closed even if an error is reported.
int close(int file) {
  const int result = systems("close", &close)(file);
  return fails("close") ? -1 : result;
}

char *realpath(const char *path, char *to) noexcept {
  return fails("realpath") ? nullptr : systems("realpath", &realpath)(path, to);
}

int fsync(int file) { return call("fsync", &fsync, file); }
int fchmod(int file, mode_t mode) noexcept { return call("fchmod", &fchmod, file, mode); }
int fchown(int file, uid_t u, gid_t g) noexcept { return call("fchown", &fchown, file, u, g); }
int fstat(int file, Status *to) noexcept { return call("fstat", &fstat, file, to); }
int lstat(const char *path, Status *to) noexcept { return call("lstat", &lstat, path, to); }
int stat(const char *path, Status *to) noexcept { return call("stat", &lstat, path, to); }
int rename(const char *from, const char *to) noexcept { return call("rename", &rename, from, to); }
int unlink(const char *path) noexcept { return call("unlink", &unlink, path); }
int getentropy(void *bytes, size_t count) { return call("getentropy", &getentropy, bytes, count); }
ssize_t llistxattr(const char *path, char *names, size_t size) noexcept {
  return call("llistxattr", &llistxattr, path, names, size);
}
ssize_t lgetxattr(const char *path, const char *name, void *value, size_t size) noexcept {
  return call("lgetxattr", &lgetxattr, path, name, value, size);
}
ssize_t fgetxattr(int file, const char *name, void *value, size_t size) noexcept {
  return call("fgetxattr", &fgetxattr, file, name, value, size);
}
int fsetxattr(int file, const char *name, const void *value, size_t size, int flags) noexcept {
  return call("fsetxattr", &fsetxattr, file, name, value, size, flags);
}
int fremovexattr(int file, const char *name) noexcept {
  return call("fremovexattr", &fremovexattr, file, name);
}

}  // extern "C"
