#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Draws the demonstration and says what was measured in it.

The talk without noise tells where speech and pauses are; everything else is measured on the two
recordings and on the trace.
"""
import argparse
import csv
import wave

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt
import numpy as np
from matplotlib.patches import Patch

FRAME_SECONDS = 0.01
SPEECH_BELOW_PEAK_DB = 30.0  # a frame of the talk counts as speech down to here
PAUSE_DBFS = -60.0           # and as pause below this
PAUSE_MARGIN_SECONDS = 0.3   # at each end of a pause, for the release of the gains

TRANSFORM = 256  # samples at 8 kHz: 32 ms, bins 31.25 Hz apart
HOP = 40
SPECTRUM_RANGE_DB = (-90.0, -25.0)

BEAMS = (("#3b7dd8", "towards 0°"), ("#e6a23c", "towards 90°"), ("#3fa66b", "towards 180°"))
VOICE_COLOUR = "#444444"
NOISY_COLOUR = "#9aa0a6"
ENHANCED_COLOUR = "#c2185b"


def read_first_channel(path):
    with wave.open(path, "rb") as file:
        samples = np.frombuffer(file.readframes(file.getnframes()), "<i2")
        return samples[::file.getnchannels()] / 32768.0, file.getframerate()


def read_trace(path):
    with open(path, newline="", encoding="utf-8") as file:
        rows = list(csv.DictReader(file))
    return {name: np.array([float(row[name]) for row in rows]) for name in rows[0]}


def decibels(power):
    return 10.0 * np.log10(np.maximum(power, 1e-12))


def frame_powers(samples, rate, frames):
    size = round(FRAME_SECONDS * rate)
    padded = np.zeros(frames * size)
    kept = samples[:len(padded)]
    padded[:len(kept)] = kept
    return np.mean(padded.reshape(frames, size)**2, axis=1)


def spectrogram(samples):
    starts = range(0, len(samples) - TRANSFORM + 1, HOP)
    window = np.hanning(TRANSFORM)
    blocks = np.array([samples[s:s + TRANSFORM] * window for s in starts])
    power = np.abs(np.fft.rfft(blocks))**2
    return decibels(power * 4.0 / np.sum(window)**2).T  # a sine of amplitude 1 reads 0 dB


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


def draw_spectrogram(axes, samples, rate, title):
    image = axes.imshow(spectrogram(samples), origin="lower", aspect="auto", cmap="magma",
                        vmin=SPECTRUM_RANGE_DB[0], vmax=SPECTRUM_RANGE_DB[1],
                        interpolation="bilinear",
                        extent=(TRANSFORM / 2 / rate, len(samples) / rate, 0, rate / 2000))
    axes.set_ylabel("kHz")
    axes.set_yticks(range(5))
    axes.set_title(title, loc="left", fontsize=11)
    return image


def shade_voice(axes, trace):
    ends = np.flatnonzero(np.diff(np.concatenate(([0], trace["voice"] > 0, [0]))))
    for start, end in ends.reshape(-1, 2):
        axes.axvspan(start * FRAME_SECONDS, end * FRAME_SECONDS, color="#000000", alpha=0.07,
                     linewidth=0)


def draw_levels(axes, trace):
    for name, colour, label in (("input_dbfs", NOISY_COLOUR, "microphones"),
                                ("output_dbfs", ENHANCED_COLOUR, "enhanced")):
        axes.plot(trace["time_s"], np.maximum(trace[name], -90), color=colour, linewidth=1.1,
                  label=label)
    axes.set_ylabel("level\ndBFS")
    axes.set_ylim(-80, 0)
    axes.set_yticks([-60, -40, -20])


def draw_gains(axes, trace):
    axes.plot(trace["time_s"], trace["agc_gain_db"], color="#1b6ca8", linewidth=1.8,
              label="AGC gain")
    axes.plot(trace["time_s"], trace["mean_suppression_db"], color="#8e6bbf", linewidth=1.1,
              label="mean suppression")
    axes.axhline(0, color="#999999", linewidth=0.7)
    axes.set_ylabel("gain\ndB")


def draw_decisions(axes, trace):
    """The voice flag as the upper bar, the beam as the lower one."""
    time = trace["time_s"]
    axes.fill_between(time, 1.2, 1.9, where=trace["voice"] > 0, step="post", color=VOICE_COLOUR,
                      linewidth=0)
    for beam, (colour, _) in enumerate(BEAMS):
        axes.fill_between(time, 0.1, 0.9, where=trace["beam"] == beam, step="post", color=colour,
                          linewidth=0)
    axes.set_ylim(0, 2)
    axes.set_yticks([0.5, 1.55], labels=["beam", "voice"])
    axes.tick_params(axis="y", length=0)
    axes.set_xlabel("seconds")


def explain_beginning(axes, trace):
    """Says under the enhanced spectrogram why its first second is loud."""
    voiced = np.flatnonzero(trace["voice"] > 0)
    until = f", at {trace['time_s'][voiced[0]]:.1f} s" if len(voiced) > 0 else ""
    axes.set_xlabel(f"The beginning is loud: the AGC starts at {trace['agc_gain_db'][0]:+.0f} dB "
                    f"and stays there until the first frame with voice{until}", loc="left",
                    fontsize=9)


def draw(path, noisy, enhanced, rate, trace, measured):
    figure, axes = plt.subplots(
        5, 1, figsize=(12, 9.2), sharex=True,
        gridspec_kw={"height_ratios": (3, 3, 1.15, 1.15, 0.7), "hspace": 0.2, "left": 0.065,
                     "right": 0.83, "top": 0.965, "bottom": 0.055})
    image = draw_spectrogram(axes[0], noisy, rate, "What microphone 1 hears")
    lower = measured["noisy"]["pause"] - measured["enhanced"]["pause"]
    draw_spectrogram(axes[1], enhanced, rate,
                     f"What comes out: the noise between the words is {lower:.1f} dB lower, the "
                     f"speech stands {clearer(measured):.1f} dB clearer above it")
    explain_beginning(axes[1], trace)
    draw_levels(axes[2], trace)
    draw_gains(axes[3], trace)
    draw_decisions(axes[4], trace)
    axes[0].set_xlim(0, len(noisy) / rate)
    for strip in axes[2:]:
        strip.spines[["top", "right"]].set_visible(False)
    for strip in axes[2:4]:
        shade_voice(strip, trace)
        strip.grid(axis="y", color="#dddddd", linewidth=0.6)
        strip.legend(loc="center left", bbox_to_anchor=(1.005, 0.5), frameon=False, fontsize=9)
    axes[4].legend(handles=[Patch(color=colour, label=f"beam {beam}, {towards}")
                            for beam, (colour, towards) in enumerate(BEAMS)],
                   loc="center left", bbox_to_anchor=(1.005, 0.45), frameon=False, fontsize=9)
    upper, lower = axes[0].get_position(), axes[1].get_position()
    bar = figure.add_axes((0.845, lower.y0, 0.014, upper.y1 - lower.y0))
    figure.colorbar(image, cax=bar, label="dB, relative to a full-scale sine")
    figure.savefig(path, dpi=110)


def report(measured, trace, talker, audio_seconds, spent_seconds):
    noisy, enhanced = measured["noisy"], measured["enhanced"]
    fall = noisy["pause"] - enhanced["pause"]
    before_agc = noisy["pause"] - measured["before AGC"]["pause"]
    share = [np.mean(trace["beam"][measured["speech"]] == beam) for beam in range(len(BEAMS))]
    chosen = int(np.argmax(share))
    print(f"  noise in the pauses  {noisy['pause']:.1f} dBFS -> {enhanced['pause']:.1f} dBFS: "
          f"{fall:.1f} dB lower, {before_agc:.1f} dB before the AGC raises all")
    print(f"  before any words     {noisy['lead-in']:.1f} dBFS -> {enhanced['lead-in']:.1f} dBFS: "
          "the AGC begins with 15 dB and waits for a voice")
    print(f"  speech               {noisy['speech']:.1f} dBFS -> {enhanced['speech']:.1f} dBFS: "
          f"above the noise it stands {clearer(measured):.1f} dB clearer")
    print(f"  beam                 {chosen}, {BEAMS[chosen][1]}, in {100 * share[chosen]:.0f} % of "
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

    talk, talk_rate = read_first_channel(options.talk)
    noisy, rate = read_first_channel(options.noisy)
    enhanced, enhanced_rate = read_first_channel(options.enhanced)
    if rate != 8000 or enhanced_rate != 8000:
        parser.error("the recordings must be at 8000 Hz")
    trace = read_trace(options.trace)

    frames = len(trace["time_s"])
    measured = measure(frame_powers(talk, talk_rate, frames), frame_powers(noisy, rate, frames),
                       frame_powers(enhanced, rate, frames), trace["agc_gain_db"])
    draw(options.picture, noisy, enhanced, rate, trace, measured)
    report(measured, trace, options.talker, len(noisy) / rate, options.spent_microseconds / 1e6)


main()
