// arvessa trace: what the front end decided, frame by frame.

#include <unistd.h>

#include <iostream>

#include "commands.h"
#include "pending_file.h"
#include "raw_stream.h"
#include "traced_front_end.h"

namespace arvessa::tools {
namespace {

// Takes the place of the enhanced recording: the level of every 10 ms of it.
class LevelSink : public Sink {
 public:
  void write(std::span<const Word16> samples) override {
    collected_.insert(collected_.end(), samples.begin(), samples.end());
    while (collected_.size() >= ARVESSA_FRAME_SAMPLES) take(ARVESSA_FRAME_SAMPLES);
  }
  void finish() override {
    if (!collected_.empty()) take(collected_.size());
  }
  const std::vector<double>& levels() const { return levels_; }

 private:
  void take(std::size_t count) {
    LevelMeter level;
    level.add(std::span(collected_).first(count));
    levels_.push_back(level.level());
    collected_.erase(collected_.begin(), collected_.begin() + static_cast<std::ptrdiff_t>(count));
  }

  std::vector<Word16> collected_;
  std::vector<double> levels_;
};

std::string table(const std::vector<Decision>& decisions, const std::vector<double>& outputLevels) {
  std::string text =
      "time_s,input_dbfs,output_dbfs,beam,voice,agc_index,agc_gain_db,floor_db,"
      "mean_suppression_db\n";
  for (std::size_t i = 0; i < outputLevels.size(); ++i) {
    const Decision& d = decisions[i];
    text += fixed(static_cast<double>(i) / 100, 2) + ',' + fixed(d.inputLevel, 2) + ',' +
            fixed(outputLevels[i], 2) + ',' + std::to_string(d.beam) + ',' +
            std::to_string(d.voice) + ',' + std::to_string(d.gainIndex) + ',' + fixed(d.gain, 2) +
            ',' + fixed(d.floor, 0) + ',' + fixed(d.meanSuppression, 2) + '\n';
  }
  return text;
}

void writeText(const std::string& text, const std::string& path) {
  if (path == "-") {
    writeAll(STDOUT_FILENO, text.data(), text.size(), "standard output");
    return;
  }
  PendingFile file(path);
  writeAll(file.fd(), text.data(), text.size(), path);
  file.commit();
}

}  // namespace

int runTrace(const TraceOptions& options) {
  if (isSameFile(options.input, options.output)) {
    throw Failure(options.output, "is the input itself; nothing was written");
  }
  const auto source = openFrontEndSource(options.input);
  TracedFrontEnd frontEnd(options.swap);
  LevelSink levels;
  {
    Progress progress(1, options.quiet);
    runStream(*source, frontEnd, levels, false, progress);
  }
  levels.finish();
  writeText(table(frontEnd.decisions(), levels.levels()), options.output);
  if (!options.quiet) {
    std::ostream& report = options.output == "-" ? std::cerr : std::cout;
    report << options.input << " -> " << options.output << ": " << levels.levels().size()
           << " frames of 10 ms, " << frontEnd.beamShares() << '\n';
  }
  if (source->complaint().empty()) return 0;
  std::cerr << "arvessa: " << source->name << ": " << source->complaint() << '\n';
  return 1;
}

}  // namespace arvessa::tools
