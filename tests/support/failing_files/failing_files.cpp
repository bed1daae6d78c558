#undef _FORTIFY_SOURCE  // would have functions of its own in the place of these
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

bool g_isFollowing;
size_t g_counted;
int g_notes = -1;

Plan &plan() {
  static Plan plan;
  return plan;
}

std::string &recorded() {
  static std::string calls;
  return calls;
}

// True when the call is to fail, or a write to be short.
bool isMarked(const std::string &name) {
  if (!g_isFollowing) return false;
  g_isFollowing = false;
  if (plan().observe) plan().observe(name);
  if (plan().only.empty() || plan().only == name) ++g_counted;
  const size_t past = g_counted - plan().first;  // wraps before the first
  const bool marked =
      plan().first != 0 && past < plan().count && (plan().only.empty() || plan().only == name);
  const std::string note = name + (marked ? "! " : " ");
  recorded() += note;
  if (g_notes >= 0) dprintf(g_notes, "%s", note.c_str());
  g_isFollowing = true;
  if (plan().signalled == name) kill(getpid(), SIGTERM);
  return marked;
}

bool fails(const char *name) {
  if (!isMarked(name) || plan().error == 0) return false;
  errno = plan().error;
  return true;
}

template <typename Result, typename... Parameters>
auto systems(const char *name, Result (*)(Parameters...)) {
  return reinterpret_cast<Result (*)(Parameters...)>(dlsym(RTLD_NEXT, name));
}

template <typename Function, typename... Arguments>
auto call(const char *name, Function *own, Arguments... arguments) {
  return fails(name) ? decltype(own(arguments...))(-1) : systems(name, own)(arguments...);
}

using Open = int(const char *, int, mode_t);

[[gnu::constructor]] void readPlan() {
  const char *text = std::getenv(kPlanVariable);
  const char *notes = std::getenv(kNotesVariable);
  if (text == nullptr || notes == nullptr) return;
  std::istringstream(text) >> plan().first >> plan().error >> plan().signalled;
  g_notes =
      systems("open", static_cast<Open *>(nullptr))(notes, O_WRONLY | O_CREAT | O_TRUNC, 0600);
  g_isFollowing = true;
}

}  // namespace

Following::Following(const Plan &followed) {
  plan() = followed;
  g_counted = 0;
  recorded().clear();
  g_isFollowing = true;
}

Following::~Following() { g_isFollowing = false; }

std::string Following::calls() const { return recorded(); }

}  // namespace failing_files

using failing_files::call;

extern "C" {

int open(const char *path, int flags, ...) {
  va_list list;
  va_start(list, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(list, mode_t) : 0;
  va_end(list);
  return call("open", static_cast<failing_files::Open *>(nullptr), path, flags, mode);
}

ssize_t write(int file, const void *bytes, size_t count) {
  const bool isMarked = failing_files::isMarked("write");
  errno = failing_files::plan().error;
  if (isMarked && errno != 0) return -1;
  return failing_files::systems("write", &write)(file, bytes, isMarked ? (count + 1) / 2 : count);
}

// Closed it is, whatever is reported.
int close(int file) {
  const int result = failing_files::systems("close", &close)(file);
  return failing_files::fails("close") ? -1 : result;
}

char *realpath(const char *path, char *canonical) noexcept {
  return failing_files::fails("realpath")
             ? nullptr
             : failing_files::systems("realpath", &realpath)(path, canonical);
}

int fsync(int file) { return call("fsync", &fsync, file); }
int fchmod(int file, mode_t mode) noexcept { return call("fchmod", &fchmod, file, mode); }
int fchown(int file, uid_t owner, gid_t group) noexcept {
  return call("fchown", &fchown, file, owner, group);
}
int fstat(int file, struct stat *to) noexcept { return call("fstat", &fstat, file, to); }
int lstat(const char *path, struct stat *to) noexcept { return call("lstat", &lstat, path, to); }
int stat(const char *path, struct stat *to) noexcept {
  return call("stat", static_cast<int (*)(const char *, struct stat *)>(&stat), path, to);
}
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
