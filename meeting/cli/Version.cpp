#include "meeting/cli/Version.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/avutil.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include <sstream>

#include "ucf/Exports.h"

namespace meeting {

std::string versionText() {
  struct Library {
    const char* name;
    unsigned version;
  };
  const Library libraries[] = {{"libavformat", avformat_version()},
                               {"libavcodec", avcodec_version()},
                               {"libavutil", avutil_version()},
                               {"libswscale", swscale_version()},
                               {"libswresample", swresample_version()}};
  std::ostringstream text;
  text << "movara-meeting " MOVARA_VERSION "\ncontract " << UCF_INTERFACE_VERSION;
  for (const auto& [name, version] : libraries)
    text << '\n'
         << name << ' ' << AV_VERSION_MAJOR(version) << '.' << AV_VERSION_MINOR(version) << '.'
         << AV_VERSION_MICRO(version);
  return text.str();
}

}  // namespace meeting
