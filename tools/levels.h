#pragma once
// Samples and their levels. Levels are in dB relative to full scale, the mean square of a constant
// of +-1 being 0 dBFS; a full-scale sine has -3.01 dBFS.

#include <cstdint>
#include <span>
#include <string>

#include "ArvessaTypes.h"

namespace arvessa::tools {

inline constexpr double kSilence = -100.0;  // dBFS, shown for everything below

// Rounds to nearest and clips.
Word16 toPcm(float sample);
inline float fromPcm(Word16 sample) { return static_cast<float>(sample) / 32768.0F; }
inline bool isClipped(float sample) { return sample < -1.0F || sample > 32767.5F / 32768.0F; }

double decibels(double power);  // not below kSilence

class LevelMeter {
 public:
  void add(std::span<const Word16> samples);
  double level() const;  // dBFS of everything added

 private:
  double sum_ = 0;
  std::int64_t count_ = 0;
};

double meanPower(std::span<const float> samples);

// Mean power of the passages that carry speech: of the 20 ms blocks that lie within 30 dB of the
// strongest one. After the idea of ITU-T P.56, which measures speech without its pauses.
double activePower(std::span<const float> samples, int rate);

}  // namespace arvessa::tools
