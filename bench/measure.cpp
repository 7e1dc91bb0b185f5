// SPDX-License-Identifier: MIT
// Runs a command and tells what it took: seconds of processor time (its own and the system's for it), seconds
// that passed, and its peak memory in megabytes.
//
//   measure COMMAND ARGUMENT...      prints "0.107 0.108 21.5" as its only line; the command's output is
//   dropped
//
// A program of its own, because the peak that the system reports for a command is at least that of the
// process that started it, which should be small therefore.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>

namespace {

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc < 2) return std::fputs("usage: measure COMMAND ARGUMENT...\n", stderr), 1;
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) {
    dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
    execvp(argv[1], argv + 1);
    std::perror(argv[1]);
    _exit(127);
  }
  int status = 0;
  rusage usage{};
  if (child < 0 || wait4(child, &status, 0, &usage) != child) return std::perror("measure"), 1;
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return std::fprintf(stderr, "%s failed\n", argv[1]), 1;
  std::printf("%.4f %.4f %.1f\n", seconds(usage.ru_utime) + seconds(usage.ru_stime), passed.count(),
              static_cast<double>(usage.ru_maxrss) / 1024);
}
