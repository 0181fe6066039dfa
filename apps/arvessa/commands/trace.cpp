// SPDX-License-Identifier: Apache-2.0
// arvessa trace: what the front end decided, frame by frame.

#include <unistd.h>

#include <chrono>
#include <iostream>
#include <optional>
#include <vector>

#include "commands.h"
#include "pending_file.h"
#include "raw_stream.h"
#include "text.h"
#include "traced_front_end.h"

namespace arvessa::app {
namespace {

constexpr char kHeading[] =
    "time_s,input_dbfs,output_dbfs,beam,voice,agc_index,agc_gain_db,floor_db,"
    "mean_suppression_db\n";

// Takes the place of the enhanced recording: a line of the table for every 10 ms of it, as soon as
// they are there.
class TableSink : public Sink {
 public:
  TableSink(TracedFrontEnd& frontEnd, int fd, std::string name)
      : frontEnd_(frontEnd), fd_(fd), name_(std::move(name)) {
    put(kHeading);
  }
  void write(std::span<const Word16> samples) override {
    collected_.insert(collected_.end(), samples.begin(), samples.end());
    while (collected_.size() >= ARVESSA_FRAME_SAMPLES) addLine(ARVESSA_FRAME_SAMPLES);
  }
  void finish() override {
    if (!collected_.empty()) addLine(collected_.size());
  }
  std::int64_t lines() const { return lines_; }

 private:
  void addLine(std::size_t samples) {
    LevelMeter level;
    level.add(std::span(collected_).first(samples));
    collected_.erase(collected_.begin(), collected_.begin() + static_cast<std::ptrdiff_t>(samples));
    const Decision d = frontEnd_.nextDecision();
    put(fixed(static_cast<double>(lines_++) / 100, 2) + ',' + fixed(d.inputLevel, 2) + ',' +
        fixed(level.level(), 2) + ',' + std::to_string(d.beam) + ',' + std::to_string(d.voice) +
        ',' + std::to_string(d.gainIndex) + ',' + fixed(d.gain, 2) + ',' + fixed(d.floor, 0) + ',' +
        fixed(d.meanSuppression, 2) + '\n');
  }
  void put(const std::string& line) { writeAll(fd_, line.data(), line.size(), name_); }

  TracedFrontEnd& frontEnd_;
  int fd_;
  std::string name_;
  std::vector<Word16> collected_;
  std::int64_t lines_ = 0;
};

}  // namespace

int runTrace(const TraceOptions& options) {
  if (isSameFile(options.input, options.output)) {
    throw Failure(options.output, "is the input itself; nothing was written");
  }
  const bool piped = options.output == "-";
  const auto begin = std::chrono::steady_clock::now();
  const auto source = openFrontEndSource(options.input);
  TracedFrontEnd frontEnd(options.swap);
  std::optional<PendingFile> file;
  if (!piped) file.emplace(options.output);
  TableSink table(frontEnd, piped ? STDOUT_FILENO : file->fd(),
                  piped ? "standard output" : options.output);
  StreamResult result;
  {
    Progress progress(1, options.quiet);
    result = runStream(*source, frontEnd, table, false, progress);
  }
  table.finish();
  if (file) file->commit();
  if (!options.quiet) {
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin;
    std::ostream& report = piped ? std::cerr : std::cout;
    report << options.input << " -> " << options.output << ": "
           << speedText(static_cast<double>(result.frames) / ARVESSA_SAMPLE_RATE, elapsed.count())
           << ", " << fixed(result.in.level(), 1) << " dBFS in, " << fixed(result.out.level(), 1)
           << " dBFS out, " << frontEnd.beamShares() << ", " << table.lines()
           << " lines of 10 ms\n";
  }
  if (source->complaint().empty()) return 0;
  std::cerr << "arvessa: " << source->name << ": " << source->complaint() << '\n';
  return 1;
}

}  // namespace arvessa::app
