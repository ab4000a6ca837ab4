// The OpenCL program text as the device layer builds it: the KernelData
// layout the device sees, the half conversions, the 16-bit switch and the
// file names in build messages.
#include <cmath>
#include <cstring>
#include <random>

#include "KernelTestSupport.h"
#include "kernels/DriftSmear_KernelSource.h"

namespace driftsmear::testing {
namespace {

using dshost::ClKernel;
using dshost::ClProgram;
using dshost::DeviceBuffer;

class KernelProgramTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string reason;
    const dshost::GpuDeviceDesc* desc = dshost::FirstGpuDevice(dshost::GpuApi::OpenCL, &reason);
    if (desc == nullptr) {
      DRIFTSMEAR_SKIP_WITHOUT_DEVICE() << "OpenCL skipped: " << reason;
    }
    device_ = dshost::GpuDevice::Open(*desc);
  }

  // The kernel program with extra kernel text appended.
  ClProgram BuildWith(const std::string& extra) {
    std::string log;
    ClProgram program = BuildKernelProgram(*device_, true, extra, &log);
    EXPECT_TRUE(program) << log;
    return program;
  }

  DeviceBuffer Buffer(std::size_t bytes, const void* initial = nullptr) {
    DeviceBuffer buffer = device_->Allocate(bytes);
    if (initial != nullptr) {
      device_->Write(buffer, initial, bytes);
    }
    return buffer;
  }

  // Runs the kernel over `items` x `rows` work-items with the arguments and
  // reads `out` back into `result`.
  template <typename T, typename... Args>
  void Run(cl_program program, const char* name, std::size_t items, std::size_t rows, std::size_t block,
           const DeviceBuffer& out, std::vector<T>& result, const Args&... args) {
    const ClKernel kernel = dshost::CreateOpenCLKernel(program, name);
    dshost::SetOpenCLKernelArgs(kernel.get(), args...);
    dshost::RunOpenCLKernel(*device_, kernel.get(), items, rows, block);
    device_->Read(out, result.data(), result.size() * sizeof(T));
  }

  std::unique_ptr<dshost::GpuDevice> device_;
};

TEST_F(KernelProgramTest, DeviceSeesTheKernelDataLayout) {
  const ClProgram program = BuildWith(R"CL(
    __kernel void Layout(__global const KernelData* params, __global int* out) {
      out[0] = (int)sizeof(KernelData);
      out[1] = (int)__builtin_offsetof(KernelData, is_activated);
      out[2] = (int)__builtin_offsetof(KernelData, originH);
      out[3] = (int)__builtin_offsetof(KernelData, originV);
      out[4] = (int)__builtin_offsetof(KernelData, numFrames);
      out[5] = (int)__builtin_offsetof(KernelData, trailIntensity);
      out[6] = (int)__builtin_offsetof(KernelData, percent);
      out[7] = (int)__builtin_offsetof(KernelData, isPremult);
      out[8] = (int)__builtin_offsetof(KernelData, preset);
      out[9] = (int)__builtin_offsetof(KernelData, showDebugData);
      out[10] = params->is_activated ? 1 : 0;
      out[11] = params->isPremult ? 1 : 0;
      out[12] = params->originV[49];
      out[13] = params->showDebugData;
      out[14] = (int)(params->percent * 1000.0f);
      out[15] = (int)(params->lambda * 1000.0f);
    })CL");
  ASSERT_TRUE(program);
  KernelData params = DefaultParams();
  params.is_activated = false;
  params.isPremult = true;
  params.originV[49] = -77;
  params.showDebugData = 4;
  params.percent = 0.25f;
  params.lambda = 0.5f;
  const DeviceBuffer input = Buffer(sizeof params, &params);
  const DeviceBuffer output = Buffer(16 * sizeof(int));
  std::vector<int> values(16);
  Run(program.get(), "Layout", 1, 1, 1, output, values, input, output);
  EXPECT_EQ(values, (std::vector<int>{472, 0, 4, 204, 404, 408, 456, 460, 464, 468, 0, 1, -77, 4, 250, 500}));
}

// Every half read and a spread of float values written through the kernel
// text's ReadFloat4/WriteFloat4 agree with the host's conversions.
TEST_F(KernelProgramTest, HalfConversionsMatchTheHostBuild) {
  const ClProgram program = BuildWith(R"CL(
    __kernel void Widen(__global const float4* halves, __global float4* floats) {
      const int i = (int)get_global_id(0);
      floats[i] = ReadFloat4(halves, i, true);
    }
    __kernel void Narrow(__global const float4* floats, __global float4* halves) {
      const int i = (int)get_global_id(0);
      WriteFloat4(floats[i], halves, i, true);
    })CL");
  ASSERT_TRUE(program);

  std::vector<std::uint16_t> allHalves(65536);
  for (std::size_t i = 0; i < allHalves.size(); ++i) {
    allHalves[i] = static_cast<std::uint16_t>(i);
  }
  const DeviceBuffer halfBuffer = Buffer(allHalves.size() * 2, allHalves.data());
  const DeviceBuffer floatBuffer = Buffer(allHalves.size() * 4);
  std::vector<float> widened(allHalves.size());
  Run(program.get(), "Widen", 16384, 1, 16, floatBuffer, widened, halfBuffer, floatBuffer);
  for (std::size_t i = 0; i < allHalves.size(); ++i) {
    const float host = kernel::HalfBitsToFloat(allHalves[i]);
    ASSERT_TRUE(std::isnan(host) ? std::isnan(widened[i]) : widened[i] == host) << "half 0x" << std::hex << i;
  }

  std::vector<float> values = {1.0009f, -1.0009f, 65519.0f, 1e9f, -1e9f, 3e-8f, -6e-5f, 0.0f, -0.0f,
                               INFINITY, -INFINITY, NAN, 0.333333343f, 2.0f / 3.0f, 1e-40f, 65504.0f};
  std::mt19937 rng(7);
  while (values.size() < 16384) {
    const std::uint32_t bits = rng();
    float value;
    std::memcpy(&value, &bits, sizeof value);
    values.push_back(value);
  }
  const DeviceBuffer inputs = Buffer(values.size() * 4, values.data());
  const DeviceBuffer outputs = Buffer(values.size() * 2);
  std::vector<std::uint16_t> narrowed(values.size());
  Run(program.get(), "Narrow", values.size() / 4, 1, 16, outputs, narrowed, inputs, outputs);
  for (std::size_t i = 0; i < values.size(); ++i) {
    const std::uint16_t host = kernel::FloatToHalfBitsRtz(values[i]);
    if (std::isnan(values[i])) {
      EXPECT_TRUE(std::isnan(kernel::HalfBitsToFloat(narrowed[i]))) << values[i];
    } else {
      ASSERT_EQ(narrowed[i], host) << "float " << values[i];
    }
  }
}

// Without the switch the half paths are compiled out: a 16-bit frame is
// copied as 16 bytes per pixel, which is why the host must put the switch in
// front of the text.
TEST_F(KernelProgramTest, WithoutThe16BitSwitchHalfFramesAreReadAsFloats) {
  const ClProgram program = BuildKernelProgram(*device_, false);
  ASSERT_TRUE(program);
  std::vector<std::uint8_t> source(8 * 4 * 16);
  for (std::size_t i = 0; i < source.size(); ++i) {
    source[i] = static_cast<std::uint8_t>(i * 7 + 1);
  }
  const DeviceBuffer src = Buffer(source.size(), source.data());
  const DeviceBuffer dst = Buffer(source.size());
  std::vector<std::uint8_t> copied(source.size());
  Run(program.get(), "ResizeKernel", 8, 4, 4, dst, copied, src, dst, 8, 8, 1, 8u, 4u, 8u, 4u, 0, 0);
  EXPECT_EQ(copied, source);
}

TEST_F(KernelProgramTest, BuildMessagesNameTheKernelFiles) {
  EXPECT_EQ(std::strlen(kDriftSmearKernelSource), kDriftSmearKernelSourceLength);
  std::string log;
  EXPECT_FALSE(BuildKernelProgram(*device_, true, "#error probe\n", &log));
  EXPECT_NE(log.find("kernels/DriftSmear_Kernel.cl"), std::string::npos) << log;
  EXPECT_NE(log.find("probe"), std::string::npos) << log;
}

}  // namespace
}  // namespace driftsmear::testing
