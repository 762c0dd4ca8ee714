#include "platform/Bundle.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "platform/RunLoop.h"
#include "tests/platform/TemporaryFolder.h"
#include "tests/support/Process.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

const std::string& probeApp() {
  static const std::string path = fs::canonical(PROBE_APP).string();
  return path;
}

// Runs the probe program with settings in front of its name and an argument after it.
support::Finished runProbe(const std::string& settings, const std::string& argument) {
  return support::run(support::words("env " + settings + " " + probeApp() +
                                     "/Contents/Linux/probe_program " + argument));
}

TEST(Bundle, NamesItsParts) {
  const TemporaryFolder folder;
  fs::create_directories(folder / "My App.v2.app");
  fs::create_directory_symlink(folder / "My App.v2.app", folder / "link");
  const auto bundle = Bundle::create(folder / "link/");
  ASSERT_NE(bundle, nullptr);
  const std::string path = fs::canonical(folder / "My App.v2.app").string();
  EXPECT_EQ(bundle->path(), path);
  EXPECT_EQ(bundle->executablePath(), path + "/Contents/Linux/My App.v2");
  EXPECT_EQ(bundle->plugInsPath(), path + "/Contents/PlugIns");
  EXPECT_EQ(bundle->parentPath(), fs::path(path).parent_path());

  std::ofstream(folder / "file.bundle") << "text";
  EXPECT_EQ(Bundle::create(folder / "file.bundle"), nullptr);
  EXPECT_EQ(Bundle::create(folder / "missing.bundle"), nullptr);
}

TEST(Bundle, TheMainBundleOfAProgramOutsideOfOneIsItsFolder) {
  EXPECT_EQ(Bundle::mainBundle()->path(), fs::read_symlink("/proc/self/exe").parent_path());
}

TEST(Bundle, SharesTypesWithTheCodeItLoads) {
  const auto bundle = Bundle::create(probeApp() + "/Contents/PlugIns/probe.bundle");
  ASSERT_NE(bundle, nullptr);
  void* const function = bundle->functionPointer("probeIsArray");
  ASSERT_NE(function, nullptr);
  const auto isArray = reinterpret_cast<bool (*)(Object*)>(function);
  EXPECT_TRUE(isArray(std::make_shared<ObjectArray>().get()));
  EXPECT_FALSE(isArray(std::make_shared<Object>().get()));
  EXPECT_EQ(bundle->functionPointer("probeMissing"), nullptr);
}

TEST(Bundle, SaysWhyItCannotLoad) {
  const TemporaryFolder folder;
  const auto bundle = Bundle::create(folder / ".");
  ASSERT_NE(bundle, nullptr);
  std::string error;
  EXPECT_FALSE(bundle->load(&error));
  EXPECT_THAT(error, testing::HasSubstr(bundle->executablePath()));
  EXPECT_EQ(error.find('\n'), std::string::npos);
  EXPECT_EQ(bundle->functionPointer("anything"), nullptr);
}

TEST(ProgramInABundle, FindsItsBundleAndTheEnvironmentBeforeTheFile) {
  const TemporaryFolder folder;
  const std::string file = folder / "movara/defaults";
  fs::create_directory(folder / "movara");
  std::ofstream(file) << "FromFile = file\nFromBoth = file\n";
  const std::string expected = probeApp() + "\nfile\nenvironment\n";
  const std::string both = "MOVARA_DEFAULT_FromBoth=environment ";
  for (const std::string& where :
       {"MOVARA_DEFAULTS_FILE=" + file, "MOVARA_DEFAULTS_FILE= XDG_CONFIG_HOME=" + (folder / "")}) {
    const support::Finished probe = runProbe(both + where, "");
    EXPECT_EQ(probe.status, 0);
    EXPECT_EQ(probe.out, expected) << where;
  }
}

TEST(ProgramInABundle, EndsCleanlyWithMessagesOfAPlugInStillWaiting) {
  EXPECT_EQ(runProbe("", "plugin").status, 0);
}

}  // namespace
}  // namespace platform
