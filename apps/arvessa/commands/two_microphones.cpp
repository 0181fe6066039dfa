// SPDX-License-Identifier: Apache-2.0
#include "commands/two_microphones.h"

#include "audio_io/errors.h"
#include "audio_io/open.h"
#include "audio_io/resampled.h"

namespace arvessa::app {

std::unique_ptr<Source> openTwoMicrophones(const std::string& path) {
  auto source = openSource(path, ARVESSA_SAMPLE_RATE, 2);
  if (source->channels != 2) {
    throw Failure(source->name, "has " + std::to_string(source->channels) + " channel" +
                                    (source->channels == 1 ? "" : "s") +
                                    "; two are needed, one of each microphone");
  }
  return resampled(std::move(source), ARVESSA_SAMPLE_RATE);
}

}  // namespace arvessa::app
