#include "host/media/MediaError.h"

namespace dshost {

const char* mediaErrcName(MediaErrc code) {
  switch (code) {
    case MediaErrc::NotFound: return "not found";
    case MediaErrc::Unreadable: return "unreadable";
    case MediaErrc::Unsupported: return "unsupported";
    case MediaErrc::CorruptFrame: return "corrupt frame";
    case MediaErrc::OutputExists: return "output exists";
    case MediaErrc::WriteFailed: return "write failed";
    case MediaErrc::InvalidArgument: return "invalid argument";
  }
  return "unknown";
}

}  // namespace dshost
