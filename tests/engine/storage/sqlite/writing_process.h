#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>

namespace zervane::storage {

// A process that performs the steps of a script without end, and the pipe on which it tells of its
// answers: the program has the arguments FOLDER SEED FIRST_STEP, and writes the number of each
// answered step to file descriptor 3.
class WritingProcess {
 public:
  WritingProcess(const char* program, const std::filesystem::path& folder, unsigned seed,
                 std::int64_t first_step) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) std::abort();
    answers_ = ends[0];
    std::array<std::string, 4> words = {program, folder.string(), std::to_string(seed),
                                        std::to_string(first_step)};
    std::array<char*, 5> arguments = {words[0].data(), words[1].data(), words[2].data(),
                                      words[3].data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], 3);
    const int error =
        posix_spawn(&process_, arguments[0], &actions, nullptr, arguments.data(), environ);
    if (error != 0) {
      std::fprintf(stderr, "%s: %s\n", program, std::strerror(error));
      std::abort();
    }
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
  }
  WritingProcess(const WritingProcess&) = delete;
  WritingProcess& operator=(const WritingProcess&) = delete;
  ~WritingProcess() { close(answers_); }

  // The next answered step; none once the process has ended.
  std::optional<std::int64_t> NextAnswer() const {
    std::int64_t step = 0;
    if (read(answers_, &step, sizeof(step)) != sizeof(step)) return std::nullopt;
    return step;
  }

  // Ends the process at once. True when nothing else had ended it.
  bool Kill() const {
    kill(process_, SIGKILL);
    int status = 0;
    waitpid(process_, &status, 0);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
  }

 private:
  pid_t process_ = -1;
  int answers_ = -1;
};

// Passes a moment of random length, so that the kill meets the writer anywhere in its next steps.
inline void Dawdle(std::int64_t turns) {
  for (volatile std::int64_t turn = 0; turn < turns;) turn = turn + 1;
}

}  // namespace zervane::storage
