// SPDX-License-Identifier: Apache-2.0
// libsndfile goes by the size of the file where the header claims more, if it takes such a file at
// all, and has no function that tells the claim.
#include "audio_io/claimed_size.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "audio_io/header_field.h"

namespace arvessa::app {
namespace {

// A file of chunks, each of which begins with its name and its size. The first four letters of a
// name tell enough.
struct ChunkFormat {
  std::string_view beginning;  // of the file
  std::string_view samples;    // name of the chunk that holds them
  std::int64_t firstChunk;     // where it begins, bytes
  std::int64_t alignment;      // of every chunk, bytes
  int nameBytes;
  int sizeBytes;
  Order order;
  bool sizeHasHeader;  // the size counts name and size as well
};

constexpr ChunkFormat kChunkFormats[] = {
    {"RIFF", "data", 12, 2, 4, 4, Order::kLittle, false},
    {"RIFX", "data", 12, 2, 4, 4, Order::kBig, false},
    {"FORM", "SSND", 12, 2, 4, 4, Order::kBig, false},
    {"riff", "data", 40, 8, 16, 8, Order::kLittle, true},  // W64
    {"caff", "data", 8, 1, 4, 8, Order::kBig, false},
};

// Where samples end that begin at `at`; 0 if nothing tells.
std::int64_t endOf(std::int64_t at, std::int64_t size) { return saysNothing(size) ? 0 : at + size; }

std::int64_t endOfSamples(InputDevice& file, const ChunkFormat& format) {
  constexpr int kMostChunks = 1000;
  const std::int64_t header = format.nameBytes + format.sizeBytes;
  std::int64_t at = format.firstChunk;
  for (int chunk = 0; chunk < kMostChunks && at + header <= file.size(); ++chunk) {
    const HeaderField name(file, at, 4);
    const HeaderField field(file, at + format.nameBytes,
                            static_cast<std::size_t>(format.sizeBytes));
    const std::int64_t told = field.number(format.order);
    const std::int64_t size = format.sizeHasHeader ? told - header : told;
    if (name.text() == format.samples) return endOf(at + header, size);
    if (size < 0 || size > file.size()) return 0;
    const std::int64_t end = at + header + size;
    at = (end + format.alignment - 1) / format.alignment * format.alignment;
  }
  return 0;
}

std::int64_t endOfSamples(InputDevice& file) {
  for (const ChunkFormat& format : kChunkFormats) {
    if (beginsWith(file, format.beginning)) return endOfSamples(file, format);
  }
  // AU: where the samples begin, and their size; "dns." is the same in the other order.
  if (!beginsWith(file, ".snd") && !beginsWith(file, "dns.")) return 0;
  const Order order = beginsWith(file, ".snd") ? Order::kBig : Order::kLittle;
  return endOf(HeaderField(file, 4, 4).number(order), HeaderField(file, 8, 4).number(order));
}

}  // namespace

std::int64_t claimedSize(InputDevice& file) { return std::max(file.size(), endOfSamples(file)); }

// Ogg is a row of pages, each with the lengths of its segments; the last one has a flag.
bool isCutOgg(InputDevice& file) {
  constexpr std::int64_t kHeader = 27;
  constexpr unsigned kEndOfStream = 4;
  bool ended = true;
  std::int64_t at = 0;
  while (HeaderField(file, at, 4).text() == "OggS") {
    ended = (HeaderField(file, at + 5, 1).bytes[0] & kEndOfStream) != 0;
    const int segments = HeaderField(file, at + 26, 1).bytes[0];
    std::int64_t end = at + kHeader + segments;
    for (int i = 0; i < segments; ++i) {
      end += HeaderField(file, at + kHeader + i, 1).bytes[0];
    }
    if (end > file.size()) return true;
    at = end;
  }
  return !ended;
}

}  // namespace arvessa::app
