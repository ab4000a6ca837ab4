#include "host/media/detail/OutputSink.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <random>

#include "host/media/MediaError.h"

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <sys/stat.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <unistd.h>
#endif

namespace dshost::detail {

namespace fs = std::filesystem;

namespace {

constexpr const char* kPartSuffix = ".part";

long currentProcessId() {
#ifdef _WIN32
  return static_cast<long>(_getpid());
#else
  return static_cast<long>(getpid());
#endif
}

bool processRuns(long pid) {
  if (pid == currentProcessId()) return true;
#ifdef _WIN32
  HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, static_cast<DWORD>(pid));
  if (process == nullptr) return GetLastError() == ERROR_ACCESS_DENIED;
  DWORD code = 0;
  const bool running = GetExitCodeProcess(process, &code) && code == STILL_ACTIVE;
  CloseHandle(process);
  return running;
#else
  return kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM;
#endif
}

std::string systemError(int error) { return std::strerror(error); }

// "<final>.<pid>-<tag>.part" -> final name and pid; false for any other name.
bool parseTemporaryName(const std::string& name, std::string& finalName, long& pid) {
  const std::size_t suffix = std::strlen(kPartSuffix);
  if (name.size() <= suffix || name.compare(name.size() - suffix, suffix, kPartSuffix) != 0) return false;
  const std::string stem = name.substr(0, name.size() - suffix);
  const std::size_t dot = stem.rfind('.');
  if (dot == std::string::npos || dot == 0) return false;
  const std::string id = stem.substr(dot + 1);
  const std::size_t dash = id.find('-');
  if (dash == std::string::npos || dash == 0 || dash > 10 || id.size() - dash - 1 != 8) return false;
  for (std::size_t i = 0; i < id.size(); ++i) {
    const char c = id[i];
    const bool ok = i < dash ? (c >= '0' && c <= '9')
                             : i == dash || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
    if (!ok) return false;
  }
  finalName = stem.substr(0, dot);
  pid = std::stol(id.substr(0, dash));
  return true;
}

std::string uniqueTag() {
  static std::atomic<unsigned> counter{0};
  static const unsigned seed = std::random_device{}();
  const unsigned value = seed * 2654435761u + counter.fetch_add(1) * 40503u;
  char text[16];
  std::snprintf(text, sizeof text, "%08x", value);
  return text;
}

// The name kept for a result whose final name was taken: "name (2).ext".
fs::path keptNameFor(const fs::path& final, int number) {
  return final.parent_path() /
         (final.stem().string() + " (" + std::to_string(number) + ")" + final.extension().string());
}

}  // namespace

void removeQuietly(const fs::path& file) {
  std::error_code ec;
  fs::remove(file, ec);
}

bool publishFile(const fs::path& from, const fs::path& to, bool overwrite) {
#ifdef _WIN32
  if (MoveFileExW(from.c_str(), to.c_str(), overwrite ? MOVEFILE_REPLACE_EXISTING : 0)) return true;
  const DWORD error = GetLastError();
  if (!overwrite && (error == ERROR_ALREADY_EXISTS || error == ERROR_FILE_EXISTS)) return false;
  throw MediaError(MediaErrc::WriteFailed, "cannot rename " + from.string() + " to " + to.string() +
                                               " (Windows error " + std::to_string(error) + ")");
#else
  const auto fail = [&](int error) {
    throw MediaError(MediaErrc::WriteFailed,
                     "cannot rename " + from.string() + " to " + to.string() + ": " + systemError(error));
  };
  if (overwrite) {
    if (::rename(from.c_str(), to.c_str()) != 0) fail(errno);
    return true;
  }
#ifdef RENAME_NOREPLACE
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno == EEXIST) return false;
  if (errno != EINVAL && errno != ENOSYS && errno != ENOTSUP) fail(errno);
#endif
  // A second name for the file, which the system refuses when the name is
  // taken; then the first name goes.
  if (::link(from.c_str(), to.c_str()) == 0) {
    ::unlink(from.c_str());
    return true;
  }
  if (errno == EEXIST) return false;
  // File systems without hard links (FAT, some network shares): a check and a
  // rename, which leaves a moment in which another file could slip in.
  std::error_code ec;
  if (fs::exists(to, ec)) return false;
  if (::rename(from.c_str(), to.c_str()) != 0) fail(errno);
  return true;
#endif
}

TemporaryFile::TemporaryFile(const fs::path& final) : final_(final) {
  const std::string prefix = final.filename().string() + "." + std::to_string(currentProcessId()) + "-";
  for (int attempt = 0; attempt < 16; ++attempt) {
    path_ = final.parent_path() / (prefix + uniqueTag() + kPartSuffix);
#ifdef _WIN32
    fd_ = _wopen(path_.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY, _S_IREAD | _S_IWRITE);
#else
    fd_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
#endif
    if (fd_ >= 0) break;
    if (errno != EEXIST) {
      throw MediaError(MediaErrc::WriteFailed, "cannot create a file in " +
                                                   (final.parent_path().empty() ? std::string(".")
                                                                                : final.parent_path().string()) +
                                                   ": " + systemError(errno));
    }
  }
  if (fd_ < 0) throw MediaError(MediaErrc::WriteFailed, "cannot create a unique file beside " + final.string());
#ifndef _WIN32
  ::flock(fd_, LOCK_EX | LOCK_NB);  // ours alone: it was just created
#endif
}

TemporaryFile::~TemporaryFile() { remove(); }

void TemporaryFile::closeHandle() noexcept {
  if (fd_ >= 0) {
#ifdef _WIN32
    _close(fd_);
#else
    ::close(fd_);
#endif
    fd_ = -1;
  }
}

void TemporaryFile::write(const void* data, std::size_t size) {
  const char* bytes = static_cast<const char*>(data);
  while (size > 0) {
#ifdef _WIN32
    const int chunk = static_cast<int>(std::min<std::size_t>(size, 1u << 30));
    const int written = _write(fd_, bytes, static_cast<unsigned>(chunk));
#else
    const ssize_t written = ::write(fd_, bytes, size);
#endif
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) {
      throw MediaError(MediaErrc::WriteFailed,
                       "cannot write " + final_.string() + ": " + systemError(written < 0 ? errno : ENOSPC));
    }
    bytes += written;
    size -= static_cast<std::size_t>(written);
  }
}

void TemporaryFile::publish(bool overwrite) {
  if (done_) return;
#ifdef _WIN32
  closeHandle();  // Windows renames only files nobody holds open
#endif
  if (publishFile(path_, final_, overwrite)) {
    done_ = true;
    closeHandle();
    return;
  }
  for (int number = 2; number < 100; ++number) {
    const fs::path kept = keptNameFor(final_, number);
    if (publishFile(path_, kept, false)) {
      done_ = true;
      closeHandle();
      throw MediaError(MediaErrc::OutputExists, final_.string() +
                                                    " appeared while rendering (another render?) and was left as "
                                                    "it is; this render is kept as " +
                                                    kept.string());
    }
  }
  done_ = true;
  closeHandle();
  throw MediaError(MediaErrc::OutputExists,
                   final_.string() + " appeared while rendering; this render is kept as " + path_.string());
}

void TemporaryFile::remove() noexcept {
  if (done_) return;
  done_ = true;
  closeHandle();
  removeQuietly(path_);
}

std::vector<long> sweepTemporaries(const fs::path& folder, const std::function<bool(const std::string&)>& belongs) {
  std::vector<long> live;
  std::error_code ec;
  fs::directory_iterator it(folder.empty() ? fs::path(".") : folder, ec);
  if (ec) return live;
  for (const auto& entry : it) {
    std::string finalName;
    long pid = 0;
    if (!parseTemporaryName(entry.path().filename().string(), finalName, pid) || !belongs(finalName)) continue;
    bool running = processRuns(pid);
#ifndef _WIN32
    // The lock tells a live render even where process ids are not this
    // machine's (a shared folder).
    const int fd = ::open(entry.path().c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) continue;
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) running = true;
    if (!running) ::unlink(entry.path().c_str());
    ::close(fd);
#else
    if (!running) removeQuietly(entry.path());
#endif
    if (running) live.push_back(pid);
  }
  return live;
}

}  // namespace dshost::detail
