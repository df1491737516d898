/// The text of an event in a file of JSON lines.
#pragma once

#include <string>

#include "modules/support/Event.h"

namespace TAMSA::jsonl {

/// A JSON object and a newline: the member `event` with the event's name, then the fields sorted by
/// name. A field named `event` is left out. Bytes that are not UTF-8 become U+FFFD, a float that is
/// not finite becomes null, and other floats are written as the shortest number that reads back as
/// the same float. Throws only if memory is short.
std::string toJsonLine(const support::Event& event);

}  // namespace TAMSA::jsonl
