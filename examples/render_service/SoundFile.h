/// Sound files, read and written with libsndfile.
#pragma once

#include <sndfile.h>

#include <cstddef>
#include <memory>
#include <string>

#include "UniqueFd.h"

namespace render_service {

namespace internal {
struct SoundFileCloser {
  void operator()(SNDFILE* file) const { sf_close(file); }
};
using SoundFileHandle = std::unique_ptr<SNDFILE, SoundFileCloser>;
}  // namespace internal

/// Opens the regular file `path` for reading. On failure the descriptor is empty and `errno` is
/// set.
UniqueFd openForReading(const std::string& path);

/// Creates or empties the file `path` for writing. On failure the descriptor is empty and `errno`
/// is set.
UniqueFd openForWriting(const std::string& path);

/// An open sound file that is read from the beginning to the end. Not synchronized.
class SoundFileReader {
 public:
  /// Takes ownership of the descriptor. `error()` is 0 if it is a sound file.
  explicit SoundFileReader(UniqueFd fd);

  /// libsndfile's number of the last error, or 0. If it is not 0 after construction, no other
  /// operation may be called.
  int error() const { return file_ == nullptr ? open_error_ : sf_error(file_.get()); }

  const SF_INFO& info() const { return info_; }

  /// The container's name, such as "WAV (Microsoft)".
  std::string container() const;

  /// Reads up to `frames` interleaved frames, with a full scale of 1. Returns fewer at the end or
  /// where the file is damaged.
  size_t read(float* interleaved, size_t frames);

 private:
  UniqueFd fd_;  // outlives the handle, which does not own it
  SF_INFO info_{};
  internal::SoundFileHandle file_;
  int open_error_ = 0;
};

/// A WAV file of 16-bit samples that is written from the beginning to the end. The format holds
/// four gigabytes, which is six hours of stereo. Not synchronized.
class SoundFileWriter {
 public:
  /// Takes ownership of the descriptor of an empty file. `error()` is 0 if it can be written.
  SoundFileWriter(UniqueFd fd, int sample_rate, int channels);

  /// libsndfile's number of the first error, or 0. After an error, nothing more is written.
  int error() const { return error_; }

  /// Appends interleaved frames. Returns false if they could not be written.
  bool write(const float* interleaved, size_t frames);

  /// Completes the file. Returns false after any error. Must be the last call.
  bool close();

 private:
  UniqueFd fd_;  // outlives the handle, which does not own it
  internal::SoundFileHandle file_;
  int error_ = 0;
};

}  // namespace render_service
