#include "SoundFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>

namespace render_service {

UniqueFd openForReading(const std::string& path) {
  // Opening a pipe without a writer would block otherwise.
  UniqueFd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (fd.get() < 0 || fstat(fd.get(), &status) != 0) return UniqueFd();
  if (S_ISREG(status.st_mode)) return fd;
  fd = UniqueFd();
  errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
  return fd;
}

UniqueFd openForWriting(const std::string& path) {
  return UniqueFd(open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
}

SoundFileReader::SoundFileReader(UniqueFd fd)
    : fd_(std::move(fd)),
      file_(sf_open_fd(fd_.get(), SFM_READ, &info_, SF_FALSE)),
      open_error_(file_ == nullptr ? sf_error(nullptr) : 0) {}

std::string SoundFileReader::container() const {
  SF_FORMAT_INFO format{};
  format.format = info_.format & SF_FORMAT_TYPEMASK;
  if (sf_command(nullptr, SFC_GET_FORMAT_INFO, &format, sizeof(format)) != 0) return "unknown";
  return format.name;
}

size_t SoundFileReader::read(float* interleaved, size_t frames) {
  return static_cast<size_t>(
      sf_readf_float(file_.get(), interleaved, static_cast<sf_count_t>(frames)));
}

SoundFileWriter::SoundFileWriter(UniqueFd fd, int sample_rate, int channels) : fd_(std::move(fd)) {
  SF_INFO info{};
  info.samplerate = sample_rate;
  info.channels = channels;
  info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
  file_.reset(sf_open_fd(fd_.get(), SFM_WRITE, &info, SF_FALSE));
  if (file_ == nullptr) {
    error_ = sf_error(nullptr);
    return;
  }
  sf_command(file_.get(), SFC_SET_CLIPPING, nullptr, SF_TRUE);
}

bool SoundFileWriter::write(const float* interleaved, size_t frames) {
  if (error_ != 0) return false;
  const auto count = static_cast<sf_count_t>(frames);
  if (sf_writef_float(file_.get(), interleaved, count) == count) return true;
  error_ = sf_error(file_.get()) != 0 ? sf_error(file_.get()) : SF_ERR_SYSTEM;
  return false;
}

bool SoundFileWriter::close() {
  const int close_error = file_ == nullptr ? 0 : sf_close(file_.release());
  if (error_ == 0) error_ = close_error;
  return error_ == 0;
}

}  // namespace render_service
