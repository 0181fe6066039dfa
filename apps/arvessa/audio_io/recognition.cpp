// SPDX-License-Identifier: Apache-2.0
#include "audio_io/recognition.h"

#include <cstdint>
#include <string_view>

#include "audio_io/header_field.h"

namespace arvessa::app {
namespace {

constexpr std::string_view kBeginnings[] = {"RIFF", "RIFX", "RF64", "FORM", "fLaC",    "OggS",
                                            "caff", "riff", ".snd", "dns.", "NIST_1A", "Creative"};

struct MpegHeader {
  explicit MpegHeader(const HeaderField& field)
      : word(static_cast<std::uint32_t>(field.number(Order::kBig))) {}

  bool isSync() const { return word >> 21 == 0x7FF; }
  // Bytes to the next frame; 0 if this is not a header. ISO/IEC 11172-3 and 13818-3; version 2.5 halves
  // the rates once more. Frames of a free bit rate are not taken.
  int length() const {
    // kbit/s: version 1, layers 1 to 3; version 2, layer 1, and layers 2 and 3
    constexpr int kBitRates[5][15] = {
        {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
        {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
        {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},
        {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
        {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160}};
    constexpr int kRates[] = {44100, 48000, 32000};
    const unsigned version = word >> 19 & 3;  // 0: 2.5, 2: 2, 3: 1
    const unsigned layer = 4 - (word >> 17 & 3);
    const unsigned bitRate = word >> 12 & 15;
    const unsigned rate = word >> 10 & 3;
    const int padding = static_cast<int>(word >> 9 & 1);
    if (!isSync() || version == 1 || layer == 4 || bitRate == 0 || bitRate == 15 || rate == 3) {
      return 0;
    }
    const unsigned row = version == 3 ? layer - 1 : layer == 1 ? 3 : 4;
    const int bits = kBitRates[row][bitRate] * 1000;
    const int samplesPerSecond = kRates[rate] >> (version == 3 ? 0 : version == 2 ? 1 : 2);
    if (layer == 1) return (12 * bits / samplesPerSecond + padding) * 4;
    return (layer == 3 && version != 3 ? 72 : 144) * bits / samplesPerSecond + padding;
  }
  // What all frames of a stream have in common: version, layer and rate.
  std::uint32_t stream() const { return word & 0xFFFE0C00; }

  std::uint32_t word;
};

// Where what follows the tags begins: each is "ID3", 3 bytes, its size in 4 bytes of 7 bits, and
// what they count.
std::int64_t endOfTags(InputDevice& device) {
  std::int64_t at = 0;
  while (HeaderField(device, at, 3).text() == "ID3") {
    const std::int64_t size = HeaderField(device, at + 6, 4).number(Order::kBig);
    at += 10 +
          ((size & 0x7F) | (size >> 1 & 0x3F80) | (size >> 2 & 0x1FC000) | (size >> 3 & 0xFE00000));
  }
  return at;
}

MpegHeader mpegHeaderAt(InputDevice& device, std::int64_t at) {
  return MpegHeader(HeaderField(device, at, 4));
}

}  // namespace

Beginning recognise(InputDevice& device) {
  for (const std::string_view beginning : kBeginnings) {
    if (beginsWith(device, beginning)) return Beginning::kAudioFile;
  }
  const bool isMpeg = beginsWith(device, "ID3") || mpegFrames(device) == 2;
  return isMpeg ? Beginning::kMpeg : Beginning::kUnknown;
}

int mpegFrames(InputDevice& device) {
  const std::int64_t at = endOfTags(device);
  const MpegHeader first = mpegHeaderAt(device, at);
  if (!first.isSync()) return 0;
  const MpegHeader second = mpegHeaderAt(device, at + first.length());
  const bool goOn = first.length() > 0 && second.length() > 0 && first.stream() == second.stream();
  return goOn ? 2 : 1;
}

}  // namespace arvessa::app
