#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Draws the demonstration and says what was measured in it.

The talk without noise tells where speech and pauses are; everything else is measured on the two
recordings and on the trace.
"""
import argparse
import pathlib
import sys

import numpy as np

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "apps/arvessa/pictures"))
from draw_recording import FRAME_SECONDS, decibels, draw, read_channels, read_trace

SPEECH_BELOW_PEAK_DB = 30.0  # a frame of the talk counts as speech down to here
PAUSE_DBFS = -60.0           # and as pause below this
PAUSE_MARGIN_SECONDS = 0.3   # at each end of a pause, for the release of the gains

def frame_powers(samples, rate, frames):
    size = round(FRAME_SECONDS * rate)
    padded = np.zeros(frames * size)
    kept = samples[:len(padded)]
    padded[:len(kept)] = kept
    return np.mean(padded.reshape(frames, size)**2, axis=1)


def shrink(mask, frames):
    """Takes `frames` off both ends of every run of true values."""
    kernel = np.ones(2 * frames + 1)
    return np.convolve(mask, kernel, "same") > len(kernel) - 0.5


def measure(talk, noisy, enhanced, agc_gain_db):
    """Powers of each 10 ms frame in; levels in dBFS out."""
    speech = decibels(talk) > np.max(decibels(talk)) - SPEECH_BELOW_PEAK_DB
    pause = shrink(decibels(talk) < PAUSE_DBFS, round(PAUSE_MARGIN_SECONDS / FRAME_SECONDS))
    # Before the first words the AGC stands at its first gain, which no speech has set.
    first_words = np.argmax(speech)
    lead_in = np.flatnonzero(decibels(talk[:first_words]) < PAUSE_DBFS)
    pause[:first_words] = False
    result = {"speech": speech}
    for name, powers in (("noisy", noisy), ("enhanced", enhanced),
                         ("before AGC", enhanced / 10.0**(agc_gain_db / 10.0))):
        noise = np.mean(powers[pause])
        # Speech and noise are independent: what the frames hold beyond the noise is speech.
        voice = max(np.mean(powers[speech]) - noise, 1e-12)
        result[name] = {"pause": decibels(noise), "speech": decibels(voice),
                        "lead-in": decibels(np.mean(powers[lead_in]))}
    return result


def clearer(measured):
    """By how many dB the speech rises against the noise of the pauses.

    Measured before the AGC: its gain at the start is higher than later, and the start has only
    speech in it.
    """
    before, after = measured["noisy"], measured["before AGC"]
    return (after["speech"] - after["pause"]) - (before["speech"] - before["pause"])


def report(measured, trace, talker, audio_seconds, spent_seconds):
    noisy, enhanced = measured["noisy"], measured["enhanced"]
    fall = noisy["pause"] - enhanced["pause"]
    before_agc = noisy["pause"] - measured["before AGC"]["pause"]
    looks = trace["direction_deg"][measured["speech"]]
    chosen = max(set(looks), key=lambda look: np.mean(looks == look))
    print(f"  noise in the pauses  {noisy['pause']:.1f} dBFS -> {enhanced['pause']:.1f} dBFS: "
          f"{fall:.1f} dB lower, {before_agc:.1f} dB before the AGC raises all")
    print(f"  before any words     {noisy['lead-in']:.1f} dBFS -> {enhanced['lead-in']:.1f} dBFS: "
          "the AGC begins with 15 dB and waits for a voice")
    print(f"  speech               {noisy['speech']:.1f} dBFS -> {enhanced['speech']:.1f} dBFS: "
          f"above the noise it stands {clearer(measured):.1f} dB clearer")
    print(f"  beam                 towards {chosen:.0f}° in {100 * np.mean(looks == chosen):.0f} % of "
          f"the speech; the talker stands at {talker:.0f}°")
    print(f"  speed                {audio_seconds:.1f} s of sound in {spent_seconds:.3f} s with "
          f"reading and writing: {audio_seconds / spent_seconds:.0f} times real time")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--talk", required=True, help="the talk without noise")
    parser.add_argument("--noisy", required=True, help="two microphones, 8 kHz")
    parser.add_argument("--enhanced", required=True, help="8 kHz")
    parser.add_argument("--trace", required=True)
    parser.add_argument("--talker", type=float, required=True, help="degrees")
    parser.add_argument("--spent-microseconds", type=float, required=True,
                        help="time that enhancing took")
    parser.add_argument("picture")
    options = parser.parse_args()

    (talk, *_), talk_rate = read_channels(options.talk)
    (noisy, *_), rate = read_channels(options.noisy)
    (enhanced, *_), enhanced_rate = read_channels(options.enhanced)
    if rate != 8000 or enhanced_rate != 8000:
        parser.error("the recordings must be at 8000 Hz")
    trace = read_trace(options.trace)

    frames = len(trace["time_s"])
    measured = measure(frame_powers(talk, talk_rate, frames), frame_powers(noisy, rate, frames),
                       frame_powers(enhanced, rate, frames), trace["agc_gain_db"])
    lower = measured["noisy"]["pause"] - measured["enhanced"]["pause"]
    draw(options.picture, noisy, enhanced, rate, trace,
         f"What comes out: the noise between the words is {lower:.1f} dB lower, the speech stands "
         f"{clearer(measured):.1f} dB clearer above it")
    report(measured, trace, options.talker, len(noisy) / rate, options.spent_microseconds / 1e6)


main()
