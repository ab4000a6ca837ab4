#include "host/media/MediaError.h"
#include "host/media/detail/OutputSink.h"

namespace dshost::detail {

namespace fs = std::filesystem;

fs::path partNameFor(const fs::path& file) { return fs::path(file.string() + ".part"); }

void removeQuietly(const fs::path& file) {
  std::error_code ec;
  fs::remove(file, ec);
}

void moveIntoPlace(const fs::path& part, const fs::path& final, bool overwrite) {
  std::error_code ec;
  if (fs::exists(final, ec)) {
    if (!overwrite) {
      throw MediaError(MediaErrc::OutputExists,
                       final.string() + " appeared while rendering; the result is kept as " + part.string());
    }
    fs::remove(final, ec);  // rename does not replace files on every system
  }
  fs::rename(part, final, ec);
  if (ec) throw MediaError(MediaErrc::WriteFailed, "cannot rename " + part.string() + " to " + final.string() + ": " + ec.message());
}

}  // namespace dshost::detail
