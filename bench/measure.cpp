// Runs one command and reports what it cost: wall time from fork to exit,
// user and system CPU time, and peak resident memory. The benchmark spawns
// pagefold through this small process because a process forked straight
// from the benchmark script would inherit the script's memory high-water
// mark into its own peak.
//
//   pagefold_measure COMMAND [ARG...]
// prints "wall_us user_us sys_us maxrss_kb exit_status" on standard error
// after the command's own output.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: pagefold_measure COMMAND [ARG...]\n");
    return 2;
  }
  timespec t0{}, t1{};
  clock_gettime(CLOCK_MONOTONIC, &t0);
  const pid_t pid = fork();
  if (pid < 0) {
    std::perror("fork");
    return 2;
  }
  if (pid == 0) {
    execv(argv[1], argv + 1);
    std::perror("execv");
    _exit(127);
  }
  int status = 0;
  rusage ru{};
  if (wait4(pid, &status, 0, &ru) < 0) {
    std::perror("wait4");
    return 2;
  }
  clock_gettime(CLOCK_MONOTONIC, &t1);
  const long long wall = (t1.tv_sec - t0.tv_sec) * 1000000LL + (t1.tv_nsec - t0.tv_nsec) / 1000;
  auto us = [](const timeval& tv) { return tv.tv_sec * 1000000LL + tv.tv_usec; };
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  std::fprintf(stderr, "\n%lld %lld %lld %ld %d\n", wall, us(ru.ru_utime), us(ru.ru_stime),
               ru.ru_maxrss, code);
  return 0;
}
