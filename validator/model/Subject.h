// The built plug-in in the place that the model describes: between a recording host and a player
// view that plays nothing, on a stepped clock.
#pragma once

#include "validator/cases/ContractFixture.h"
#include "validator/model/Model.h"

namespace model {

class Subject : public contract::InsideTest {
 public:
  explicit Subject(const World& world);
  void TestBody() override {}

  std::uint32_t createUI(bool complete);
  void tick();
  void later();
  void press(bool play, bool pausedByUser,
             void (avcapture::KTVideoPlayerDelegate::*report)(platform::Object*));
  void volumeChange(int volume);
  void announceVideoSize(int width, int height);
  void mediaInfo(tagStmMediaInfo info) { ContractTest::mediaInfo(info); }
  void parameterData(unsigned int id);
  void command(std::initializer_list<std::uint32_t> words);
  int format(int type, int number);
  int sample();
  int playAllowed();
  std::optional<Look> look();
  void end();  // and whatever follows it

  using ContractTest::channelStatus;
  using ContractTest::host;
  using ContractTest::object;
  using ContractTest::runtime;
  using ContractTest::session;
  using ContractTest::status;
  using InsideTest::notify;

  int probeAnswer = 0;  // as the model's

  // Formats that outlive the requests that hold them.
  static const std::string& formatBytes(int type, int number);

 private:
  UCFResult answer(tagQuery& query) const;

  const World world_;
};

}  // namespace model
