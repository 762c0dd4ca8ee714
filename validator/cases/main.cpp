// The cases of the contract, for one plug-in.
//
// usage: movara-contract-cases --list            all cases as JSON
//        movara-contract-cases CODE [--report] [GoogleTest's options]
//
// CODE is the shared object inside a bundle. --report says on standard output how cases went, and
// sends what anything else prints there to standard error.
#include <gmock/gmock.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "validator/cases/Case.h"
#include "validator/cases/Module.h"
#include "validator/cases/Report.h"

namespace {

std::string code;

int list() {
  nlohmann::json all = nlohmann::json::array();
  for (const validator::Case& known : validator::cases())
    all.push_back({{"name", known.name},
                   {"level", static_cast<int>(known.level)},
                   {"protects", known.protects}});
  std::cout << all.dump() << std::endl;
  return 0;
}

// Of files, its log in memory among them.
constexpr rlim_t kMostWritten = rlim_t{256} << 20;

// Somebody waits for the outcome: without them there is nothing to do, a crash is no news to the
// system, and code that writes without an end ends.
void serve() {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const rlimit noCore{0, 0}, written{kMostWritten, kMostWritten};
  setrlimit(RLIMIT_CORE, &noCore);
  setrlimit(RLIMIT_FSIZE, &written);
}

// The stream on which the outcome goes out; standard output is from here on for everybody else.
std::ostream& reportStream() {
  const int kept = dup(STDOUT_FILENO);
  dup2(STDERR_FILENO, STDOUT_FILENO);
  static std::ofstream stream("/proc/self/fd/" + std::to_string(kept));
  return stream;
}

}  // namespace

const char* contract::pluginCode() { return code.c_str(); }

int main(int argc, char** argv) {
  testing::InitGoogleMock(&argc, argv);
  bool reports = false;
  for (int i = 1; i < argc; ++i) {
    const std::string_view word = argv[i];
    if (word == "--list") return list();
    if (word == "--report")
      reports = true;
    else
      code = word;
  }
  if (code.empty() && !testing::GTEST_FLAG(list_tests)) {
    std::fputs("usage: movara-contract-cases --list | CODE [--report]\n", stderr);
    return 2;
  }
  if (reports) {
    serve();
    testing::TestEventListeners& listeners = testing::UnitTest::GetInstance()->listeners();
    delete listeners.Release(listeners.default_result_printer());
    listeners.Append(new validator::Report(reportStream()));
  }
  return RUN_ALL_TESTS();
}
