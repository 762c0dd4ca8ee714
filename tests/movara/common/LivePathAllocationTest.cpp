// While a movie plays, a frame and a block of sound pass through the bridge without an allocation.
#include <atomic>
#include <cstdlib>
#include <new>

#include "tests/movara/common/PlayerFixture.h"

namespace {

std::atomic<int> allocations{0};
std::atomic<bool> counting{false};

void* countedAllocation(std::size_t size) {
  if (counting) ++allocations;
  if (void* memory = std::malloc(size != 0 ? size : 1)) return memory;
  throw std::bad_alloc();
}

// Not inlined: the compiler would see half of a pair and warn of a mismatch.
[[gnu::noinline]] void release(void* memory) { std::free(memory); }

}  // namespace

void* operator new(std::size_t size) { return countedAllocation(size); }
void* operator new[](std::size_t size) { return countedAllocation(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  if (counting) ++allocations;
  return std::malloc(size != 0 ? size : 1);
}
void operator delete(void* memory) noexcept { release(memory); }
void operator delete[](void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { release(memory); }

namespace {

class CountingSink final : public ISVSPlayerNotifySink {
 public:
  std::int32_t OnNotify(PLAYER_NOTIFY_CODE code, unsigned long p1, unsigned long) override {
    if (code == PLAYER_NOTIFY_GET_PLAYER) *reinterpret_cast<CAVPlayer**>(p1) = player;
    if (code == PLAYER_NOTIFY_MEDIA_SAMPLE) {
      ++samples;
      pixels = reinterpret_cast<tagMSDataStructure*>(p1)->pData;
    }
    return 0;
  }
  CAVPlayer* player = nullptr;
  int samples = 0;
  const void* pixels = nullptr;
};

class LivePath : public PlayerFixture {};

TEST_F(LivePath, NeitherAllocatesNorCopies) {
  CountingSink counter;
  makeSource();
  counter.player = player;
  player->setSink(&counter);
  view->playing = true;
  std::uint8_t pixels[4 * 12]{};
  avcapture::AudioBufferList list{1, {{2, sizeof(pixels), pixels}}};
  avcapture::AudioStreamBasicDescription format{44'100.0, 0, 0, 4, 1, 4, 2, 16, 0};
  bridge->newImageArrive(pixels, 4, 4, 0);
  runMainThread();
  bridge->newAudioFramesArrive(nullptr, &list, 12, &format, 0);

  counting = true;
  for (std::uint32_t i = 1; i < 150; ++i) {
    bridge->newImageArrive(pixels, 4, 4, i * 40);
    EXPECT_EQ(counter.pixels, pixels);
    bridge->newAudioFramesArrive(nullptr, &list, 12, &format, i * 40);
  }
  counting = false;
  EXPECT_EQ(counter.samples, 300);
  EXPECT_EQ(allocations, 0);

  counting = true;  // the count is alive: a still frame is queued for the main thread
  view->playing = false;
  bridge->newImageArrive(pixels, 4, 4, 9'000);
  counting = false;
  EXPECT_GT(allocations, 0);
}

}  // namespace
