#include "tests/conversations/Process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <memory>
#include <string_view>
#include <system_error>

namespace tlk::conversations {
namespace {

void Check(int error, const std::string& what) {
  if (error != 0) {
    throw std::system_error(error, std::generic_category(), what);
  }
}

struct FileActions {
  FileActions() { posix_spawn_file_actions_init(&value); }
  ~FileActions() { posix_spawn_file_actions_destroy(&value); }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;
  posix_spawn_file_actions_t value;
};

struct Attributes {
  Attributes() { posix_spawnattr_init(&value); }
  ~Attributes() { posix_spawnattr_destroy(&value); }
  Attributes(const Attributes&) = delete;
  Attributes& operator=(const Attributes&) = delete;
  posix_spawnattr_t value;
};

std::vector<char*> PointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (auto& text : texts) {
    pointers.push_back(text.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}

std::string_view NameOf(std::string_view variable) {
  return variable.substr(0, variable.find('='));
}

/// The inherited environment with some variables replaced.
std::vector<std::string> Environment(const std::vector<std::string>& replaced) {
  auto variables = replaced;
  for (char** inherited = environ; *inherited != nullptr; ++inherited) {
    bool stands = true;
    for (const auto& variable : replaced) {
      stands = stands && NameOf(variable) != NameOf(*inherited);
    }
    if (stands) {
      variables.emplace_back(*inherited);
    }
  }
  return variables;
}

}  // namespace

Process::Process(const Start& start) {
  std::array<int, 2> pipe{};
  Check(pipe2(pipe.data(), O_CLOEXEC) == 0 ? 0 : errno, "pipe");
  FileActions actions;
  posix_spawn_file_actions_addopen(&actions.value, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions.value, pipe[1], STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions.value, STDERR_FILENO, start.errorFile.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0600);
  Attributes attributes;
  posix_spawnattr_setflags(&attributes.value, POSIX_SPAWN_SETPGROUP);
  auto words = start.words;
  auto environment = Environment(start.environment);
  const int error = posix_spawnp(&m_id, words.front().c_str(), &actions.value, &attributes.value,
                                 PointersTo(words).data(), PointersTo(environment).data());
  close(pipe[1]);
  m_output = pipe[0];
  if (error != 0) {
    close(m_output);
  }
  Check(error, words.front());
}

Process::~Process() {
  Kill();
  if (m_output != -1) {
    close(m_output);
  }
}

void Process::ReadOutput() {
  std::array<char, 65536> buffer;
  const auto count = read(m_output, buffer.data(), buffer.size());
  if (count > 0) {
    m_text.append(buffer.data(), static_cast<std::size_t>(count));
  } else if (count == 0 || errno != EINTR) {
    close(m_output);
    m_output = -1;
  }
}

std::optional<int> Process::ExitStatus() {
  int status = 0;
  if (!m_status && waitpid(m_id, &status, WNOHANG) == m_id) {
    m_status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  return m_status;
}

void Process::Kill() {
  if (!ExitStatus()) {
    kill(-m_id, SIGKILL);
    waitpid(m_id, nullptr, 0);
    m_status = -1;
  }
}

}  // namespace tlk::conversations
