#include "file_source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <iterator>
#include <sstream>
#include <string_view>
#include <system_error>

namespace arvessa::tools {
namespace {

// The first number in `line` from `at` on, or 0.
std::int64_t numberIn(const std::string& line, std::size_t at) {
  std::int64_t number = 0;
  at = line.find_first_of("0123456789", at);
  if (at != std::string::npos) {
    std::from_chars(line.data() + at, line.data() + line.size(), number);
  }
  return number;
}

// Whether the file ends before the samples that its header tells of: libsndfile takes the smaller
// size and only notes it, as "data : 227200 (should be 49956)". A size that a writer to a pipe puts
// there, near 2^31 or 2^32, says nothing.
bool isCutShort(SNDFILE* file) {
  constexpr std::int64_t kUnknownSize = 0x7FFF0000;
  constexpr std::string_view kSizesOfSamples[] = {"data", "SSND", "Data Size", "riff"};
  std::array<char, 4096> log{};
  sf_command(file, SFC_GET_LOG_INFO, log.data(), log.size());
  std::istringstream lines(log.data());
  for (std::string line; std::getline(lines, line);) {
    const std::size_t name = line.find_first_not_of(' ');
    const std::size_t colon = line.find(':');
    const std::size_t remark = line.find("(should be");
    if (colon == std::string::npos || remark == std::string::npos) continue;
    const bool ofSamples = std::any_of(
        std::begin(kSizesOfSamples), std::end(kSizesOfSamples),
        [&](std::string_view size) { return line.compare(name, size.size(), size) == 0; });
    const std::int64_t told = numberIn(line, colon);
    if (ofSamples && told < kUnknownSize && told > numberIn(line, remark)) return true;
  }
  return false;
}

}  // namespace

FileSource::Opened FileSource::open(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) throw Failure(path, std::generic_category().message(errno));
  struct stat status {};
  const bool regular = fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
  if (S_ISDIR(status.st_mode) || (regular && status.st_size == 0)) {
    close(fd);
    throw Failure(path, S_ISDIR(status.st_mode) ? "is a directory" : "is empty");
  }
  const std::lock_guard lock(openingSoundFile());
  Opened opened{};
  opened.file.reset(sf_open_fd(fd, SFM_READ, &opened.info, SF_TRUE));
  if (opened.file == nullptr) {
    throw Failure(path, "is not readable as audio (" + lastErrorOf(nullptr) + ")");
  }
  return opened;
}

FileSource::FileSource(const std::string& path) : FileSource(path, open(path)) {}

FileSource::FileSource(const std::string& path, Opened opened)
    : Source(path, opened.info.samplerate, opened.info.channels,
             opened.info.frames == SF_COUNT_MAX ? kUnknownLength : opened.info.frames),
      file_(std::move(opened.file)),
      exactLength_((opened.info.format & SF_FORMAT_TYPEMASK) != SF_FORMAT_MPEG),
      cutShort_(isCutShort(file_.get())) {}

std::size_t FileSource::read(std::span<float> to) {
  const auto wanted = static_cast<sf_count_t>(to.size()) / channels;
  const sf_count_t got = std::max<sf_count_t>(0, sf_readf_float(file_.get(), to.data(), wanted));
  frames_ += got;
  ended_ = got < wanted;
  for (float& sample : to.first(static_cast<std::size_t>(got * channels))) {
    if (!std::isfinite(sample)) {
      sample = 0;
      ++invalid_;
    }
  }
  return static_cast<std::size_t>(got);
}

std::string FileSource::complaint() const {
  if (invalid_ > 0)
    return "holds samples that are not finite numbers (" + std::to_string(invalid_) + ")";
  if (!ended_) return {};
  if (sf_error(file_.get()) != SF_ERR_NO_ERROR) return lastErrorOf(file_.get());
  if (exactLength_ && frames_ < length) {
    return "truncated: ends after " + std::to_string(frames_) + " of " + std::to_string(length) +
           " samples";
  }
  if (cutShort_) {
    return "truncated: ends after " + std::to_string(frames_) +
           " samples, its header tells of more";
  }
  return {};
}

std::vector<float> readMono(Source& source) {
  constexpr std::size_t kBlock = 8192;  // samples of all channels
  const auto channels = static_cast<std::size_t>(source.channels);
  std::vector<float> block(kBlock / channels * channels + channels);
  std::vector<float> mono;
  for (;;) {
    const std::size_t frames = source.read(block);
    for (std::size_t n = 0; n < frames; ++n) {
      float sum = 0;
      for (std::size_t c = 0; c < channels; ++c) sum += block[n * channels + c];
      mono.push_back(sum / static_cast<float>(channels));
    }
    if (frames * channels < block.size()) break;
  }
  if (mono.empty()) throw Failure(source.name, "holds no samples");
  return mono;
}

}  // namespace arvessa::tools
