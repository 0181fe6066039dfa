// SPDX-License-Identifier: Apache-2.0
#include "commands/report.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iostream>
#include <nlohmann/json.hpp>

#include "audio_io/errors.h"
#include "audio_io/stop.h"
#include "commands/text.h"

namespace arvessa::app {
namespace {

std::string shownOutput(const Job& job) {
  return job.output == "-" ? "standard output" : shownName(job.output);
}

std::string complaintOf(const Job& job, const Record& record) {
  if (!record.outcome || record.outcome->complaint.empty()) return record.error;
  return record.outcome->complaint + "; " + shownOutput(job) + " " + record.outcome->remedy;
}

std::string sharesText(const std::vector<BeamShare>& shares) {
  std::string angles;
  std::string percent;
  for (const BeamShare& beam : shares) {
    const char* const slash = angles.empty() ? "" : "/";
    angles.append(slash).append(shortest(beam.direction));
    percent.append(slash).append(fixed(100 * beam.share, 0));
  }
  return "beams at " + angles + " degrees " + percent + " %";
}

std::string summary(const Job& job, const Record& record) {
  const Outcome& outcome = *record.outcome;
  std::string text = shownName(job.input) + " -> " + shownName(job.output) + ": " +
                     speedText(outcome.seconds, record.elapsed) + ", " +
                     fixed(outcome.result.in.level(), 1) + " dBFS in, " +
                     fixed(outcome.result.out.level(), 1) + " dBFS out";
  if (!outcome.beamShares.empty()) text += ", " + sharesText(outcome.beamShares);
  if (!outcome.details.empty()) text += ", " + outcome.details;
  if (outcome.result.clipped > 0) {
    text += ", " + std::to_string(outcome.result.clipped) + " input samples clipped";
  }
  return text;
}

void say(const std::string& text) { std::cerr << "arvessa: " + text + '\n'; }

// About one recording.
void sayTroubles(const Job& job, const Record& record) {
  const std::string complaint = complaintOf(job, record);
  if (!complaint.empty()) say(complaint);
  if (!record.outcome) return;
  if (!record.outcome->remark.empty()) say(record.outcome->remark);
  if (stopRequested() && record.outcome->isLive) {
    say(stopText() + "; " + shownOutput(job) + " holds all that came in");
  }
}

// The names of the inputs that `of` holds for.
template <class Condition>
std::string inputsWhere(const Plan& plan, const std::vector<Record>& records, Condition of) {
  std::string names;
  for (std::size_t i = 0; i < records.size(); ++i) {
    if (!of(records[i].status)) continue;
    names.append(names.empty() ? "" : ", ").append(shownName(plan.jobs[i].input));
  }
  return names;
}

struct Counts {
  std::array<std::size_t, 4> of{};  // by Status
  double audio = 0;                 // seconds
  std::size_t operator[](Status status) const { return of.at(static_cast<std::size_t>(status)); }
};

Counts countsOf(const std::vector<Record>& records) {
  Counts counts;
  for (const Record& record : records) {
    ++counts.of.at(static_cast<std::size_t>(record.status));
    if (record.outcome) counts.audio += record.outcome->seconds;
  }
  return counts;
}

void writeText(const Plan& plan, const std::vector<Record>& records, double elapsed,
               std::ostream& to) {
  for (std::size_t i = 0; i < records.size(); ++i) {
    if (records[i].outcome) to << summary(plan.jobs[i], records[i]) << '\n';
  }
  if (records.size() + plan.skipped < 2 && plan.skipped == 0) return;
  const Counts counts = countsOf(records);
  to << counts[Status::kDone] << " of " << records.size() + plan.skipped << " recordings done";
  if (plan.skipped > 0) to << ", " << plan.skipped << " there already";
  if (counts[Status::kIncomplete] > 0) to << ", " << counts[Status::kIncomplete] << " incomplete";
  if (counts[Status::kFailed] > 0) to << ", " << counts[Status::kFailed] << " failed";
  to << ": " << speedText(counts.audio, elapsed) << '\n';
}

// A number that people can read, and JSON can hold.
double rounded(double value, double perUnit) { return std::round(value * perUnit) / perUnit; }

nlohmann::ordered_json entryOf(const Job& job, const Record& record) {
  constexpr std::array<const char*, 4> kNames = {"done", "incomplete", "failed", "stopped"};
  nlohmann::ordered_json entry = {{"input", job.input},
                                  {"output", job.output},
                                  {"status", kNames.at(static_cast<std::size_t>(record.status))}};
  const std::string complaint = complaintOf(job, record);
  if (!complaint.empty()) entry["message"] = complaint;
  if (!record.outcome) return entry;
  const Outcome& outcome = *record.outcome;
  if (!outcome.remark.empty()) entry["remark"] = outcome.remark;
  entry["seconds"] = outcome.seconds;
  entry["elapsed_seconds"] = rounded(record.elapsed, 1e4);
  entry["input_dbfs"] = rounded(outcome.result.in.level(), 100);
  entry["output_dbfs"] = rounded(outcome.result.out.level(), 100);
  entry["clipped_samples"] = outcome.result.clipped;
  for (const BeamShare& beam : outcome.beamShares) {
    entry["beams"].push_back(
        {{"direction_deg", beam.direction}, {"share", rounded(beam.share, 1e4)}});
  }
  return entry;
}

void writeJson(const Plan& plan, const std::vector<Record>& records, double elapsed,
               std::ostream& to) {
  const Counts counts = countsOf(records);
  nlohmann::ordered_json whole = {
      {"recordings", nlohmann::ordered_json::array()}, {"done", counts[Status::kDone]},
      {"incomplete", counts[Status::kIncomplete]},     {"failed", counts[Status::kFailed]},
      {"stopped", counts[Status::kStopped]},           {"skipped", plan.skipped},
      {"elapsed_seconds", rounded(elapsed, 1e4)}};
  for (std::size_t i = 0; i < records.size(); ++i) {
    whole["recordings"].push_back(entryOf(plan.jobs[i], records[i]));
  }
  // Names lose what is not UTF-8.
  to << whole.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}

}  // namespace

Outcome outcomeOf(const Source& source, const StreamResult& result, int rate) {
  Outcome outcome;
  outcome.result = result;
  outcome.seconds = static_cast<double>(result.frames) / rate;
  const std::string complaint = source.complaint();
  if (!complaint.empty()) outcome.complaint = Failure(source.name, complaint).what();
  outcome.remedy = source.remedy();
  const std::string remark = source.remark();
  if (!remark.empty()) outcome.remark = Failure(source.name, remark).what();
  outcome.isLive = source.isLive();
  return outcome;
}

int report(const Plan& plan, const std::vector<Record>& records, const ReportSettings& settings,
           double elapsed) {
  for (std::size_t i = 0; i < records.size(); ++i) sayTroubles(plan.jobs[i], records[i]);
  const Counts counts = countsOf(records);
  const std::size_t bad = counts[Status::kIncomplete] + counts[Status::kFailed];
  if (records.size() > 1 && bad > 0) {
    say("not done or incomplete: " + inputsWhere(plan, records, [](Status status) {
          return status == Status::kIncomplete || status == Status::kFailed;
        }));
  }
  if (counts[Status::kStopped] > 0) {
    say(stopText() + "; not done: " + inputsWhere(plan, records, [](Status status) {
          return status == Status::kStopped;
        }));
  }
  const bool toOutput = !plan.jobs.empty() && plan.jobs.front().output == "-";
  std::ostream& to = toOutput ? std::cerr : std::cout;
  if (settings.json) {
    writeJson(plan, records, elapsed, to);
  } else if (!settings.quiet) {
    writeText(plan, records, elapsed, to);
  }
  if (stopRequested()) return stopCode();
  return bad == 0 ? 0 : 1;
}

}  // namespace arvessa::app
