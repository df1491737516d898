#include "ProgressBar.h"

#include <algorithm>

namespace render_service {

namespace {

constexpr std::chrono::milliseconds kRedrawPeriod{100};
constexpr size_t kBarWidth = 30;
constexpr size_t kMaxText = 40;

/// Returns the beginning of a file's name, without control characters.
std::string shorten(const std::string& name) {
  size_t length = std::min(name.size(), kMaxText);
  // Cuts between characters of UTF-8.
  while (length < name.size() && length > 0 && (name[length] & 0xC0) == 0x80) --length;
  std::string text = name.substr(0, length);
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
  return text;
}

}  // namespace

ProgressBar::ProgressBar(FILE* terminal, bool enabled) : terminal_(terminal), enabled_(enabled) {}

ProgressBar::~ProgressBar() { wipe(); }

void ProgressBar::update(uint64_t done, const std::string& current) {
  const auto now = std::chrono::steady_clock::now();
  if (!enabled_ || total_ == 0 || now - last_drawn_ < kRedrawPeriod) return;
  const double share = static_cast<double>(std::min(done, total_)) / static_cast<double>(total_);
  std::string bar(static_cast<size_t>(share * kBarWidth), '#');
  bar.resize(kBarWidth, '.');
  std::fprintf(terminal_, "\r[%s] %3.0f %%  %s\x1B[K", bar.c_str(), 100.0 * share,
               shorten(current).c_str());
  std::fflush(terminal_);
  drawn_ = true;
  last_drawn_ = now;
}

void ProgressBar::print(const std::string& line) {
  wipe();
  std::fprintf(terminal_, "%s\n", line.c_str());
}

void ProgressBar::wipe() {
  if (!drawn_) return;
  std::fprintf(terminal_, "\r\x1B[K");
  std::fflush(terminal_);
  drawn_ = false;
}

}  // namespace render_service
