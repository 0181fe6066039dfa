#pragma once
// The subcommands: what each can be asked for, with its defaults, and the function that does it and
// returns the exit code.

#include <cstdint>
#include <optional>
#include <string>

#include "Arvessa.h"
#include "batch.h"

namespace arvessa::tools {

struct EnhanceOptions {
  BatchOptions batch;
  bool noEngine = false;
  bool noSuppression = false;
  bool swap = false;
  bool keepDelay = false;
};

struct EngineOptions {
  BatchOptions batch;
  std::optional<int> rawRate;      // 8000
  std::optional<int> rawChannels;  // 1
  bool noSuppression = false;
  bool noLevelling = false;
  int gainTable = 4;
  bool keepDelay = false;
};

struct SceneOptions {
  std::string speech;
  std::string output;
  double talker = 90;
  std::string noise = "fan";
  std::optional<double> noiseFrom;
  double snr = 5;
  std::uint64_t seed = 1;
  std::optional<int> rate;
  bool quiet = false;
};

struct TraceOptions {
  std::string input;
  std::string output;
  bool swap = false;
  bool quiet = false;
};

int runEnhance(const EnhanceOptions& options);
int runEngine(const EngineOptions& options);
int runScene(const SceneOptions& options);
int runTrace(const TraceOptions& options);
int runInfo();

}  // namespace arvessa::tools
