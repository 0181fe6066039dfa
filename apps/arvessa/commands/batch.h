// SPDX-License-Identifier: Apache-2.0
#pragma once
// Jobs, several at a time.

#include <functional>
#include <string>
#include <vector>

#include "audio_io/frame_stream.h"
#include "commands/jobs.h"
#include "commands/report.h"

namespace arvessa::app {

inline constexpr char kRawHelp[] = "standard input is raw samples, whatever it begins like";

// Does one job and tells `advance` of every step, as a share of the whole.
using Work = std::function<Outcome(const Job&, const std::function<void(double)>& advance)>;

// Runs `work` for every job, `atOnce` of them at a time (0: one for each processor), and reports. A
// job that fails does not keep the others from being finished. When the program is asked to stop,
// live inputs end, and all other work that has not been finished is given up. Returns the exit code.
int runJobs(const Plan& plan, int atOnce, const ReportSettings& settings, const Work& work);

// What the options ask for.
int runBatch(const BatchOptions& options, const Work& work);

}  // namespace arvessa::app
