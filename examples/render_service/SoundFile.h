/// Sound files, by libsndfile.
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

/// Opens the regular file `path` for reading. Without success the descriptor is empty and `errno`
/// tells why.
UniqueFd openForReading(const std::string& path);

/// Creates or empties the file `path` for writing. Without success the descriptor is empty and
/// `errno` tells why.
UniqueFd openForWriting(const std::string& path);

/// An open sound file that is read from the beginning to the end. Not synchronised.
class SoundFileReader {
 public:
  /// Takes over the descriptor. Whether it is a sound file is for `error()` to say.
  explicit SoundFileReader(UniqueFd fd);

  /// libsndfile's number of what went wrong last, or 0. A reader that was born with an error can do
  /// nothing else.
  int error() const { return file_ == nullptr ? open_error_ : sf_error(file_.get()); }

  const SF_INFO& info() const { return info_; }

  /// The container's name, such as "WAV (Microsoft)".
  std::string container() const;

  /// Reads up to `frames` frames, interleaved, full scale being 1. Fewer come at the end, or where
  /// the file is damaged.
  size_t read(float* interleaved, size_t frames);

 private:
  UniqueFd fd_;  // outlives the handle, which does not own it
  SF_INFO info_{};
  internal::SoundFileHandle file_;
  int open_error_ = 0;
};

/// A WAV file of 16-bit samples that is written from the beginning to the end. The format holds
/// four gigabytes, which is six hours of stereo. Not synchronised.
class SoundFileWriter {
 public:
  /// Takes over the descriptor of an empty file. Whether it can be written is for `error()` to say.
  SoundFileWriter(UniqueFd fd, int sample_rate, int channels);

  /// libsndfile's number of the first thing that went wrong, or 0. There is nothing to be done with
  /// a writer that has one.
  int error() const { return error_; }

  /// Appends interleaved frames. False if they could not be written.
  bool write(const float* interleaved, size_t frames);

  /// Completes the file. False if that failed, or anything before. Nothing may follow.
  bool close();

 private:
  UniqueFd fd_;  // outlives the handle, which does not own it
  internal::SoundFileHandle file_;
  int error_ = 0;
};

}  // namespace render_service
