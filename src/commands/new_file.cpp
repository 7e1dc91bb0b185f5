// SPDX-License-Identifier: MIT
#include "commands/new_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>

#include "commands/remarks.h"
#include "support/errors.h"

namespace orvelle {

namespace {

// The name without links; nothing if there is no such file.
std::optional<std::string> real_path(const char* name) {
  const std::unique_ptr<char, decltype(&std::free)> path(realpath(name, nullptr), std::free);
  return path ? std::optional<std::string>(path.get()) : std::nullopt;
}

std::string folder_of(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == path.npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

bool is_link(const char* name) {
  struct stat status;
  return lstat(name, &status) == 0 && S_ISLNK(status.st_mode);
}

// Nothing for what is no file with content of its own.
std::optional<struct stat> regular_file(const char* name, int standard_stream) {
  struct stat status;
  const bool is_there =
      std::strcmp(name, "-") == 0 ? fstat(standard_stream, &status) == 0 : stat(name, &status) == 0;
  return is_there && S_ISREG(status.st_mode) ? std::optional(status) : std::nullopt;
}

}  // namespace

NewFile::NewFile(const char* name) : name_(name) {
  if (name_.empty()) stop("an output needs a name");
  constexpr int At_Once = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
  const std::optional<std::string> path = real_path(name);
  struct stat status;
  // What cannot be looked at may be a file with content.
  if (!path && errno == ENOMEM) space_error();
  if (path ? stat(name, &status) != 0 : errno != ENOENT) stop_here();
  const bool is_new = !path && !is_link(name);
  const bool is_file = path && S_ISREG(status.st_mode);
  if (is_file && access(name, W_OK) != 0) stop_here();
  if (is_file || is_new) {
    target_ = path.value_or(name);
    if (open_beside()) {
      if (is_file) fchmod(descriptor_, status.st_mode & 07777);
      return;
    }
    if (is_new || (errno != EACCES && errno != EROFS)) stop_here();
    target_.clear();  // the folder takes no new file
  }
  descriptor_ = open(name, At_Once, 0666);
  if (descriptor_ < 0) stop_here();
}

// A file without a name, if the system has such, goes away by itself when the program is killed.
bool NewFile::open_beside() {
#ifdef O_TMPFILE
  const bool can_be_named = access("/proc/self/fd", X_OK) == 0;
  if (can_be_named) descriptor_ = open(folder_of(target_).c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
  if (descriptor_ >= 0) return true;
  if (can_be_named && errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL) return false;
#endif
  temporary_ = target_ + ".new-" + std::to_string(getpid());
  descriptor_ = open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (descriptor_ < 0) temporary_.clear();
  return descriptor_ >= 0;
}

NewFile::~NewFile() {
  if (descriptor_ >= 0) close(descriptor_);
  if (!temporary_.empty()) unlink(temporary_.c_str());
}

File NewFile::stream() const {
  const int copy = dup(descriptor_);
  File stream(copy >= 0 ? fdopen(copy, "wb") : nullptr);
  if (stream == nullptr && errno == ENOMEM) space_error();
  if (stream == nullptr) stop_here();
  return stream;
}

int64_t NewFile::size() const {
  struct stat status;
  if (fstat(descriptor_, &status) != 0) stop_here();
  return status.st_size;
}

void NewFile::commit() {
  if (!target_.empty() && temporary_.empty()) {
    const std::string unnamed = "/proc/self/fd/" + std::to_string(descriptor_);
    std::string beside = target_ + ".new-" + std::to_string(getpid());
    if (linkat(AT_FDCWD, unnamed.c_str(), AT_FDCWD, beside.c_str(), AT_SYMLINK_FOLLOW) != 0) stop_here();
    temporary_ = std::move(beside);
  }
  const int descriptor = std::exchange(descriptor_, -1);
  if (close(descriptor) != 0) stop_here();  // some file systems tell only here that the disk is full
  if (target_.empty()) return;
  if (rename(temporary_.c_str(), target_.c_str()) != 0) stop_here();
  temporary_.clear();
}

void NewFile::stop_here() const {
  stop(formatted("can't write %s: %s", name_.c_str(), std::strerror(errno)));
}

void require_other_file(const char* output, std::span<const char* const> inputs) {
  const auto out = regular_file(output, STDOUT_FILENO);
  if (!out) return;
  for (const char* input : inputs) {
    const auto in = regular_file(input, STDIN_FILENO);
    if (in && in->st_dev == out->st_dev && in->st_ino == out->st_ino)
      stop(formatted("%s is an input and would be overwritten",
                     std::strcmp(output, "-") == 0 ? "standard output" : output));
  }
}

}  // namespace orvelle
