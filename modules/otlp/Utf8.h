/// Valid UTF-8 from any bytes.
#pragma once

#include <string>

namespace TAMSA::otlp {

/// Replaces what is not UTF-8 by U+FFFD, each longest part that could begin a character by one.
std::string toUtf8(std::string text);

/// Cuts a text in UTF-8 at the end of a character so that it has at most `size` bytes, the last of
/// which are an ellipsis. `size` is 3 or more.
std::string shorten(std::string text, size_t size);

}  // namespace TAMSA::otlp
