// The floor under an end-to-end render: decoding a clip to float BGRA frames and
// encoding them again with the same codec (H.264, libx264 veryfast), with no
// effect in between. A render's frames per second divided by this one's says
// how close the GPU work comes to the cost of the media alone.
//
// The clip is a generated 1080p, 5-second H.264 clip written once per run into
// the temporary folder. DRIFTSMEAR_FLOOR_INPUT names another clip to use instead.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "host/media/MediaReader.h"
#include "host/media/MediaWriter.h"
#include "host/media/SyntheticClip.h"

namespace {

namespace fs = std::filesystem;

fs::path scratchFolder() {
  static const fs::path folder = [] {
    fs::path f = fs::temp_directory_path() / "driftsmear-media-floor";
    fs::create_directories(f);
    return f;
  }();
  return folder;
}

const fs::path& floorInput() {
  static const fs::path input = [] {
    if (const char* given = std::getenv("DRIFTSMEAR_FLOOR_INPUT")) return fs::path(given);
    const fs::path file = scratchFolder() / "clip-1080p-5s.mp4";
    if (!fs::exists(file)) {
      dshost::SyntheticClip clip({1920, 1080, 150, {30, 1}, false});
      dshost::WriterOptions options;
      options.frameRate = clip.info().frameRate;
      dshost::MediaWriter writer(file, options);
      dshost::ImageF frame;
      for (std::int64_t i = 0; i < clip.info().frameCount; ++i) {
        clip.render(i, frame);
        writer.write(frame);
      }
      writer.finish();
    }
    return file;
  }();
  return input;
}

void reportFrames(benchmark::State& state, std::int64_t frames) {
  state.counters["fps"] = benchmark::Counter(static_cast<double>(frames), benchmark::Counter::kIsRate);
  state.counters["frames"] = static_cast<double>(frames);
}

void BM_Decode(benchmark::State& state) {
  const fs::path input = floorInput();
  std::int64_t frames = 0;
  for (auto _ : state) {
    dshost::MediaReader reader(input);
    dshost::ImageF frame;
    for (std::int64_t i = 0; i < reader.info().frameCount; ++i) {
      reader.readFrame(i, frame);
      benchmark::DoNotOptimize(frame.bgra.data());
      ++frames;
    }
  }
  reportFrames(state, frames);
}

void BM_DecodeEncode(benchmark::State& state) {
  const fs::path input = floorInput();
  const fs::path output = scratchFolder() / "floor-out.mp4";
  std::int64_t frames = 0;
  for (auto _ : state) {
    dshost::MediaReader reader(input);
    dshost::WriterOptions options;
    options.frameRate = reader.info().frameRate;
    options.timeBase = reader.info().timeBase;
    options.audioFrom = input;
    options.overwrite = true;
    options.h264Preset = "veryfast";
    dshost::MediaWriter writer(output, options);
    dshost::ImageF frame;
    for (std::int64_t i = 0; i < reader.info().frameCount; ++i) {
      reader.readFrame(i, frame);
      writer.write(frame);
      ++frames;
    }
    writer.finish();
  }
  reportFrames(state, frames);
}

}  // namespace

BENCHMARK(BM_Decode)->Unit(benchmark::kSecond)->Iterations(1)->UseRealTime();
BENCHMARK(BM_DecodeEncode)->Unit(benchmark::kSecond)->Iterations(1)->UseRealTime();

BENCHMARK_MAIN();
