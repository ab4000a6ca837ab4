// driftsmear: renders video through the Drift Smear plug-in module, loaded
// into our own host exactly as After Effects or Premiere Pro load it.
#include <cstdio>
#include <exception>
#include <new>

#include "tools/driftsmear/CliError.h"
#include "tools/driftsmear/Commands.h"
#include "tools/driftsmear/Console.h"
#include "tools/driftsmear/Options.h"

int main(int argc, char** argv) {
  using namespace driftsmear;
  SetUpConsole();
  try {
    const Options options = ParseCommandLine(Utf8Arguments(argc, argv));
    switch (options.command) {
      case Command::Usage:
        std::fputs(ShortUsage().c_str(), stderr);
        return kExitUsage;
      case Command::Help:
        std::fputs(HelpText(options.helpTopic).c_str(), stdout);
        return kExitOk;
      case Command::Version:
        std::printf("driftsmear %s\n", DRIFTSMEAR_VERSION_TEXT);
        return kExitOk;
      case Command::Render:
        return RunRender(options);
      case Command::Demo:
        return RunDemo(options);
      case Command::Info:
        return RunInfo(options);
      case Command::Panel:
        return RunPanel(options);
    }
  } catch (const CliError& error) {
    std::fprintf(stderr, "driftsmear: error: %s\n", error.what());
    return error.code();
  } catch (const std::bad_alloc&) {
    std::fprintf(stderr, "driftsmear: error: out of memory\n");
    return kExitRender;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "driftsmear: error: %s\n", error.what());
    return kExitRender;
  }
  return kExitOk;
}
