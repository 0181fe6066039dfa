// SPDX-License-Identifier: Apache-2.0
#include "audio_io/stream_header.h"

#include <sndfile.h>

#include "audio_io/header_field.h"

namespace arvessa::app {
namespace {

struct Encoding {
  std::int64_t code;  // in the header
  int bytes;          // of a sample
  int format;
};

// Of WAV the code is the one of its format and, in 100s, the bytes.
constexpr Encoding kWavEncodings[] = {{101, 1, SF_FORMAT_PCM_U8}, {201, 2, SF_FORMAT_PCM_16},
                                      {301, 3, SF_FORMAT_PCM_24}, {401, 4, SF_FORMAT_PCM_32},
                                      {403, 4, SF_FORMAT_FLOAT},  {803, 8, SF_FORMAT_DOUBLE},
                                      {106, 1, SF_FORMAT_ALAW},   {107, 1, SF_FORMAT_ULAW}};
constexpr Encoding kAuEncodings[] = {{1, 1, SF_FORMAT_ULAW},   {2, 1, SF_FORMAT_PCM_S8},
                                     {3, 2, SF_FORMAT_PCM_16}, {4, 3, SF_FORMAT_PCM_24},
                                     {5, 4, SF_FORMAT_PCM_32}, {6, 4, SF_FORMAT_FLOAT},
                                     {7, 8, SF_FORMAT_DOUBLE}, {27, 1, SF_FORMAT_ALAW}};

// Fills in what the codes stand for; whether they stand for something.
bool setFormat(StreamHeader& header, std::span<const Encoding> encodings, std::int64_t code,
               std::int64_t rate, std::int64_t channels, int endian) {
  constexpr std::int64_t kMostRate = 10'000'000;
  constexpr std::int64_t kMostChannels = 1024;
  if (rate < 1 || rate > kMostRate || channels < 1 || channels > kMostChannels) return false;
  for (const Encoding& encoding : encodings) {
    if (encoding.code != code) continue;
    header.rate = static_cast<int>(rate);
    header.channels = static_cast<int>(channels);
    header.format = SF_FORMAT_RAW | encoding.format | endian;
    header.frameBytes = encoding.bytes * channels;
    return true;
  }
  return false;
}

bool readWavFormat(InputDevice& device, std::int64_t at, StreamHeader& header) {
  constexpr std::int64_t kExtensible = 0xFFFE;
  const auto number = [&](std::int64_t offset, std::size_t size) {
    return HeaderField(device, at + offset, size).number(Order::kLittle);
  };
  const std::int64_t tag = number(0, 2);
  const std::int64_t channels = number(2, 2);
  const std::int64_t rate = number(4, 4);
  const std::int64_t frameBytes = number(12, 2);
  const std::int64_t code = tag == kExtensible ? number(24, 2) : tag;
  if (channels == 0 || frameBytes % channels != 0 || code > 99) return false;
  return setFormat(header, kWavEncodings, frameBytes / channels * 100 + code, rate, channels,
                   SF_ENDIAN_LITTLE);
}

std::optional<StreamHeader> readWav(InputDevice& device) {
  constexpr int kMostChunks = 1000;
  StreamHeader header;
  const std::int64_t whole = HeaderField(device, 4, 4).number(Order::kLittle) + 8;
  std::int64_t at = 12;
  for (int chunk = 0; chunk < kMostChunks; ++chunk) {
    const HeaderField name(device, at, 4);
    const HeaderField sizeField(device, at + 4, 4);
    const std::int64_t size = sizeField.number(Order::kLittle);
    if (!sizeField.isWhole) break;
    at += 8;
    if (name.text() == "data") {
      if (header.rate == 0) break;
      header.samplesAt = at;
      header.unfinished = size == 0 && (whole <= at || saysNothing(whole - 8));
      if (!header.unfinished && !saysNothing(size)) header.size = size;
      return header;
    }
    if (name.text() == "fmt " && (size < 16 || !readWavFormat(device, at, header))) break;
    at += size + size % 2;
  }
  return std::nullopt;
}

std::optional<StreamHeader> readAu(InputDevice& device, Order order) {
  const auto number = [&](std::int64_t at) { return HeaderField(device, at, 4).number(order); };
  StreamHeader header;
  header.samplesAt = number(4);
  const std::int64_t size = number(8);
  if (!saysNothing(size)) header.size = size;
  if (header.samplesAt < 24 ||
      !setFormat(header, kAuEncodings, number(12), number(16), number(20),
                 order == Order::kBig ? SF_ENDIAN_BIG : SF_ENDIAN_LITTLE)) {
    return std::nullopt;
  }
  return header;
}

}  // namespace

std::optional<StreamHeader> readStreamHeader(InputDevice& device) {
  if (beginsWith(device, "RIFF") && HeaderField(device, 8, 4).text() == "WAVE") {
    return readWav(device);
  }
  if (beginsWith(device, ".snd")) return readAu(device, Order::kBig);
  if (beginsWith(device, "dns.")) return readAu(device, Order::kLittle);
  return std::nullopt;
}

}  // namespace arvessa::app
