// SPDX-License-Identifier: Apache-2.0
#pragma once
// Sources and sinks at another sample rate than the recording's.

#include <memory>

#include "audio_io/sink.h"
#include "audio_io/source.h"

namespace arvessa::app {

// `inner` at `rate`; `inner` itself if it has that rate.
std::unique_ptr<Source> resampled(std::unique_ptr<Source> inner, int rate);

// A sink for samples at `rate` that hands them to `inner` at `innerRate`, but no more than
// `longest` was long, if given; `inner` itself if the two rates are the same.
std::unique_ptr<Sink> resampled(std::unique_ptr<Sink> inner, int innerRate, int rate, int channels,
                                const Source* longest);

}  // namespace arvessa::app
