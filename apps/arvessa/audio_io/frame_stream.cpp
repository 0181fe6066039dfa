// SPDX-License-Identifier: Apache-2.0
#include "audio_io/frame_stream.h"

#include <algorithm>
#include <vector>

#include "audio_io/errors.h"
#include "audio_io/pcm.h"
#include "audio_io/stop.h"

namespace arvessa::app {
namespace {

void toPlanar(std::span<const float> interleaved, int channels, int frame, std::span<Word16> planar,
              std::int64_t& clipped) {
  const auto c = static_cast<std::size_t>(channels);
  const auto n = static_cast<std::size_t>(frame);
  std::fill(planar.begin(), planar.end(), Word16{0});
  for (std::size_t i = 0; i < interleaved.size(); ++i) {
    planar[i % c * n + i / c] = toPcm(interleaved[i]);
    if (isClipped(interleaved[i])) ++clipped;
  }
}

void toInterleaved(std::span<const Word16> planar, int channels, std::span<Word16> interleaved) {
  const auto c = static_cast<std::size_t>(channels);
  const std::size_t n = planar.size() / c;
  for (std::size_t i = 0; i < planar.size(); ++i) interleaved[i] = planar[i % c * n + i / c];
}

}  // namespace

StreamResult runStream(Source& source, FrameProcessor& processor, Sink& sink, bool keepDelay,
                       const std::function<void(double)>& advance) {
  const auto channelsIn = static_cast<std::size_t>(processor.channelsIn);
  const auto channelsOut = static_cast<std::size_t>(processor.channelsOut);
  const auto frame = static_cast<std::size_t>(processor.frame);
  std::vector<float> block(frame * channelsIn);
  std::vector<Word16> in(block.size());
  std::vector<Word16> out(frame * channelsOut);
  std::vector<Word16> interleaved(out.size());

  StreamResult result;
  bool ended = false;
  const std::int64_t begin = keepDelay ? 0 : processor.latency;  // first output sample to keep
  for (std::int64_t position = 0;; position += processor.frame) {
    if (stopRequested() && !source.isLive()) throw Stopped();
    std::size_t got = 0;
    if (!ended) {
      got = source.read(block);
      ended = got < frame;
      result.frames += static_cast<std::int64_t>(got);
    }
    if (result.frames == 0) throw Failure(source.name, "holds no samples");
    const std::int64_t end = result.frames + processor.latency;  // only final when ended
    if (ended && position >= end) break;

    toPlanar(std::span(block).first(got * channelsIn), processor.channelsIn, processor.frame, in,
             result.clipped);
    for (std::size_t c = 0; c < channelsIn; ++c) {
      result.in.add(std::span(in).subspan(c * frame, got));
    }
    processor.process(in, got, out);
    toInterleaved(out, processor.channelsOut, interleaved);

    const std::int64_t from = std::clamp<std::int64_t>(begin - position, 0, processor.frame);
    const std::int64_t to = std::clamp<std::int64_t>(end - position, from, processor.frame);
    const auto kept = std::span(interleaved)
                          .subspan(static_cast<std::size_t>(from) * channelsOut,
                                   static_cast<std::size_t>(to - from) * channelsOut);
    if (!kept.empty()) sink.write(kept);
    result.out.add(kept);
    if (source.length > 0) {
      advance(static_cast<double>(got) / static_cast<double>(source.length));
    }
  }
  return result;
}

}  // namespace arvessa::app
