// The commands of driftsmear. Each returns the exit code, or throws CliError.
#pragma once
#include "tools/driftsmear/Options.h"

namespace driftsmear {

int RunRender(const Options& options);
int RunDemo(const Options& options);
int RunInfo(const Options& options);
int RunPanel(const Options& options);

}  // namespace driftsmear
