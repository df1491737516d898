// The logging operations for streams.
#include <chrono>

#include "tests/model/Sequence.h"
#include "tests/model/Vocabulary.h"

namespace kiv_test::model {

Sequence::ReportedStream Sequence::chooseStream() {
  // One common stream, usually with one field changed: streams that differ in all fields do not
  // test the order of the fields.
  const uint8_t choice = input_.byte();
  const auto varies = [&](unsigned field) {
    return choice >= 0xE0 || (choice >= 0x40 && choice % 6 == field);
  };
  ReportedStream reported{};
  Stream& stream = reported.stream;
  stream.type = varies(0) ? static_cast<int8_t>(input_.byte() % 8 - 1) : int8_t{2};
  stream.samples = varies(1) ? chooseUnsigned(input_) : 960;
  stream.channels = varies(2) ? chooseUnsigned(input_) : 2;
  stream.interleaved = !varies(3);
  stream.format = 1;
  stream.format_text = "AUDIO_FORMAT_PCM_16_BIT";
  stream.sample_rate = 48000;
  if (input_.flag()) {
    SampleFormat format{1, {1, "AUDIO_FORMAT_PCM_16_BIT"}};
    if (varies(4)) format = chooseSampleFormat(input_);
    const int32_t rate = varies(5) ? input_.any<int32_t>() : 48000;
    stream.format = format.format.value;
    stream.format_text = format.format.text;
    stream.sample_rate = static_cast<float>(rate);
    reported.compact = ::kiv::KivPcmInfo{0xFFFFFFFF,     ::kiv::KivSampleFormat(format.value),
                                         rate,           stream.channels,
                                         stream.samples, stream.interleaved};
    reported.operation = " of the compact ";
    return reported;
  }
  if (varies(4)) {
    const auto format = chooseFormat(input_);
    stream.format = format.value;
    stream.format_text = format.text;
  }
  if (varies(5)) stream.sample_rate = chooseSampleRate(input_);
  reported.extended = {stream.sample_rate, stream.samples, stream.channels, stream.interleaved,
                       audio_format_t(stream.format)};
  reported.is_internal = input_.flag();
  reported.operation = reported.is_internal ? "Internal" : "";
  return reported;
}

std::string Sequence::ReportedStream::text() const {
  return "{format " + std::to_string(stream.format) + ", rate " +
         std::to_string(stream.sample_rate) + ", samples " + std::to_string(stream.samples) +
         ", channels " + std::to_string(stream.channels) +
         (stream.interleaved ? ", interleaved" : "") + "}, type " + std::to_string(stream.type);
}

void Sequence::logStreamEvent(Subject& subject) {
  const ReportedStream reported = chooseStream();
  const std::string event = chooseText(input_);
  note(subject.label + ".logStreamEvent" + reported.operation + "(" + reported.text() + ", " +
       quoted(event) + ")");
  const auto type = ::kiv::KivStreamType(reported.stream.type);
  performReport(subject, streamReport(subject.session, reported.stream, event), [&] {
    if (reported.compact) {
      (*subject).logStreamEvent(*reported.compact, type, event);
    } else if (reported.is_internal) {
      (*subject).logStreamEventInternal(reported.extended, type, event);
    } else {
      (*subject).logStreamEvent(reported.extended, type, event);
    }
  });
}

void Sequence::logAudioLatency(Subject& subject) {
  const ReportedStream reported = chooseStream();
  const std::chrono::milliseconds latency(chooseInteger(input_));
  note(subject.label + ".logAudioLatency" + reported.operation + "(" + reported.text() + ", " +
       std::to_string(latency.count()) + " ms)");
  const auto type = ::kiv::KivStreamType(reported.stream.type);
  performReport(subject, latencyReport(subject.session, reported.stream, latency.count()), [&] {
    if (reported.compact) {
      (*subject).logAudioLatency(*reported.compact, type, latency);
    } else if (reported.is_internal) {
      (*subject).logAudioLatencyInternal(reported.extended, type, latency);
    } else {
      (*subject).logAudioLatency(reported.extended, type, latency);
    }
  });
}

}  // namespace kiv_test::model
