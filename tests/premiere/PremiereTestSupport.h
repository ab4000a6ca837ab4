// Helpers of the Premiere GPU filter tests: a render session of either host
// on the first OpenCL device under a fresh temporary folder (for the log),
// the effect's error lines read back, and small clips with motion in them.
#pragma once
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "common/RequireDevice.h"
#include "common/TestSupport.h"
#include "host/FrameSource.h"
#include "host/RenderSession.h"
#include "host/gpu/GpuDevice.h"
#include "host/premiere/PremiereHost.h"
#include "params/DriftSmear_Parameters.h"

namespace premieretest {

// The first OpenCL device, or null with the reason in `reason`.
inline const dshost::GpuDeviceDesc* OpenCLDevice(std::string* reason) {
  return dshost::FirstGpuDevice(dshost::GpuApi::OpenCL, reason);
}

#define SKIP_WITHOUT_OPENCL()                                                           \
  do {                                                                                  \
    std::string skipReason;                                                             \
    if (premieretest::OpenCLDevice(&skipReason) == nullptr) {                           \
      DRIFTSMEAR_SKIP_WITHOUT_DEVICE() << "no OpenCL device, the GPU filter cannot run: " << skipReason;\
    }                                                                                   \
  } while (0)

// A render session of one host on the first OpenCL device, with the log
// written under its own temporary folder.
class Session {
 public:
  explicit Session(dshost::HostApp app, int64_t sequenceStartFrame = 0) {
    dshost::RenderSessionOptions options;
    options.app = app;
    options.deviceIndex = premieretest::OpenCLDevice(nullptr)->index;
    options.sequenceStartFrame = sequenceStartFrame;
    session_ = std::make_unique<dshost::RenderSession>(DRIFTSMEAR_MODULE_PATH, options);
  }

  dshost::RenderSession& operator*() { return *session_; }
  dshost::RenderSession* operator->() { return session_.get(); }
  dshost::PremiereHost& premiere() { return *session_->premiere(); }
  uint32_t device() const { return session_->options().deviceIndex; }

  std::vector<std::string> LogLines() const { return testsupport::ReadLines(testsupport::LogFilePath(temp_.path())); }
  // Error lines of the filter written by `function` with exactly this message.
  size_t FilterErrors(const std::string& function, const std::string& message) const {
    size_t count = 0;
    for (const std::string& line : testsupport::LinesContaining(LogLines(), "ERROR [DriftSmear_PrGPU.cpp:")) {
      const std::string tail = ":" + function + "] :: " + message;
      count += line.size() >= tail.size() && line.compare(line.size() - tail.size(), tail.size(), tail) == 0 ? 1 : 0;
    }
    return count;
  }

 private:
  testsupport::ScopedTempDir temp_;
  std::unique_ptr<dshost::RenderSession> session_;
};

// A frame of a scene that moves as a whole: slanted waves travelling three
// pixels right per frame, with a bright square travelling two pixels right
// and down. The scene of sceneWidth x sceneHeight is drawn centred in a
// frame of frameWidth x frameHeight, as if it had been padded (with
// transparent black) or cropped to that size.
inline dshost::ImageF SceneFrame(int index, int sceneWidth, int sceneHeight, int frameWidth, int frameHeight) {
  dshost::ImageF image;
  image.width = frameWidth;
  image.height = frameHeight;
  image.bgra.assign(static_cast<size_t>(frameWidth) * frameHeight * 4, 0.0f);
  const int offsetX = (sceneWidth - frameWidth) / 2;
  const int offsetY = (sceneHeight - frameHeight) / 2;
  const int squareX = 8 + index * 2;
  const int squareY = 6 + index * 2;
  for (int y = 0; y < frameHeight; ++y) {
    for (int x = 0; x < frameWidth; ++x) {
      const int sx = x + offsetX;
      const int sy = y + offsetY;
      if (sx < 0 || sy < 0 || sx >= sceneWidth || sy >= sceneHeight) continue;
      float* pixel = image.pixel(x, y);
      const bool inSquare = sx >= squareX && sx < squareX + 16 && sy >= squareY && sy < squareY + 16;
      const float wave = 0.5f + 0.5f * std::sin(0.4f * static_cast<float>(sx - 3 * index) + 0.25f * static_cast<float>(sy));
      pixel[0] = inSquare ? 0.95f : wave;
      pixel[1] = inSquare ? 0.85f : 0.2f + 0.5f * wave;
      pixel[2] = inSquare ? 0.10f : 1.0f - wave;
      pixel[3] = 1.0f;
    }
  }
  return image;
}

// A clip of `frames` scene frames of the clip's size (25 frames per second).
inline dshost::InMemoryClip MovingClip(int width, int height, int frames) {
  dshost::InMemoryClip clip(width, height, 1, 25);
  for (int i = 0; i < frames; ++i) clip.AddFrame(SceneFrame(i, width, height, width, height));
  return clip;
}

using testsupport::DifferingPixels;
using testsupport::MaxDifference;

// Whether every value of the image lies in [0, 1]: the scene's colours stay
// there, while the host's unwritten bytes (785 as a float, 4.27 as a half) or
// misread rows do not.
inline bool AllInUnitRange(const dshost::ImageF& image) {
  for (float value : image.bgra) {
    if (!(value >= 0.0f && value <= 1.0f)) return false;
  }
  return true;
}

}  // namespace premieretest
