#include "process.hpp"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

extern char** environ;

namespace pagefold::mcp {

Finished run_program(const std::vector<std::string>& argv, int seconds, size_t keep) {
  Finished done;
  int pipe_fds[2];
  if (pipe2(pipe_fds, O_CLOEXEC) != 0) return done;

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, pipe_fds[1], 1);
  posix_spawn_file_actions_adddup2(&actions, pipe_fds[1], 2);
  std::vector<char*> args;
  for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  pid_t pid = 0;
  const int rc = posix_spawn(&pid, args[0], &actions, nullptr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(pipe_fds[1]);
  if (rc != 0) {
    close(pipe_fds[0]);
    done.output = std::string("cannot start ") + argv[0];
    return done;
  }
  done.started = true;

  // Read until the program closes its end; past the deadline, kill it.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  char chunk[16384];
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) {
      kill(pid, SIGKILL);
      done.timed_out = true;
      break;
    }
    pollfd p{pipe_fds[0], POLLIN, 0};
    const int ready = poll(&p, 1, static_cast<int>(left.count()));
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) continue;  // the deadline is checked above
    const ssize_t n = read(pipe_fds[0], chunk, sizeof chunk);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    done.output.append(chunk, static_cast<size_t>(n));
    if (done.output.size() > keep) done.output.erase(0, done.output.size() - keep);
  }
  close(pipe_fds[0]);

  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (!done.timed_out && WIFEXITED(status)) done.status = WEXITSTATUS(status);
  return done;
}

}  // namespace pagefold::mcp
