// SPDX-License-Identifier: Apache-2.0
// streams: steps many independent streams in turn, on one core and on all, and prints nanoseconds of
// processor time per frame: time in which other programs run does not count. What a server pays that
// cleans many calls: the state of a stream leaves the caches before the stream's next frame comes.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <iostream>
#include <numeric>
#include <span>
#include <thread>
#include <vector>

#include "Arvessa.h"
#include "Vorn.h"
#include "cases.h"
#include "signal.h"

namespace arvessa::bench {
namespace {

constexpr int kMostStreams = 10000;
constexpr int kLeastFrames = 40000;  // of all streams of a measurement together
constexpr int kRepetitions = 3;

struct Stream {
  std::array<std::uint32_t, VORN_STATE_BYTES / 4> state;
  std::array<std::uint32_t, ARVESSA_FRAME_SAMPLES / 2> in;
  std::array<std::uint32_t, ARVESSA_FRAME_SAMPLES / 2> out;
};

// Each at another place of the recording.
void step(std::span<Stream> streams, const FrameStream& speech, int first) {
  for (Stream& s : streams) {
    VornConfig cfg{s.state.data(), sizeof s.state, VORN_CHECK_VALUE, 0, 1, 1, 4};
    auto* const in = reinterpret_cast<Word16*>(s.in.data());
    std::copy_n(speech.frame(first), ARVESSA_FRAME_SAMPLES, in);  // as if it had just arrived
    Word16 length = ARVESSA_FRAME_SAMPLES;
    if (VORN_Proc(in, ARVESSA_FRAME_SAMPLES, reinterpret_cast<Word16*>(s.out.data()), &length,
                  &cfg) != 0) {
      std::abort();
    }
    first += 37;
  }
}

double threadSeconds() {
  timespec now{};
  if (clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now) != 0) std::abort();
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// Seconds of all cores together for `rounds` frames of every stream, the streams divided among them.
double seconds(std::span<Stream> streams, const FrameStream& speech, int rounds, unsigned cores) {
  std::vector<double> taken(cores);
  std::vector<std::thread> threads;
  for (unsigned core = 0; core < cores; ++core) {
    const std::size_t begin = streams.size() * core / cores;
    const std::size_t end = streams.size() * (core + 1) / cores;
    threads.emplace_back([=, &speech, &taken] {
      const double start = threadSeconds();
      for (int i = 0; i < rounds; ++i) step(streams.subspan(begin, end - begin), speech, i);
      taken[core] = threadSeconds() - start;
    });
  }
  for (std::thread& thread : threads) thread.join();
  return std::accumulate(taken.begin(), taken.end(), 0.0);
}

void printTable() {
  const unsigned cores = std::max(1U, std::thread::hardware_concurrency());
  const FrameStream speech = noisySpeech(0);
  // All start from the state of one, which may be copied.
  Stream first{};
  VornConfig cfg{first.state.data(), sizeof first.state, VORN_CHECK_VALUE, 0, 1, 1, 4};
  if (VORN_Init(&cfg) != 0) std::abort();
  seconds({&first, 1}, speech, kWarmUp, 1);
  std::vector<Stream> streams(kMostStreams, first);

  std::printf("%10s%14s%8u cores\n", "streams", "one core", cores);
  for (int n = 1; n <= kMostStreams; n *= 10) {
    const std::span<Stream> some(streams.data(), static_cast<std::size_t>(n));
    const int rounds = std::max(1, kLeastFrames / n);
    std::printf("%10d", n);
    for (const unsigned threads : {1U, cores}) {
      if (static_cast<unsigned>(n) < threads) continue;  // nothing to divide
      double best = seconds(some, speech, rounds, threads);
      for (int i = 1; i < kRepetitions; ++i) {
        best = std::min(best, seconds(some, speech, rounds, threads));
      }
      std::printf("%14.0f", best * 1e9 / (static_cast<double>(n) * rounds));
    }
    std::printf("\n");
  }
}

}  // namespace
}  // namespace arvessa::bench

int main() {
  try {
    arvessa::bench::printTable();
    return EXIT_SUCCESS;
  } catch (const std::exception& error) {
    std::cerr << "streams: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
