// The frame cache decodes each frame once for a render that reads a window of
// earlier frames for every output frame.
#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <mutex>
#include <thread>

#include "host/media/FrameCache.h"
#include "media/MediaTestSupport.h"

namespace dshost {
namespace {

constexpr std::int64_t kWindow = 10;  // earlier frames each output frame reads

// A decoder that counts how often each frame is decoded and stamps the index
// into the picture.
struct CountingDecoder {
  std::map<std::int64_t, int> decodes;
  std::mutex mutex;

  FrameCache::DecodeFunction function() {
    return [this](std::int64_t index, ImageF& out) {
      std::lock_guard<std::mutex> lock(mutex);
      ++decodes[index];
      out = makeImage(2, 2, static_cast<float>(index));
    };
  }
  void expectEachOnce(std::size_t frames) {
    EXPECT_EQ(decodes.size(), frames);
    for (const auto& [index, count] : decodes) EXPECT_EQ(count, 1) << "frame " << index;
  }
};

// What a render does: for output frame n, read frames n-window..n.
template <typename Check>
void slideWindow(FrameCache& cache, std::int64_t frames, Check check) {
  for (std::int64_t n = 0; n < frames; ++n) {
    for (std::int64_t k = std::max<std::int64_t>(0, n - kWindow); k <= n; ++k) check(k, *cache.get(k));
  }
}

TEST(FrameCache, SlidingWindowDecodesEachFrameOnce) {
  CountingDecoder decoder;
  FrameCache cache(decoder.function(), FrameCache::capacityForWindow(kWindow));
  slideWindow(cache, 60, [](std::int64_t k, const ImageF& f) { ASSERT_EQ(f.bgra[0], static_cast<float>(k)); });
  EXPECT_EQ(cache.decodeCount(), 60u);
  decoder.expectEachOnce(60);
  EXPECT_LE(cache.size(), cache.capacity());

  // The counter must see re-decodes when the ring is too small for the window.
  FrameCache small(decoder.function(), kWindow / 2);
  slideWindow(small, 30, [](std::int64_t, const ImageF&) {});
  EXPECT_GT(small.decodeCount(), 30u);
}

TEST(FrameCache, EvictsTheLeastRecentlyUsedAndHoldersKeepTheirFrames) {
  CountingDecoder decoder;
  FrameCache cache(decoder.function(), 2);
  const FrameCache::FramePtr zero = cache.get(0);
  cache.get(1);
  cache.get(0);  // 1 is now the least recently used
  cache.get(2);
  EXPECT_FALSE(cache.contains(1));
  EXPECT_TRUE(cache.contains(0));
  cache.get(3);
  cache.get(4);
  EXPECT_EQ(cache.peek(0), nullptr);
  EXPECT_EQ(zero->bgra[0], 0.0f);      // still valid for whoever holds it
  EXPECT_EQ(cache.decodeCount(), 5u);  // peek and contains never decode
}

TEST(FrameCache, DecodeErrorsPassThroughAndCacheNothing) {
  FrameCache cache(
      [](std::int64_t index, ImageF& out) {
        if (index == 3) throw FrameDecodeError(3, "frame 3 cannot be decoded: damaged");
        out = makeImage(1, 1);
      },
      4);
  EXPECT_EQ(testing::frameErrorOf([&] { cache.get(3); }).first, 3);
  EXPECT_FALSE(cache.contains(3));
  EXPECT_NE(cache.get(4), nullptr);
}

TEST(FrameCache, ThreadsAskingForTheSameFramesDecodeEachOnce) {
  CountingDecoder decoder;
  constexpr std::int64_t kFrames = 200;
  FrameCache cache(decoder.function(), kFrames);  // everything fits: any order must decode once
  std::atomic<bool> wrongFrame{false};
  std::vector<std::thread> threads;
  threads.emplace_back([&] {  // a decode thread running ahead
    for (std::int64_t n = 0; n < kFrames; ++n) cache.get(n);
  });
  for (int t = 0; t < 3; ++t) {
    threads.emplace_back([&, t] {  // renderers reading windows, each starting elsewhere
      for (std::int64_t i = 0; i < kFrames; ++i) {
        const std::int64_t n = (i + t * 37) % kFrames;
        for (std::int64_t k = std::max<std::int64_t>(0, n - kWindow); k <= n; ++k) {
          if (cache.get(k)->bgra[0] != static_cast<float>(k)) wrongFrame = true;
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_FALSE(wrongFrame);
  EXPECT_EQ(cache.decodeCount(), static_cast<std::uint64_t>(kFrames));
  decoder.expectEachOnce(kFrames);
}

}  // namespace
}  // namespace dshost
