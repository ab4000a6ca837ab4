// The frame cache decodes each frame once for a render that reads a window of
// earlier frames for every output frame.
#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <thread>

#include "host/media/FrameCache.h"
#include "host/media/MediaError.h"
#include "host/media/MediaReader.h"
#include "media/MediaTestSupport.h"

namespace dshost {
namespace {

constexpr std::size_t kWindow = 10;  // earlier frames each output frame reads

// A decoder that counts how often each frame is decoded and stamps the index
// into the picture.
struct CountingDecoder {
  std::map<std::int64_t, int> decodes;
  std::mutex mutex;

  FrameCache::DecodeFunction function() {
    return [this](std::int64_t index, ImageF& out) {
      {
        std::lock_guard<std::mutex> lock(mutex);
        ++decodes[index];
      }
      out = makeImage(2, 2, static_cast<float>(index));
    };
  }
};

// What a render does: for output frame n, frames n-window..n.
void slideWindow(FrameCache& cache, std::int64_t frames, std::size_t window) {
  for (std::int64_t n = 0; n < frames; ++n) {
    for (std::int64_t k = std::max<std::int64_t>(0, n - static_cast<std::int64_t>(window)); k <= n; ++k) {
      const FrameCache::FramePtr frame = cache.get(k);
      ASSERT_EQ(frame->bgra[0], static_cast<float>(k));
    }
  }
}

TEST(FrameCache, SlidingWindowDecodesEachFrameOnce) {
  CountingDecoder decoder;
  FrameCache cache(decoder.function(), FrameCache::capacityForWindow(kWindow));
  slideWindow(cache, 60, kWindow);
  EXPECT_EQ(cache.decodeCount(), 60u);
  EXPECT_EQ(decoder.decodes.size(), 60u);
  for (const auto& [index, count] : decoder.decodes) EXPECT_EQ(count, 1) << "frame " << index;
  EXPECT_LE(cache.size(), cache.capacity());
}

TEST(FrameCache, TooSmallARingDecodesAgain) {
  // The counter is what tests of the renderer rely on: it must see re-decodes.
  CountingDecoder decoder;
  FrameCache cache(decoder.function(), kWindow / 2);
  slideWindow(cache, 30, kWindow);
  EXPECT_GT(cache.decodeCount(), 30u);
}

TEST(FrameCache, SlidingWindowOverARealClipDecodesEachFrameOnce) {
  DS_REQUIRE_FFMPEG();
  testing::ScratchDir dir;
  SyntheticClip clip(testing::smallClip(24, false, 32, 24));
  testing::writeClip(clip, dir / "clip.mkv");
  MediaReader reader(dir / "clip.mkv");
  std::int64_t decodes = 0;
  FrameCache cache(
      [&](std::int64_t index, ImageF& out) {
        ++decodes;
        reader.readFrame(index, out);
      },
      FrameCache::capacityForWindow(kWindow));
  for (std::int64_t n = 0; n < 24; ++n) {
    for (std::int64_t k = std::max<std::int64_t>(0, n - 10); k <= n; ++k) {
      ASSERT_TRUE(imagesClose(*cache.get(k), clip.frame(k), 0.5f / 255 + 1e-6f, 0.0f)) << "frame " << k;
    }
  }
  EXPECT_EQ(cache.decodeCount(), 24u);
  EXPECT_EQ(decodes, 24);
}

TEST(FrameCache, EvictedFramesStayValidForTheirHolders) {
  CountingDecoder decoder;
  FrameCache cache(decoder.function(), 2);
  const FrameCache::FramePtr first = cache.get(0);
  cache.get(1);
  cache.get(2);
  EXPECT_FALSE(cache.contains(0));
  EXPECT_EQ(first->bgra[0], 0.0f);
  EXPECT_EQ(cache.peek(0), nullptr);
  EXPECT_EQ(cache.decodeCount(), 3u);  // peek and contains never decode
}

TEST(FrameCache, LeastRecentlyUsedFrameGoesFirst) {
  CountingDecoder decoder;
  FrameCache cache(decoder.function(), 2);
  cache.get(0);
  cache.get(1);
  cache.get(0);  // 1 is now the oldest
  cache.get(2);
  EXPECT_TRUE(cache.contains(0));
  EXPECT_FALSE(cache.contains(1));
}

TEST(FrameCache, DecodeErrorsPassThroughAndCacheNothing) {
  FrameCache cache(
      [](std::int64_t index, ImageF& out) {
        if (index == 3) throw FrameDecodeError(3, "frame 3 cannot be decoded: damaged");
        out = makeImage(1, 1);
      },
      4);
  try {
    cache.get(3);
    FAIL() << "no error";
  } catch (const FrameDecodeError& e) {
    EXPECT_EQ(e.frameIndex(), 3);
  }
  EXPECT_FALSE(cache.contains(3));
  EXPECT_NE(cache.get(4), nullptr);
}

TEST(FrameCache, ThreadsAskingForTheSameFramesDecodeEachOnce) {
  CountingDecoder decoder;
  constexpr std::int64_t kFrames = 200;
  FrameCache cache(decoder.function(), kFrames);  // everything fits: any order must decode once
  std::atomic<bool> failed{false};
  std::vector<std::thread> threads;
  threads.emplace_back([&] {  // a decode thread running ahead
    for (std::int64_t n = 0; n < kFrames; ++n) cache.get(n);
  });
  for (int t = 0; t < 3; ++t) {
    threads.emplace_back([&, t] {  // renderers reading windows, each starting elsewhere
      for (std::int64_t i = 0; i < kFrames; ++i) {
        const std::int64_t n = (i + t * 37) % kFrames;
        for (std::int64_t k = std::max<std::int64_t>(0, n - 10); k <= n; ++k) {
          if (cache.get(k)->bgra[0] != static_cast<float>(k)) failed = true;
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_FALSE(failed);
  EXPECT_EQ(cache.decodeCount(), static_cast<std::uint64_t>(kFrames));
  for (const auto& [index, count] : decoder.decodes) EXPECT_EQ(count, 1) << "frame " << index;
}

}  // namespace
}  // namespace dshost
