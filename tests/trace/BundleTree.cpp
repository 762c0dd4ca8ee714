#include "tests/trace/BundleTree.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string_view>

namespace fs = std::filesystem;

namespace {

// The caller's environment without its trace settings, and `additions`.
std::vector<std::string> childEnvironment(const Environment& additions) {
  std::vector<std::string> result;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    if (!std::string_view(*entry).starts_with("MOVARA_TRACE_")) result.emplace_back(*entry);
  }
  result.insert(result.end(), additions.begin(), additions.end());
  return result;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> result;
  result.reserve(texts.size() + 1);
  for (std::string& text : texts) result.push_back(text.data());
  result.push_back(nullptr);
  return result;
}

// Returns the exit status, or -1.
int spawn(std::vector<std::string> command, std::vector<std::string> environment,
          const fs::path& out, const fs::path& err) {
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC;
  posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, out.c_str(), kFlags, 0600);
  posix_spawn_file_actions_addopen(&files, STDERR_FILENO, err.c_str(), kFlags, 0600);
  pid_t child = -1;
  const int failure = posix_spawn(&child, command.front().c_str(), &files, nullptr,
                                  pointers(command).data(), pointers(environment).data());
  posix_spawn_file_actions_destroy(&files);
  if (failure != 0) return -1;
  int status = 0;
  if (waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

}  // namespace

std::vector<std::string> linesOf(const fs::path& file) {
  std::ifstream stream(file);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

BundleTree::BundleTree() {
  std::string folder = (fs::temp_directory_path() / "trace-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) throw std::runtime_error("no temporary folder");
  root_ = fs::canonical(folder);
  host_ = root_ / "place/host";
}

BundleTree::~BundleTree() {
  std::error_code ignored;
  fs::remove_all(root_, ignored);
}

void BundleTree::padHostPath(std::size_t bytes) {
  // A name may have 255 bytes at most, so the padding is spread over the parent and the host.
  const std::size_t padding = bytes - root_.native().size() - 2;
  host_ = root_ / std::string(padding / 2, 'p') / std::string(padding - padding / 2, 'h');
}

fs::path BundleTree::addTraceBundle(const fs::path& folder, const fs::path& code) {
  fs::path target = folder / "lumtrace.bundle/Contents/Linux/lumtrace";
  fs::create_directories(target.parent_path());
  fs::copy_file(code, target);
  return target;
}

Outcome BundleTree::run(const std::vector<std::string>& arguments,
                        const Environment& environment) const {
  const fs::path program = host_ / "Contents/Linux/probe";
  fs::create_directories(program.parent_path());
  fs::copy_file(TRACE_PROBE, program, fs::copy_options::overwrite_existing);

  std::vector<std::string> command{program.string()};
  command.insert(command.end(), arguments.begin(), arguments.end());
  const fs::path out = root_ / "out";
  const fs::path err = root_ / "err";
  const int status = spawn(command, childEnvironment(environment), out, err);
  return {status, linesOf(out), linesOf(err)};
}
