#include "tools/driftsmear/Pipeline.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>

#include "host/CachedClipSource.h"
#include "host/EffectDiskIds.h"
#include "host/gpu/GpuHost.h"
#include "host/HostError.h"
#include "host/media/MediaError.h"
#include "tools/driftsmear/Console.h"

namespace driftsmear {

namespace {

using dshost::kFramesDiskId;
using dshost::kFrameOffsetDiskId;
// How far the decoder may run ahead of the frames the renderer needs: the
// decoder also uploads them to the device, and one frame ahead keeps the
// device fed without holding more input frames than needed.
constexpr int64_t kDecodeAhead = 1;
// Rendered frames waiting for the encoder (besides the one being encoded and
// the one the renderer is handing over).
constexpr size_t kEncodeQueue = 1;

// A bounded queue of rendered frames. push() waits for room and fails once
// the queue is closed; pop() waits for a frame and gives none once the queue
// is closed and empty.
class FrameQueue {
 public:
  explicit FrameQueue(size_t capacity) : capacity_(capacity) {}

  bool push(dshost::ImageF frame) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return closed_ || frames_.size() < capacity_; });
    if (closed_) {
      return false;
    }
    frames_.push_back(std::move(frame));
    changed_.notify_all();
    return true;
  }

  // Waits at most `wait` for a frame. nullopt with `ended` set: closed and empty.
  std::optional<dshost::ImageF> pop(std::chrono::milliseconds wait, bool& ended) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, wait, [&] { return closed_ || !frames_.empty(); });
    ended = frames_.empty() && closed_;
    if (frames_.empty()) {
      return std::nullopt;
    }
    dshost::ImageF frame = std::move(frames_.front());
    frames_.pop_front();
    changed_.notify_all();
    return frame;
  }

  // No more frames: the producer is done (frames queued are still popped).
  void close() {
    std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
    changed_.notify_all();
  }

  // The consumer stops: queued frames are dropped, the producer is released.
  void abandon() {
    std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
    frames_.clear();
    changed_.notify_all();
  }

 private:
  size_t capacity_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<dshost::ImageF> frames_;
  bool closed_ = false;
};

// The decode thread's progress, shared with the renderer.
struct DecodeState {
  std::mutex mutex;
  std::condition_variable changed;
  int64_t renderAt = 0;       // the output frame the renderer is on
  int64_t decodedUpTo = -1;   // every frame up to here is in the cache
  bool done = false;          // the decode thread has ended
  bool stop = false;          // everyone stops
  std::optional<int64_t> failedFrame;
  std::exception_ptr failure;
};

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

std::string MessageOf(const std::exception_ptr& error) {
  try {
    std::rethrow_exception(error);
  } catch (const std::exception& e) {
    return e.what();
  } catch (...) {
    return "unknown error";
  }
}

}  // namespace

FrameWindow WindowOf(double frames, double frameOffset) {
  FrameWindow window;
  const double count = std::isfinite(frames) ? std::clamp(std::ceil(frames), 1.0, 1e6) : 1.0;
  const double offset = std::isfinite(frameOffset) ? std::clamp(frameOffset, -1e6, 1e6) : 0.0;
  window.frames = static_cast<int64_t>(count);
  const double reach = std::ceil((count - 1.0) * std::fabs(offset));
  (offset >= 0 ? window.back : window.ahead) = static_cast<int64_t>(reach);
  return window;
}

PipelineResult RunPipeline(dshost::RenderSession& session, const ClipSource& source, dshost::MediaWriter& writer,
                           const PipelineOptions& options) {
  PipelineResult result;
  const dshost::MediaInfo& info = source.info;
  const int64_t lastInput = info.frameCount - 1;
  // Keyframed frames or frame offset change the reach over time: the widest
  // window over the frames rendered serves them all.
  FrameWindow window = WindowOf(session.Parameter(kFramesDiskId), session.Parameter(kFrameOffsetDiskId));
  const dshost::ParameterStore& store = session.host().parameters();
  if (store.KeyframeCount(store.IndexOf(kFramesDiskId)) > 0 ||
      store.KeyframeCount(store.IndexOf(kFrameOffsetDiskId)) > 0) {
    for (int64_t t = options.firstFrame; t < options.endFrame; ++t) {
      const auto time = static_cast<A_long>(t * info.frameRate.den);
      const auto scale = static_cast<A_u_long>(info.frameRate.num);
      const FrameWindow at = WindowOf(store.ValueById(kFramesDiskId, time, scale),
                                      store.ValueById(kFrameOffsetDiskId, time, scale));
      window.back = std::max(window.back, at.back);
      window.ahead = std::max(window.ahead, at.ahead);
      window.frames = std::max(window.frames, at.frames);
    }
  }
  const auto minNeeded = [&](int64_t t) { return std::clamp<int64_t>(t - window.back, 0, lastInput); };
  const auto maxNeeded = [&](int64_t t) { return std::clamp<int64_t>(t + window.ahead, 0, lastInput); };
  const int64_t firstInput = minNeeded(options.firstFrame);
  const int64_t endInput = maxNeeded(options.endFrame - 1) + 1;
  result.inputFramesUsed = endInput - firstInput;

  // Both hosts keep input frames on the device: the decode thread uploads
  // each one once, and the device frame cache holds every frame from the
  // oldest one an output frame reads to the newest one uploaded ahead. Host
  // memory then only holds frames between decode and upload, within the
  // memory budget.
  const uint64_t frameBytes = static_cast<uint64_t>(info.width) * static_cast<uint64_t>(info.height) * 16u;
  const uint64_t budgetFrames = frameBytes > 0 ? options.memoryBudgetBytes / frameBytes : 0;
  const int64_t batch = std::max(options.renderThreads, 1);
  const size_t span = static_cast<size_t>(window.back + window.ahead + 1);
  result.cacheFrames = static_cast<size_t>(kDecodeAhead) + 1;
  const size_t wanted = span + static_cast<size_t>(kDecodeAhead + batch - 1);
  const auto affordable = static_cast<size_t>(std::max<uint64_t>(
      budgetFrames > result.cacheFrames ? budgetFrames - result.cacheFrames : 0, static_cast<uint64_t>(2)));
  result.deviceFrames = std::min(wanted, affordable);
  if (wanted > affordable && !options.quiet) {
    std::fprintf(stderr,
                 "driftsmear: warning: the effect reads frames up to %lld apart; at this size the frame cache holds "
                 "%zu, so some input frames are decoded more than once (DRIFTSMEAR_CACHE_MB raises the limit)\n",
                 static_cast<long long>(window.back + window.ahead), affordable);
  }

  dshost::GpuHost& gpu = session.host().gpu();
  gpu.frameCache().SetCapacity(result.deviceFrames);
  const dshost::TransferCounts transfersBefore = gpu.Transfers();
  dshost::FrameCache cache(source.decode, result.cacheFrames);
  dshost::CachedClipSource clip(cache, info.width, info.height, info.frameRate, info.frameCount);
  const PF_PixelFormat pixelFormat = dshost::PixelFormatOf(options.format);
  const uint32_t deviceIndex = session.options().deviceIndex;
  DecodeState state;
  state.renderAt = options.firstFrame;
  FrameQueue queue(kEncodeQueue);
  std::optional<CliError> renderFailure;
  bool interrupted = false;

  std::thread decoder([&] {
    for (int64_t index = firstInput; index < endInput; ++index) {
      {
        std::unique_lock<std::mutex> lock(state.mutex);
        state.changed.wait(lock, [&] { return state.stop || index <= maxNeeded(state.renderAt) + kDecodeAhead; });
        if (state.stop) {
          break;
        }
      }
      const auto started = Clock::now();
      dshost::FrameCache::FramePtr frame;
      try {
        frame = cache.get(index);
        result.decodeSeconds += SecondsSince(started);
      } catch (...) {
        std::lock_guard<std::mutex> lock(state.mutex);
        state.failedFrame = index;
        state.failure = std::current_exception();
        break;
      }
      try {
        gpu.PreloadFrame(dshost::DeviceFrameKey{clip.sourceId(), index, deviceIndex, pixelFormat}, *frame);
      } catch (...) {
        // The render's own checkout uploads the frame again and reports what
        // goes wrong then.
      }
      frame.reset();
      std::lock_guard<std::mutex> lock(state.mutex);
      state.decodedUpTo = index;
      state.changed.notify_all();
    }
    std::lock_guard<std::mutex> lock(state.mutex);
    state.done = true;
    state.changed.notify_all();
  });

  std::thread renderer([&] {
    for (int64_t t = options.firstFrame, batchEnd = t; t < options.endFrame; t = batchEnd) {
      if (Interrupted()) {
        interrupted = true;
        break;
      }
      batchEnd = std::min(t + batch, options.endFrame);
      {
        std::unique_lock<std::mutex> lock(state.mutex);
        state.renderAt = batchEnd - 1;
        state.changed.notify_all();
        state.changed.wait(lock, [&] {
          return state.stop || state.done || state.decodedUpTo >= maxNeeded(batchEnd - 1) ||
                 state.failedFrame.has_value();
        });
        if (state.stop) {
          break;
        }
        // Frames that do not need an input frame that failed to decode are
        // still rendered; the failure ends the render at the first that does.
        while (state.failedFrame && batchEnd > t && *state.failedFrame <= maxNeeded(batchEnd - 1)) {
          --batchEnd;
        }
        if (batchEnd == t) {
          // The media layer's message names the file and the frame.
          renderFailure.emplace(kExitInput, MessageOf(state.failure));
          break;
        }
      }
      std::vector<A_long> times;
      for (int64_t frame = t; frame < batchEnd; ++frame) {
        times.push_back(clip.TimeOfFrame(static_cast<int>(frame)));
      }
      const auto started = Clock::now();
      std::vector<std::exception_ptr> failures;
      std::vector<dshost::ImageF> frames;
      try {
        frames = session.RenderFrames(clip, times, static_cast<int>(times.size()), options.format, &failures);
      } catch (...) {
        frames.assign(1, dshost::ImageF{});
        failures.assign(1, std::current_exception());
      }
      result.renderSeconds += SecondsSince(started);
      bool stopped = false;
      for (size_t i = 0; i < frames.size() && !stopped; ++i) {
        if (failures[i]) {
          const std::string what = MessageOf(failures[i]);
          const std::exception_ptr decodeFailure = clip.TakeFailure();
          if (decodeFailure) {
            renderFailure.emplace(kExitInput, MessageOf(decodeFailure));
          } else {
            renderFailure.emplace(kExitRender, "frame " + std::to_string(t + static_cast<int64_t>(i)) + ": " + what);
          }
          stopped = true;
        } else if (!queue.push(std::move(frames[i]))) {
          stopped = true;
        } else {
          ++result.rendered;
        }
      }
      if (stopped) {
        break;
      }
    }
    queue.close();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.stop = true;
    state.changed.notify_all();
  });

  Progress progress(options.endFrame - options.firstFrame, options.quiet, options.terminal);
  std::optional<CliError> writeFailure;
  while (true) {
    bool ended = false;
    std::optional<dshost::ImageF> frame = queue.pop(std::chrono::milliseconds(200), ended);
    if (ended) {
      break;
    }
    if (!frame) {
      continue;
    }
    try {
      const auto started = Clock::now();
      writer.write(*frame);
      result.encodeSeconds += SecondsSince(started);
      ++result.written;
      progress.Update(result.written);
    } catch (const std::exception& error) {
      writeFailure.emplace(kExitOutput, error.what());
      queue.abandon();
      break;
    }
  }
  progress.Finish();
  renderer.join();
  {
    std::lock_guard<std::mutex> lock(state.mutex);
    state.stop = true;
    state.changed.notify_all();
  }
  decoder.join();

  gpu.frameCache().SetCapacity(0);
  const dshost::TransferCounts transfers = gpu.Transfers();
  result.uploadBytes = transfers.uploadBytes - transfersBefore.uploadBytes;
  result.uploads = transfers.uploads - transfersBefore.uploads;
  result.downloadBytes = transfers.downloadBytes - transfersBefore.downloadBytes;
  result.frameBytes = frameBytes;
  result.seconds = progress.Seconds();
  result.decodes = cache.decodeCount();
  result.interrupted = interrupted;
  if (writeFailure) {
    result.failure = writeFailure;
  } else if (renderFailure) {
    result.failure = renderFailure;
  }
  return result;
}

}  // namespace driftsmear
