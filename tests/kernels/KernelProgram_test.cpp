// The OpenCL program text as the device layer builds it: the KernelData
// layout the device sees, the half conversions, the 16-bit switch and the
// file names in build messages.
#include <cmath>
#include <cstring>
#include <random>

#include "KernelTestSupport.h"
#include "OpenCLHarness.h"

namespace driftsmear::testing {
namespace {

class KernelProgramTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string reason;
    device_ = OpenCLDevice::Open(reason);
    if (!device_) {
      GTEST_SKIP() << "OpenCL skipped: " << reason;
    }
  }

  // The kernel program with extra kernel text appended, built as the device
  // layer builds it.
  ProgramHandle BuildWith(const std::string& extra) {
    std::string log;
    ProgramHandle program = device_->Build(
        {kOpenCL16FPrefix, std::string(kDriftSmearKernelSource, kDriftSmearKernelSourceLength), extra},
        kOpenCLBuildOptions, log);
    EXPECT_TRUE(program) << log;
    return program;
  }

  std::unique_ptr<OpenCLDevice> device_;
};

TEST_F(KernelProgramTest, DeviceSeesTheKernelDataLayout) {
  ProgramHandle program = BuildWith(R"CL(
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
  KernelHandle kernel = device_->CreateKernel(program.get(), "Layout");
  KernelData params = DefaultParams();
  params.is_activated = false;
  params.isPremult = true;
  params.originV[49] = -77;
  params.showDebugData = 4;
  params.percent = 0.25f;
  params.lambda = 0.5f;
  BufferHandle input = device_->CreateBuffer(sizeof params, &params);
  BufferHandle output = device_->CreateBuffer(16 * sizeof(int), nullptr);
  OpenCLDevice::SetArgs(kernel.get(), input.get(), output.get());
  device_->Run(kernel.get(), 1, 1, 1);
  int values[16];
  device_->Read(output.get(), values, sizeof values);
  const int expected[16] = {472, 0, 4, 204, 404, 408, 456, 460, 464, 468, 0, 1, -77, 4, 250, 500};
  for (int i = 0; i < 16; ++i) {
    EXPECT_EQ(values[i], expected[i]) << "probe " << i;
  }
}

// Every half read and a spread of float values written through the kernel
// text's ReadFloat4/WriteFloat4 agree with the host's conversions.
TEST_F(KernelProgramTest, HalfConversionsMatchTheHostBuild) {
  ProgramHandle program = BuildWith(R"CL(
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
  BufferHandle halfBuffer = device_->CreateBuffer(allHalves.size() * 2, allHalves.data());
  BufferHandle floatBuffer = device_->CreateBuffer(allHalves.size() * 4, nullptr);
  KernelHandle widen = device_->CreateKernel(program.get(), "Widen");
  OpenCLDevice::SetArgs(widen.get(), halfBuffer.get(), floatBuffer.get());
  device_->Run(widen.get(), 16384, 1, 64);
  std::vector<float> widened(allHalves.size());
  device_->Read(floatBuffer.get(), widened.data(), widened.size() * 4);
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
  BufferHandle inputs = device_->CreateBuffer(values.size() * 4, values.data());
  BufferHandle outputs = device_->CreateBuffer(values.size() * 2, nullptr);
  KernelHandle narrow = device_->CreateKernel(program.get(), "Narrow");
  OpenCLDevice::SetArgs(narrow.get(), inputs.get(), outputs.get());
  device_->Run(narrow.get(), static_cast<unsigned int>(values.size() / 4), 1, 64);
  std::vector<std::uint16_t> narrowed(values.size());
  device_->Read(outputs.get(), narrowed.data(), narrowed.size() * 2);
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
  ProgramHandle program = device_->BuildKernelProgram(false);
  KernelHandle resize = device_->CreateKernel(program.get(), "ResizeKernel");
  std::vector<std::uint8_t> source(8 * 4 * 16);
  for (std::size_t i = 0; i < source.size(); ++i) {
    source[i] = static_cast<std::uint8_t>(i * 7 + 1);
  }
  BufferHandle src = device_->CreateBuffer(source.size(), source.data());
  BufferHandle dst = device_->CreateBuffer(source.size(), nullptr);
  OpenCLDevice::SetArgs(resize.get(), src.get(), dst.get(), 8, 8, 1, 8u, 4u, 8u, 4u, 0, 0);
  device_->Run(resize.get(), 8, 4, 4);
  std::vector<std::uint8_t> copied(source.size());
  device_->Read(dst.get(), copied.data(), copied.size());
  EXPECT_EQ(copied, source);
}

TEST_F(KernelProgramTest, BuildMessagesNameTheKernelFiles) {
  EXPECT_EQ(std::strlen(kDriftSmearKernelSource), kDriftSmearKernelSourceLength);
  std::string log;
  ProgramHandle program = device_->Build(
      {kOpenCL16FPrefix, std::string(kDriftSmearKernelSource, kDriftSmearKernelSourceLength), "#error probe\n"},
      kOpenCLBuildOptions, log);
  EXPECT_FALSE(program);
  EXPECT_NE(log.find("kernels/DriftSmear_Kernel.cl"), std::string::npos) << log;
  EXPECT_NE(log.find("probe"), std::string::npos) << log;
}

}  // namespace
}  // namespace driftsmear::testing
