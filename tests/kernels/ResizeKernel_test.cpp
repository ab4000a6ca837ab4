// ResizeKernel: exact placement at an offset with a transparent remainder, in
// float and half form, on every back end that is available.
#include <tuple>

#include "KernelTestSupport.h"

namespace driftsmear::testing {
namespace {

// Every pixel distinct and exactly representable as half; the row padding
// holds other values, which a read past the row's end would pick up.
PixelBuffer Source(unsigned int width, unsigned int height, bool half) {
  PixelBuffer image(width, height, half, static_cast<int>(width) + 3);
  for (unsigned int y = 0; y < height; ++y) {
    for (unsigned int x = width; x < width + 3; ++x) {
      image.Set(x, y, make_float4(5.0f, 5.0f, 5.0f, 5.0f));
    }
    for (unsigned int x = 0; x < width; ++x) {
      image.Set(x, y, make_float4(x / 16.0f, y / 16.0f, 0.5f + (x + y) / 64.0f, 0.25f * (1 + (x + y) % 4)));
    }
  }
  return image;
}

// A destination already holding other values, which the kernel must replace.
PixelBuffer Destination(unsigned int width, unsigned int height, bool half) {
  PixelBuffer image(width, height, half, static_cast<int>(width) + 1);
  image.Fill(make_float4(9.0f, 9.0f, 9.0f, 9.0f));
  return image;
}

// Checks dst against the source placed at (offsetX, offsetY), transparent black elsewhere.
void ExpectPlaced(const PixelBuffer& src, const PixelBuffer& dst, int offsetX, int offsetY) {
  int mismatches = 0;
  for (unsigned int y = 0; y < dst.height(); ++y) {
    for (unsigned int x = 0; x < dst.width(); ++x) {
      const int sx = static_cast<int>(x) - offsetX;
      const int sy = static_cast<int>(y) - offsetY;
      const bool inside = sx >= 0 && sy >= 0 && sx < static_cast<int>(src.width()) &&
                          sy < static_cast<int>(src.height());
      const float4 expected = inside ? src.Get(static_cast<unsigned int>(sx), static_cast<unsigned int>(sy))
                                     : make_float4(0.0f, 0.0f, 0.0f, 0.0f);
      const float4 actual = dst.Get(x, y);
      if (actual.x != expected.x || actual.y != expected.y || actual.z != expected.z || actual.w != expected.w) {
        if (++mismatches <= 5) {
          ADD_FAILURE() << "pixel (" << x << ", " << y << "): expected (" << expected.x << ", " << expected.y
                        << ", " << expected.z << ", " << expected.w << "), got (" << actual.x << ", " << actual.y
                        << ", " << actual.z << ", " << actual.w << ")";
        }
      }
    }
  }
  EXPECT_EQ(mismatches, 0);
}

class ResizeKernelTest : public BackendTest<std::tuple<Backend, bool>> {
 protected:
  ResizeKernelTest() : BackendTest(std::get<0>(GetParam())) {}
};

// Equal sizes without offset copy; a larger destination gets a transparent
// border; negative offsets crop and larger sources are cut; a source wholly
// outside gives transparent black.
TEST_P(ResizeKernelTest, PlacesTheSourceAtItsOffset) {
  const bool half = std::get<1>(GetParam());
  struct Case {
    unsigned int srcSize[2], dstSize[2];
    int offsetX, offsetY;
  };
  for (const Case& c : {Case{{19, 11}, {19, 11}, 0, 0}, Case{{12, 7}, {20, 13}, 3, 2}, Case{{16, 16}, {10, 9}, -4, -3},
                        Case{{8, 8}, {12, 12}, 12, 0}, Case{{8, 8}, {12, 12}, -8, 1}, Case{{8, 8}, {12, 12}, 0, 12},
                        Case{{8, 8}, {12, 12}, 2, -8}}) {
    SCOPED_TRACE(::testing::Message() << "offset (" << c.offsetX << ", " << c.offsetY << ")");
    const PixelBuffer src = Source(c.srcSize[0], c.srcSize[1], half);
    PixelBuffer dst = Destination(c.dstSize[0], c.dstSize[1], half);
    backend_->RunResize(src, dst, c.offsetX, c.offsetY);
    ExpectPlaced(src, dst, c.offsetX, c.offsetY);
  }
}

INSTANTIATE_TEST_SUITE_P(Backends, ResizeKernelTest,
                         ::testing::Combine(::testing::Values(Backend::Cpu, Backend::OpenCL, Backend::Cuda),
                                            ::testing::Bool()),
                         [](const ::testing::TestParamInfo<std::tuple<Backend, bool>>& info) {
                           const Backend backend = std::get<0>(info.param);
                           return (backend == Backend::Cpu ? std::string("Cpu") : BackendName(backend)) +
                                  (std::get<1>(info.param) ? "_Half" : "_Float");
                         });

}  // namespace
}  // namespace driftsmear::testing
