// SPDX-License-Identifier: Apache-2.0
// libsndfile goes by the size of the file where the header claims more, and has no function that
// tells the claim for all of these formats, or where in the file the samples begin.
#include "audio_io/claimed_size.h"

#include <unistd.h>

#include <array>
#include <cstddef>
#include <string_view>

namespace arvessa::app {
namespace {

enum class Order { kLittle, kBig };

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

// A few bytes of a file; zeros beyond its end.
struct Field {
  Field(int fd, std::int64_t at, int size) : length(static_cast<std::size_t>(size)) {
    if (pread(fd, bytes.data(), length, at) < 0) bytes.fill(0);
  }
  std::string_view text() const { return {reinterpret_cast<const char*>(bytes.data()), length}; }
  std::int64_t number(Order order) const {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < length; ++i) {
      value = value << 8 | bytes.at(order == Order::kBig ? i : length - 1 - i);
    }
    return static_cast<std::int64_t>(value);
  }

  std::array<unsigned char, 8> bytes{};
  std::size_t length;
};

// A writer to a pipe cannot know the size: it puts the largest one there, or one a header below it.
bool saysNothing(std::int64_t size) {
  constexpr std::int64_t kMargin = 0x10000;
  const auto isJustBelow = [size](std::int64_t limit) {
    return size <= limit && size >= limit - kMargin;
  };
  return size < 0 || size >= std::int64_t{1} << 60 || isJustBelow(std::int64_t{1} << 31) ||
         isJustBelow(std::int64_t{1} << 32);
}

bool endsBefore(std::int64_t fileSize, std::int64_t samplesAt, std::int64_t samplesSize) {
  return !saysNothing(samplesSize) && samplesSize > fileSize - samplesAt;
}

bool isCut(int fd, std::int64_t fileSize, const ChunkFormat& format) {
  constexpr int kMostChunks = 1000;
  const std::int64_t header = format.nameBytes + format.sizeBytes;
  std::int64_t at = format.firstChunk;
  for (int chunk = 0; chunk < kMostChunks && at + header <= fileSize; ++chunk) {
    const Field name(fd, at, 4);
    const std::int64_t told =
        Field(fd, at + format.nameBytes, format.sizeBytes).number(format.order);
    const std::int64_t size = format.sizeHasHeader ? told - header : told;
    if (name.text() == format.samples) return endsBefore(fileSize, at + header, size);
    if (size < 0 || size > fileSize) return false;
    const std::int64_t end = at + header + size;
    at = (end + format.alignment - 1) / format.alignment * format.alignment;
  }
  return false;
}

}  // namespace

bool endsBeforeItsSamples(int fd, std::int64_t size) {
  const Field beginning(fd, 0, 4);
  for (const ChunkFormat& format : kChunkFormats) {
    if (beginning.text() == format.beginning) return isCut(fd, size, format);
  }
  // AU: where the samples begin, and their size; "dns." is the same in the other order.
  if (beginning.text() != ".snd" && beginning.text() != "dns.") return false;
  const Order order = beginning.text() == ".snd" ? Order::kBig : Order::kLittle;
  return endsBefore(size, Field(fd, 4, 4).number(order), Field(fd, 8, 4).number(order));
}

}  // namespace arvessa::app
