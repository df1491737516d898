#include "modules/otlp/Gzip.h"

#include <zlib.h>

namespace TAMSA::otlp {

std::optional<std::string> gzip(std::string_view data) {
  // The largest window, plus 16 for the gzip format.
  constexpr int kGzipWindow = MAX_WBITS + 16;
  z_stream stream{};
  if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzipWindow, MAX_MEM_LEVEL,
                   Z_DEFAULT_STRATEGY) != Z_OK) {
    return std::nullopt;
  }
  std::string packed(deflateBound(&stream, static_cast<uLong>(data.size())), '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
  stream.avail_in = static_cast<uInt>(data.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  const int result = deflate(&stream, Z_FINISH);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return result == Z_STREAM_END ? std::optional(std::move(packed)) : std::nullopt;
}

}  // namespace TAMSA::otlp
