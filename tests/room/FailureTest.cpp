// What is thrown on the room's threads costs the picture or the visitor that it was thrown for.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <atomic>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "meeting/room/PictureEncoder.h"
#include "meeting/room/PictureFeed.h"
#include "meeting/room/WebServer.h"
#include "tests/room/FakeModel.h"
#include "tests/room/RoomClient.h"

namespace {
std::atomic<int> compressorsToFail{0};
}  // namespace

// Takes the library's place in this program.
extern "C" tjhandle tjInitCompress() {
  if (compressorsToFail > 0) return --compressorsToFail, nullptr;
  return reinterpret_cast<tjhandle (*)()>(::dlsym(RTLD_NEXT, "tjInitCompress"))();
}

namespace meeting {
namespace {

TEST(FailureTest, ACompressorThatCouldNotBeMadeIsMadeLater) {
  compressorsToFail = 1;
  std::atomic<int> empty{0};
  std::atomic<int> made{0};
  PictureEncoder encoder([&](const std::string&, const std::vector<unsigned char>& jpeg) {
    ++(jpeg.empty() ? empty : made);
  });
  encoder.encode("view", {{8, 8}, {}});
  EXPECT_TRUE(pumpUntil([&] { return empty == 1; }));
  encoder.encode("view", {{8, 8}, {}});
  EXPECT_TRUE(pumpUntil([&] { return empty == 2 || made == 1; }));
  EXPECT_EQ(made, 1);
}

TEST(FailureTest, APictureThatFailsIsDroppedAndTheNextIsMade) {
  std::atomic<int> failed{0};
  std::atomic<int> made{0};
  PictureEncoder encoder([&](const std::string& view, const std::vector<unsigned char>& jpeg) {
    if (view == "bad") {
      ++failed;
      throw std::bad_alloc();
    }
    if (!jpeg.empty()) ++made;
  });
  const Scene scene{{8, 8}, {}};
  encoder.encode("bad", scene);
  EXPECT_TRUE(pumpUntil([&] { return failed == 1; }));
  encoder.encode("good", scene);
  EXPECT_TRUE(pumpUntil([&] { return made == 1; }));
}

TEST(FailureTest, APictureThatCouldNotBeSentIsSentLater) {
  FakeModel model;
  int refused = 0;
  std::map<VisitorId, int> sent;
  const auto send = [&](VisitorId visitor, const std::string&, const Payload&) {
    if (visitor == 1 && refused < 5) {
      ++refused;
      throw std::bad_alloc();
    }
    ++sent[visitor];
  };
  const auto feed = std::make_shared<PictureFeed>(model, send);
  model.draw("presenter", 100);
  for (const VisitorId visitor : {1UL, 2UL}) feed->watch(visitor, {"presenter"});
  // One picture, which never changes, for both.
  EXPECT_TRUE(pumpUntil([&] {
    try {
      feed->update();
    } catch (const std::bad_alloc&) {
    }
    return sent[1] == 1 && sent[2] == 1;
  }));
  EXPECT_EQ(refused, 5);
}

// Throws at the texts and visitors that it is told to.
class Thrower final : public WebServerDelegate {
 public:
  void onVisitor(VisitorId) override {
    if (throwsAtVisitors) throw std::bad_alloc();
    ++came;
  }
  void onText(VisitorId, std::string text) override {
    if (text == "throw") throw std::bad_alloc();
    ++texts;
  }
  void onReplaced(VisitorId, const std::string&) override {}
  void onGone(VisitorId) override {
    ++gone;
    throw std::bad_alloc();
  }

  std::atomic<bool> throwsAtVisitors{false};
  std::atomic<int> came{0};
  std::atomic<int> texts{0};
  std::atomic<int> gone{0};
};

bool hangsUp(RoomClient& client) {
  return pumpUntil([&] {
    client.receive();
    return client.closed();
  });
}

TEST(FailureTest, AVisitorWhoCausesOneIsDisconnectedAndNobodyElse) {
  Thrower delegate;
  auto opened = WebServer::open({.address = "127.0.0.1", .port = 0, .token = ""}, delegate);
  const auto server = std::get<std::unique_ptr<WebServer>>(std::move(opened));
  RoomClient witness(server->port());
  ASSERT_EQ(witness.open(), 101);
  ASSERT_TRUE(pumpUntil([&] { return delegate.came == 1; }));  // and will not be thrown at

  // More of them than there is room for at a time: none may keep its place.
  for (std::size_t i = 0; i <= WebServer::kMaxConnections; ++i) {
    RoomClient client(server->port());
    delegate.throwsAtVisitors = i % 2 == 0;
    ASSERT_EQ(client.open(), 101) << i;
    client.sendText("throw");
    ASSERT_TRUE(hangsUp(client)) << i;
    witness.takeFrames();
  }
  EXPECT_TRUE(pumpUntil([&] { return delegate.gone == int{WebServer::kMaxConnections} + 1; }));
  witness.sendText("still here");
  EXPECT_TRUE(pumpUntil([&] { return delegate.texts == 1; }));
  EXPECT_FALSE(witness.closed());
}

}  // namespace
}  // namespace meeting
