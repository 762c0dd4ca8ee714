// The names in the built bundle's code, as `nm` lists them.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/support/Process.h"

namespace {

using testing::UnorderedElementsAreArray;

std::vector<std::string> definedSymbols(const std::string& options) {
  const support::Finished listed = support::run(support::words(
      "nm --defined-only --format=just-symbols " + options + " " MOVARA_BUNDLE_CODE));
  EXPECT_EQ(listed.status, 0) << listed.err;
  return support::words(listed.out);
}

TEST(Bundle, ExportsItsPublicNamesAndNothingElse) {
  const std::vector<std::string> allowed = {
      "UCFInitialize", "UCFCleanup", "UCFCreateInstance", "UCFDeleteInstance",
      "UCFGetInterfaceVersion",
      // Player properties.
      "kAVMovieFPSProperty", "kAVMovieStatusProperty", "kAVMediaVolumeProperty",
      "kAVMovieCurTimeProperty", "kAVMovieDurationProperty", "kAVMovieSizeHeightProperty",
      "kAVMediaSizeWidthProperty", "kAVMediaMediaTypeProperty", "kAVMediaNBRModeProperty",
      "kAVMovieActiveProperty", "kAVMMPFailoverProcessing", "kAVAllowEnterFitMode",
      "kAVMovieEmbedMode", "kAVMovieCurrentPresenterRole",
      // Notifications.
      "HOLStatusNotification", "HOLStatusNoticationValueKey", "PDQueryHOLStatusNotification",
      "kMSVideoRenderSizeChangedNotification", "kMSVideoRenderSourceIDKey",
      "kMSVideoRenderWidthKey", "kMSVideoRenderHeightKey", "kMSActiveViewChangedNotification",
      "kMSPauseEmbedPlayerNotification", "kMSHideOtherEmbedCtrlbarNotification",
      // Trace.
      "MacDebugTrace2", "MacInfoTrace2", "MacWarnTrace2", "MacErrorTrace2",
      "_Z9LUMTRACE2mPKcS0_S0_P13__va_list_tag", "_Z11LUMTRACERAWmPKcS0_S0_", "_Z8LUMDEBUGPKcz",
      "_Z7LUMINFOPKcz", "_Z7LUMWARNPKcz", "_Z8LUMERRORPKcz", "_Z9LUMDEBUG2PKcS0_z",
      "_Z8LUMINFO2PKcS0_z", "_Z8LUMWARN2PKcS0_z", "_Z9LUMERROR2PKcS0_z",
      // Bounds-checked functions.
      "strcasecmp_s", "memmove_s", "safe_lib_set_constraint_handler",
      "invoke_safe_lib_constraint_handler", "safe_lib_default_constraint_handler",
      "safe_lib_ignore_handler"};
  EXPECT_THAT(definedSymbols("--dynamic"), UnorderedElementsAreArray(allowed));
}

TEST(Bundle, HasOneStaticInitialiser) {
  const std::string prefix = "_GLOBAL__sub_I_";
  std::vector<std::string> found;
  for (const std::string& name : definedSymbols("")) {
    // Sanitizers add constructors of their own, of priority 99; the compiler may split one in two.
    if (name.starts_with(prefix) && !name.starts_with(prefix + "00099_") &&
        !name.ends_with(".cold")) {
      found.push_back(name);
    }
  }
  EXPECT_THAT(found, testing::SizeIs(1));
}

}  // namespace
