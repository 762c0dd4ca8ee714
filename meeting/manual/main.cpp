// Writes what is made from the program's own description of its command line.
// usage: describe-program manual TEMPLATE | bash | zsh | fish

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "meeting/manual/Completions.h"
#include "meeting/manual/Manual.h"

namespace {

using namespace meeting::manual;

void replace(std::string& text, const std::string& mark, const std::string& by) {
  const std::size_t at = text.find(mark);
  if (at == text.npos) throw std::runtime_error("the template lacks " + mark);
  text.replace(at, mark.size(), by);
}

std::string manual(const std::string& file, const Interface& program) {
  std::ifstream stream(file);
  std::string text{std::istreambuf_iterator<char>(stream), {}};
  replace(text, "@COMMANDS@\n", commandsForManual(program));
  replace(text, "@STATUSES@\n", statusesForManual());
  replace(text, "@EXAMPLES@\n", examplesForManual(program));
  return text;
}

std::string write(const std::vector<std::string>& words) {
  const Interface program = describeProgram();
  if (words.size() == 2 && words[0] == "manual") return manual(words[1], program);
  if (words == std::vector<std::string>{"bash"}) return completionForBash(program);
  if (words == std::vector<std::string>{"zsh"}) return completionForZsh(program);
  if (words == std::vector<std::string>{"fish"}) return completionForFish(program);
  throw std::runtime_error("usage: describe-program manual TEMPLATE | bash | zsh | fish");
}

}  // namespace

int main(int argc, char** argv) {
  try {
    std::fputs(write({argv + 1, argv + argc}).c_str(), stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "describe-program: %s\n", error.what());
    return 1;
  }
}
