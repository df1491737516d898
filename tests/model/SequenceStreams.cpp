// The logging operations of a sequence that concern a stream.
#include <chrono>

#include "tests/model/Sequence.h"
#include "tests/model/Vocabulary.h"

namespace kiv_test::model {

Sequence::DescribedStream Sequence::chooseStream() {
  // The usual one, most often with one field changed: streams that differ in everything say little
  // about the order of their fields.
  const uint8_t choice = input_.byte();
  const auto varies = [&](unsigned field) {
    return choice >= 0xE0 || (choice >= 0x40 && choice % 6 == field);
  };
  DescribedStream described{};
  Stream& stream = described.stream;
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
    described.compact = ::kiv::KivPcmInfo{0xFFFFFFFF,     ::kiv::KivSampleFormat(format.value),
                                          rate,           stream.channels,
                                          stream.samples, stream.interleaved};
    described.road = " of the compact ";
    return described;
  }
  if (varies(4)) {
    const auto format = chooseFormat(input_);
    stream.format = format.value;
    stream.format_text = format.text;
  }
  if (varies(5)) stream.sample_rate = chooseSampleRate(input_);
  described.extended = {stream.sample_rate, stream.samples, stream.channels, stream.interleaved,
                        audio_format_t(stream.format)};
  described.is_internal = input_.flag();
  described.road = described.is_internal ? "Internal" : "";
  return described;
}

std::string Sequence::DescribedStream::text() const {
  return "{format " + std::to_string(stream.format) + ", rate " +
         std::to_string(stream.sample_rate) + ", samples " + std::to_string(stream.samples) +
         ", channels " + std::to_string(stream.channels) +
         (stream.interleaved ? ", interleaved" : "") + "}, type " + std::to_string(stream.type);
}

void Sequence::logStreamEvent(Subject& subject) {
  const DescribedStream described = chooseStream();
  const std::string event = chooseText(input_);
  note(subject.label + ".logStreamEvent" + described.road + "(" + described.text() + ", " +
       quoted(event) + ")");
  const auto type = ::kiv::KivStreamType(described.stream.type);
  performReport(subject, streamReport(subject.session, described.stream, event), [&] {
    if (described.compact) {
      (*subject).logStreamEvent(*described.compact, type, event);
    } else if (described.is_internal) {
      (*subject).logStreamEventInternal(described.extended, type, event);
    } else {
      (*subject).logStreamEvent(described.extended, type, event);
    }
  });
}

void Sequence::logAudioLatency(Subject& subject) {
  const DescribedStream described = chooseStream();
  const std::chrono::milliseconds latency(chooseInteger(input_));
  note(subject.label + ".logAudioLatency" + described.road + "(" + described.text() + ", " +
       std::to_string(latency.count()) + " ms)");
  const auto type = ::kiv::KivStreamType(described.stream.type);
  performReport(subject, latencyReport(subject.session, described.stream, latency.count()), [&] {
    if (described.compact) {
      (*subject).logAudioLatency(*described.compact, type, latency);
    } else if (described.is_internal) {
      (*subject).logAudioLatencyInternal(described.extended, type, latency);
    } else {
      (*subject).logAudioLatency(described.extended, type, latency);
    }
  });
}

}  // namespace kiv_test::model
