// SPDX-License-Identifier: Apache-2.0
#include "commands/decision_table.h"

#include <array>
#include <system_error>
#include <utility>

#include "audio_io/descriptor.h"
#include "audio_io/errors.h"
#include "audio_io/level.h"
#include "commands/text.h"

namespace arvessa::app {
namespace {

constexpr char kHeading[] =
    "time_s,input_dbfs,output_dbfs,beam,direction_deg,voice,agc_index,agc_gain_db,floor_db,"
    "mean_suppression_db\n";

}  // namespace

const char kDecisionColumns[] =
    "  time_s               beginning of these 10 ms, in the input\n"
    "  input_dbfs           level of both microphones, at least -100\n"
    "  output_dbfs          level of the same 10 ms of what `arvessa enhance` makes\n"
    "  beam                 in use, 0 to 2\n"
    "  direction_deg        where it looks\n"
    "  voice                1 if the frame carries voice\n"
    "  agc_index            place of the AGC's gain in its table, 0 to 31; -1 before voice sets "
    "it\n"
    "  agc_gain_db          that gain\n"
    "  floor_db             the least gain that the suppression may reach, -15 to -4\n"
    "  mean_suppression_db  mean gain of the suppression over all bins\n";

DecisionTable::DecisionTable(int fd, std::string name, std::vector<double> directions)
    : fd_(fd), name_(std::move(name)), directions_(std::move(directions)) {
  put(kHeading);
}

void DecisionTable::addDecision(std::span<const Word16> in, std::size_t filled,
                                const Decision& decision) {
  LevelMeter level;
  for (const std::size_t microphone : {0U, 1U}) {
    level.add(in.subspan(microphone * ARVESSA_FRAME_SAMPLES, filled));
  }
  decisions_.push_back({level.level(), decision});
}

void DecisionTable::write(std::span<const Word16> samples) {
  collected_.insert(collected_.end(), samples.begin(), samples.end());
  while (collected_.size() >= ARVESSA_FRAME_SAMPLES) addLine(ARVESSA_FRAME_SAMPLES);
}

void DecisionTable::finish() {
  if (!collected_.empty()) addLine(collected_.size());
}

void DecisionTable::addLine(std::size_t samples) {
  LevelMeter level;
  level.add(std::span(collected_).first(samples));
  collected_.erase(collected_.begin(), collected_.begin() + static_cast<std::ptrdiff_t>(samples));
  const auto [inputLevel, d] = decisions_.front();
  decisions_.pop_front();
  const std::array<std::string, 10> fields = {
      fixed(static_cast<double>(lines_++) / 100, 2),
      fixed(inputLevel, 2),
      fixed(level.level(), 2),
      std::to_string(d.beam),
      shortest(directions_.at(static_cast<std::size_t>(d.beam))),
      std::to_string(d.voice),
      std::to_string(d.agcIndex),
      fixed(d.agcGain, 2),
      fixed(d.floor, 0),
      fixed(d.meanSuppression, 2)};
  std::string line;
  for (const std::string& field : fields) line.append(line.empty() ? "" : ",").append(field);
  put(line + '\n');
}

void DecisionTable::put(const std::string& text) {
  const int error = writeAll(fd_, std::as_bytes(std::span(text))).error;
  if (error != 0) throw Failure(name_, std::generic_category().message(error));
}

}  // namespace arvessa::app
