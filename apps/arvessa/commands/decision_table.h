// SPDX-License-Identifier: Apache-2.0
#pragma once
// What the front end decided, as lines of a table.

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "audio_io/sink.h"
#include "front_end/front_end.h"

namespace arvessa::app {

extern const char kDecisionColumns[];  // for people: one line each

// A sink for the enhanced recording: a line of the table for every 10 ms of it, as soon as they are
// there.
class DecisionTable : public Sink {
 public:
  // Writes to `fd`, which has `name` for people.
  DecisionTable(int fd, std::string name, std::vector<double> directions);

  // Of the next frame. Its output comes later, by the latency.
  void addDecision(std::span<const Word16> in, std::size_t filled, const Decision& decision);
  void write(std::span<const Word16> samples) override;
  void finish() override;
  std::int64_t lines() const { return lines_; }

 private:
  struct Decided {
    double inputLevel;  // dBFS
    Decision decision;
  };

  void addLine(std::size_t samples);
  void put(const std::string& text);

  int fd_;
  std::string name_;
  std::vector<double> directions_;  // of the beams, degrees
  std::deque<Decided> decisions_;
  std::vector<Word16> collected_;
  std::int64_t lines_ = 0;
};

}  // namespace arvessa::app
