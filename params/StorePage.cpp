#include "params/StorePage.h"

#include <cstdlib>
#include <fstream>
#include <mutex>
#include <utility>

#include "effect/Licensing.h"

#ifdef _WIN32
#include <windows.h>
#include <shellapi.h>
#else
#include <cerrno>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
extern char** environ;
#endif

namespace {

std::mutex& OpenerMutex() {
  static std::mutex mutex;
  return mutex;
}

StorePageOpener& CustomOpener() {
  static StorePageOpener opener;
  return opener;
}

bool DefaultOpener(const std::string& url) {
  const char* logPath = std::getenv("DRIFTSMEAR_STORE_OPENER_LOG");
  if (logPath != nullptr && *logPath != '\0') {
    std::ofstream log(logPath, std::ios::out | std::ios::app);
    log << url << '\n';
    return static_cast<bool>(log);
  }
  return OpenURLWithSystem(url);
}

}  // namespace

#ifdef _WIN32

bool OpenURLWithSystem(const std::string& url) {
  const HINSTANCE result = ShellExecuteA(nullptr, "open", url.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
  // ShellExecuteA reports success with a value above 32.
  return reinterpret_cast<INT_PTR>(result) > 32;
}

#else

bool OpenURLWithSystem(const std::string& url) {
  // A shell puts xdg-open in the background and exits at once, so the host's
  // thread never waits for the browser and no child is left unreaped. The URL
  // travels as a positional argument, never as shell text.
  std::string shell = "/bin/sh";
  std::string dashC = "-c";
  std::string script = "xdg-open \"$1\" >/dev/null 2>&1 </dev/null &";
  std::string name = "sh";
  std::string argument = url;
  char* argv[] = {name.data(), dashC.data(), script.data(), name.data(), argument.data(), nullptr};
  pid_t pid = 0;
  if (posix_spawn(&pid, shell.c_str(), nullptr, nullptr, argv, environ) != 0) {
    return false;
  }
  int status = 0;
  while (waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) {
      return false;
    }
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

#endif

bool OpenStorePage() {
  StorePageOpener opener;
  {
    std::lock_guard<std::mutex> lock(OpenerMutex());
    opener = CustomOpener();
  }
  const std::string url = kStoreURL;
  return opener ? opener(url) : DefaultOpener(url);
}

void SetStorePageOpener(StorePageOpener opener) {
  std::lock_guard<std::mutex> lock(OpenerMutex());
  CustomOpener() = std::move(opener);
}
