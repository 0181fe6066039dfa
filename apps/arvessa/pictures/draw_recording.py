#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Draws a recording, what became of it, and what was decided; the PNG goes to standard output.

usage: draw_recording.py BOTH.wav TRACE.csv >PICTURE.png

BOTH.wav has two channels of 16 bits: what microphone 1 hears and what comes out. TRACE.csv is what
`arvessa trace` writes.
"""
import csv
import sys
import wave

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt
import numpy as np
from matplotlib.patches import Patch

FRAME_SECONDS = 0.01
TRANSFORM = 256  # samples at 8 kHz: 32 ms, bins 31.25 Hz apart
HOP = 40
SPECTRUM_RANGE_DB = (-90.0, -25.0)

BEAM_COLOURS = ("#3b7dd8", "#e6a23c", "#3fa66b")
VOICE_COLOUR = "#444444"
NOISY_COLOUR = "#9aa0a6"
ENHANCED_COLOUR = "#c2185b"


def read_channels(path):
    """Samples of full scale 1, a row for each channel, and their rate."""
    with wave.open(path, "rb") as file:
        samples = np.frombuffer(file.readframes(file.getnframes()), "<i2")
        return samples.reshape(-1, file.getnchannels()).T / 32768.0, file.getframerate()


def read_trace(path):
    with open(path, newline="", encoding="utf-8") as file:
        rows = list(csv.DictReader(file))
    return {name: np.array([float(row[name]) for row in rows]) for name in rows[0]}


def decibels(power):
    return 10.0 * np.log10(np.maximum(power, 1e-12))


def spectrogram(samples):
    starts = range(0, len(samples) - TRANSFORM + 1, HOP)
    window = np.hanning(TRANSFORM)
    blocks = np.array([samples[s:s + TRANSFORM] * window for s in starts])
    power = np.abs(np.fft.rfft(blocks))**2
    return decibels(power * 4.0 / np.sum(window)**2).T  # a sine of amplitude 1 reads 0 dB


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
    for beam, colour in enumerate(BEAM_COLOURS):
        axes.fill_between(time, 0.1, 0.9, where=trace["beam"] == beam, step="post", color=colour,
                          linewidth=0)
    axes.set_ylim(0, 2)
    axes.set_yticks([0.5, 1.55], labels=["beam", "voice"])
    axes.tick_params(axis="y", length=0)
    axes.set_xlabel("seconds")


def draw(picture, noisy, enhanced, rate, trace, title="What comes out"):
    """`picture` is a path or a binary file."""
    figure, axes = plt.subplots(
        5, 1, figsize=(12, 9.2), sharex=True,
        gridspec_kw={"height_ratios": (3, 3, 1.15, 1.15, 0.7), "hspace": 0.2, "left": 0.065,
                     "right": 0.83, "top": 0.965, "bottom": 0.055})
    image = draw_spectrogram(axes[0], noisy, rate, "What microphone 1 hears")
    draw_spectrogram(axes[1], enhanced, rate, title)
    voiced = np.flatnonzero(trace["voice"] > 0)
    first_voice = trace["time_s"][voiced[0]] if len(voiced) else len(noisy) / rate
    if len(voiced) == 0 or first_voice > 0.2:
        axes[1].text(0, -0.035, "loud until the first voiced frame: the AGC starts at +15 dB",
                     transform=axes[1].transAxes, fontsize=9, color="#555555", va="top")
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
    looks = sorted(set(zip(trace["beam"].astype(int), trace["direction_deg"])))
    axes[4].legend(handles=[Patch(color=BEAM_COLOURS[beam], label=f"beam {beam}, towards {look:g}°")
                            for beam, look in looks],
                   loc="center left", bbox_to_anchor=(1.005, 0.45), frameon=False, fontsize=9)
    upper, lower = axes[0].get_position(), axes[1].get_position()
    bar = figure.add_axes((0.845, lower.y0, 0.014, upper.y1 - lower.y0))
    figure.colorbar(image, cax=bar, label="dB, relative to a full-scale sine")
    figure.savefig(picture, format="png", dpi=110)


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    (noisy, enhanced), rate = read_channels(sys.argv[1])
    draw(sys.stdout.buffer, noisy, enhanced, rate, read_trace(sys.argv[2]))


if __name__ == "__main__":
    main()
