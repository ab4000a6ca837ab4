// Process-wide diagnostics shared by the GPU layer, the render drivers and the
// custom UI: which GPU renders, on which framework and OS, and the notice shown
// after a refused CPU render.
#pragma once
#include <atomic>
#include <mutex>
#include <string>

class GPUStatusInfo {
 public:
  enum Text { kGPUShortName = 0, kFrameworkName, kOSVersion, kNoticeHeadline, kNoticeInstruction, kTextCount };

  std::string GetText(Text field) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return texts_[field];
  }
  void SetText(Text field, std::string text) {
    std::lock_guard<std::mutex> lock(mutex_);
    texts_[field] = std::move(text);
  }

  // Copy of the build-time debug switch, written on every entry call.
  std::atomic<bool> debug{false};
  // The CPU-refusal notice is armed by the first refused render and shown from
  // the next one on, unless a GPU device was initialised in between.
  std::atomic<bool> enabled{true};
  std::atomic<bool> armed{false};

 private:
  // The texts are diagnostic only; the lock keeps a reader on the UI thread
  // from seeing a string while a render thread reallocates it.
  mutable std::mutex mutex_;
  std::string texts_[kTextCount];
};

// Created on first use and never freed.
GPUStatusInfo& GetGPUStatusInfo();
