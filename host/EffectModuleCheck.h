// Choosing what a front end of our host (the command line, the frei0r module)
// renders with: a check that a module file is Drift Smear, and the device a
// render uses when none is asked for.
#pragma once
#include <cstdint>
#include <optional>
#include <string>

namespace dshost {

// Loads the module once to check that it registers the Drift Smear effect
// with the entry points the hosts call. Throws HostError saying what is wrong.
void CheckDriftSmearModule(const std::string& modulePath);

// The device a render uses by default: the first CUDA device, else the first
// OpenCL GPU, else the first device of any kind; nullopt when there is none.
std::optional<uint32_t> PreferredGpuDevice();

// "no OpenCL or CUDA device found: ..." with what to install.
std::string NoGpuDeviceMessage();

}  // namespace dshost
