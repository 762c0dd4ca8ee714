// What the player view itself shows over the movie, and where it stands.
#include <gmock/gmock.h>

#include <set>

#include "avcapture/StatusText.h"
#include "tests/avcapture/Support.h"

namespace avcapture::test {

namespace {

using ::testing::ElementsAre;

using Picture = std::shared_ptr<const platform::Image>;

std::string pixelsOf(const platform::Image& image) {
  std::string pixels;
  for (std::uint32_t y = 0; y < image.height; ++y) {
    const auto* row = reinterpret_cast<const char*>(image.pixels) + y * image.bytesPerRow;
    pixels.append(row, std::size_t{3} * image.width);
  }
  return pixels;
}

// Pixels that stand out from the dark ground.
std::size_t drawnPixels(const platform::Image& image) {
  const std::string pixels = pixelsOf(image);
  std::size_t drawn = 0;
  for (std::size_t i = 1; i < pixels.size(); i += 3)
    if (static_cast<unsigned char>(pixels[i]) > 90) ++drawn;
  return drawn;
}

constexpr platform::Rect kRoom{{0, 0}, {480, 270}};

class Appearance : public PlayerTest {
 public:
  Appearance() {
    window->addSubview(home);
    player = KTVideoPlayer::newInstance();
    player->setPlayerType(kPlayerTypeListener);
    player->setDelegate(&delegate);
    player->attachToSuperView(home.get());
  }
  platform::View& part(std::size_t index) { return *player->containerView()->subviews().at(index); }
  platform::View& status() { return part(1); }
  platform::View& bar() { return part(2); }
  Picture statusFor(int code) {
    player->setStatusViewType(code);
    platform::RunLoop::main().runReady();
    return status().contents();
  }
  // Whether the bar comes to show something else than `before`.
  bool redrawn(const Picture& before) {
    return pumpUntil([&] { return bar().contents() != before; });
  }

  std::shared_ptr<platform::View> window =
      std::make_shared<platform::View>(platform::Rect{{0, 0}, {1280, 720}});
  std::shared_ptr<platform::View> home =
      std::make_shared<platform::View>(platform::Rect{{100, 50}, kRoom.size});
};

enum class Cover { kNone, kMiddle, kAll };

TEST_F(Appearance, EveryStatusHasItsOwnWordsAndPicture) {
  const std::pair<int, Cover> codes[] = {
      {0, Cover::kNone},     {1, Cover::kNone},     {5, Cover::kNone},   {77, Cover::kNone},
      {2, Cover::kAll},      {4, Cover::kAll},      {6, Cover::kMiddle}, {7, Cover::kAll},
      {8, Cover::kAll},      {9, Cover::kAll},      {101, Cover::kAll},  {102, Cover::kAll},
      {103, Cover::kMiddle}, {104, Cover::kMiddle}, {200, Cover::kAll},  {201, Cover::kMiddle},
      {202, Cover::kMiddle}, {203, Cover::kAll},    {204, Cover::kAll},  {205, Cover::kMiddle},
      {206, Cover::kAll},
  };
  std::set<std::string> pictures;
  for (const auto& [code, cover] : codes) {
    SCOPED_TRACE(code);
    EXPECT_EQ(statusText(code).empty(), code == 0);
    const Picture picture = statusFor(code);
    EXPECT_EQ(player->statusViewType(), code);
    ASSERT_EQ(picture == nullptr, cover == Cover::kNone);
    if (!picture) continue;
    EXPECT_TRUE(pictures.insert(pixelsOf(*picture)).second) << "looks like another one";
    const platform::Rect& frame = status().frame();
    EXPECT_EQ(picture->width, frame.size.width);
    EXPECT_EQ(picture->height, frame.size.height);
    EXPECT_GT(drawnPixels(*picture), 200U);
    if (cover == Cover::kAll) {
      EXPECT_EQ(frame, kRoom);
    } else {
      EXPECT_LT(frame.size.width * frame.size.height, 0.5 * 480 * 270);
      EXPECT_NEAR(frame.origin.x + frame.size.width / 2, 240, 1);
      EXPECT_NEAR(frame.origin.y + frame.size.height / 2, 135, 1);
    }
  }
  EXPECT_EQ(statusText(77), "status 77");
}

TEST_F(Appearance, TheContractHasTheWordsOfEachStatus) {
  const std::string contract = contentsOf(CONTRACT_TEXT);
  for (int code = 1; code < 300; ++code) {
    const std::string number = std::to_string(code), words = statusText(code);
    const bool says = contract.find("| " + number + " | " + words + " |") != std::string::npos;
    EXPECT_EQ(says, words != "status " + number) << number << ' ' << words;
  }
}

TEST_F(Appearance, StatusIsDrawnOnChangeOnly) {
  const Picture first = statusFor(201);
  EXPECT_EQ(statusFor(201), first);
  player->superFrameSizeChanged();
  home->setFrame({{0, 0}, kRoom.size});
  platform::RunLoop::main().runReady();
  EXPECT_EQ(status().contents(), first);
  player->setStatusViewType(1);
  EXPECT_EQ(status().contents(), nullptr) << "hides without delay";
  player->setStatusViewType(203);
  player->setStatusViewType(1);
  platform::RunLoop::main().runReady();
  EXPECT_EQ(status().contents(), nullptr) << "what was wanted for a moment is not drawn";
}

TEST_F(Appearance, StatusFollowsTheViewsSize) {
  statusFor(203);
  for (const platform::Size size : {platform::Size{960, 540}, platform::Size{90, 400},
                                    platform::Size{31.5, 9.25}, platform::Size{9000, 60}}) {
    SCOPED_TRACE(size.width);
    home->setFrame({{0, 0}, size});
    platform::RunLoop::main().runReady();
    const Picture picture = status().contents();
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(status().frame(), (platform::Rect{{0, 0}, size}));
    EXPECT_LE(picture->width, 4096U);
    EXPECT_GT(drawnPixels(*picture), 5U);
  }
  home->setFrame({{0, 0}, {0, 300}});
  platform::RunLoop::main().runReady();
  EXPECT_EQ(status().contents(), nullptr);
}

TEST_F(Appearance, SourceWithoutAPictureSaysThatThereIsSoundOnly) {
  player->setMediaType(kMediaTypeAudioVideo);
  EXPECT_EQ(statusFor(5), nullptr);
  player->setMediaType(kMediaTypeAudio);
  platform::RunLoop::main().runReady();
  EXPECT_NE(status().contents(), nullptr);
}

TEST_F(Appearance, ControlBarShowsWhatChanges) {
  EXPECT_FALSE(player->controlbarShown());
  EXPECT_EQ(bar().contents(), nullptr);
  delegate.embedded = true;
  player->setDuration(60);
  player->showEmbedControlbar(true);
  EXPECT_TRUE(player->controlbarShown());
  EXPECT_THAT(delegate.calls, ElementsAre("hideOthers"));
  Picture shown = bar().contents();
  ASSERT_NE(shown, nullptr);
  EXPECT_EQ(bar().frame(), (platform::Rect{{0, 238}, {480, 32}}));
  EXPECT_EQ(shown->width, 480U);
  player->showEmbedControlbar(true);
  EXPECT_EQ(delegate.calls.size(), 1U);

  const std::function<void()> changes[] = {
      [&] { delegate.playingElsewhere = true; }, [&] { delegate.elsewhereVolume = 255; },
      [&] { delegate.elsewhereVolume = 127; },   [&] { delegate.position = 20; },
      [&] { player->setDuration(90); },          [&] { home->setFrame({{0, 0}, {300, 200}}); },
  };
  std::set<std::string> pictures{pixelsOf(*shown)};
  for (const auto& change : changes) {
    change();
    ASSERT_TRUE(redrawn(shown));
    shown = bar().contents();
    EXPECT_TRUE(pictures.insert(pixelsOf(*shown)).second);
  }
  player->showEmbedControlbar({});
  EXPECT_FALSE(player->controlbarShown());
  EXPECT_EQ(bar().contents(), nullptr);
}

TEST_F(Appearance, ControlBarLooksAtThePlayerFourTimesASecondAndOnlyWhileShown) {
  const auto clock = std::make_shared<platform::ManualClock>();
  platform::RunLoop& loop = platform::RunLoop::main();
  loop.setClock(clock);
  const auto passes = [&](std::chrono::milliseconds time) {
    std::size_t served = 0;
    for (auto t = time * 0; t < time; t += std::chrono::milliseconds(10)) {
      clock->advance(std::chrono::milliseconds(10));
      served += loop.runReady();
    }
    return served;
  };
  EXPECT_EQ(passes(std::chrono::seconds(1)), 0U);
  player->showEmbedControlbar(true);
  const Picture shown = bar().contents();
  EXPECT_EQ(passes(std::chrono::seconds(1)), 4U);
  EXPECT_EQ(bar().contents(), shown) << "nothing has changed";
  player->showEmbedControlbar({});
  EXPECT_EQ(passes(std::chrono::seconds(1)), 0U);
  player->showEmbedControlbar(true);
  player->willDie();
  EXPECT_EQ(passes(std::chrono::seconds(1)), 0U);
  player->showEmbedControlbar(true);
  EXPECT_FALSE(player->controlbarShown());
  loop.setClock(nullptr);
}

TEST_F(Appearance, FullscreenFillsTheWindowAndComesBack) {
  const auto container = player->containerView();
  const platform::Rect whole{{0, 0}, {1280, 720}};
  player->setFullscreen(false);
  EXPECT_FALSE(player->fullscreen());
  player->setFullscreen(true);
  EXPECT_TRUE(player->fullscreen());
  EXPECT_EQ(container->superview(), window.get());
  EXPECT_EQ(window->subviews().back(), container) << "over everything else";
  EXPECT_EQ(container->frame(), whole);
  EXPECT_EQ(player->renderView()->frame(), whole);
  window->setFrame({{0, 0}, {640, 360}});
  EXPECT_EQ(player->renderView()->frame().size, (platform::Size{640, 360}));
  player->setFullscreen(false);
  EXPECT_EQ(container->superview(), home.get());
  EXPECT_EQ(container->frame(), kRoom);
  EXPECT_EQ(home->subviews().size(), 1U);
}

TEST_F(Appearance, DeactivationLeavesFullscreen) {
  const auto container = player->containerView();
  player->active();
  player->setFullscreen(true);
  player->deactive();
  EXPECT_FALSE(player->fullscreen());
  EXPECT_EQ(container->superview(), home.get());
  home->removeFromSuperview();  // as its owner does when it is deactivated
  EXPECT_TRUE(window->subviews().empty()) << "nothing of the movie is left in the window";
}

TEST_F(Appearance, FullscreenSurvivesItsHome) {
  const auto container = player->containerView();
  const auto other = std::make_shared<platform::View>(platform::Rect{{5, 5}, {200, 100}});
  window->addSubview(other);
  player->setFullscreen(true);
  player->attachToSuperView(other.get());  // its owner moves it meanwhile
  EXPECT_EQ(container->superview(), window.get());
  player->setFullscreen(false);
  EXPECT_EQ(container->superview(), other.get());
  EXPECT_EQ(container->frame().size, (platform::Size{200, 100}));
  player->setFullscreen(true);
  other->removeFromSuperview();
  window->removeFromSuperview();
  player->attachToSuperView(nullptr);
  EXPECT_EQ(container->superview(), nullptr);
  EXPECT_FALSE(player->fullscreen());
  player->setFullscreen(true);  // it is nowhere
  EXPECT_FALSE(player->fullscreen());
}

// The parent's size changes after the announcement, and the container's was set by somebody else.
TEST_F(Appearance, FitModeIsFollowedOnceItHasChanged) {
  player->willChangeFitMode();
  home->setFrame({{0, 0}, {333, 222}});
  player->containerView()->setFrame({{7, 7}, {10, 10}});
  platform::RunLoop::main().runReady(platform::kEventTrackingRunLoopMode);
  EXPECT_EQ(player->containerView()->frame(), (platform::Rect{{0, 0}, {333, 222}}));
}

TEST_F(Appearance, UnMutingAListenerRestoresWhatItHad) {
  player->onUnMute({});
  EXPECT_EQ(delegate.elsewhereVolume, 255) << "nobody had set it: it joined silent";
  player->onChangeVolume(50);
  player->onUnMute({});
  EXPECT_EQ(player->volume(), 50);
  player->onChangeVolume(0);
  player->onUnMute({});
  EXPECT_EQ(player->volume(), 50);
  EXPECT_THAT(delegate.calls, ElementsAre("volume 255", "volume 127", "volume 0", "volume 127"));
}

}  // namespace

}  // namespace avcapture::test
