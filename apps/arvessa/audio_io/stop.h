// SPDX-License-Identifier: Apache-2.0
#pragma once
// The signals that ask the program to end.
//
// SIGINT, SIGTERM and SIGHUP: while a StopScope exists, the first one only asks, so that what comes
// in live can be ended in good order and work on files can be given up with a word about it. A
// second one, every one outside of a StopScope, and every SIGQUIT and SIGXCPU end the program at
// once, without the pending files. Signals that were ignored when the program began stay so.

#include <string>

namespace arvessa::app {

// From now on the signals are taken over, and SIGPIPE and SIGXFSZ are ignored in favour of the error
// of the write. Call before any thread starts.
void takeOverSignals();

class StopScope {
 public:
  StopScope();
  StopScope(const StopScope&) = delete;
  StopScope& operator=(const StopScope&) = delete;
  ~StopScope();
};

// The signal that has asked for the end; 0 if none has.
int stopSignal();
inline bool stopRequested() { return stopSignal() != 0; }

// Waits until a signal that has arrived is answered. An interrupt ends the recorder at the other end of
// the pipe as well, and its end may be seen first.
void awaitPendingStop();

// "ended by signal (interrupt)"
std::string stopText();

// What the program returns when it was asked to end: 128 and the signal, as shells do.
int stopCode();

// Becomes readable when a signal asks for the end.
int stopDescriptor();

// Thrown by work that is given up because the end was asked for.
struct Stopped {};

}  // namespace arvessa::app
