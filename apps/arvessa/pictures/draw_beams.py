#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Draws the beams of a file that `arvessa beams` has written; the PNG goes to standard output.

usage: draw_beams.py BEAMS.csv >PICTURE.png
"""
import csv
import math
import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt
import numpy as np

COLOURS = ("#fdb863", "#e66101", "#7b3294", "#1b2a49")  # from low to high frequency
LINES = (("#1b6ca8", "-"), ("#c0392b", "-"), ("#e6a23c", "--"))  # of the beams
PATTERN_BINS = (8, 16, 32, 56)
FLOOR_DB = -25.0
SOUND = 340.0       # m/s
BIN_SPACING = 62.5  # Hz
TILT = 1 + np.arange(1, 65) / 32  # gain in the look direction, by bin


def read_beams(path):
    """Microphones in metres, directions in degrees, weights [beam, bin, microphone]."""
    with open(path, encoding="utf-8") as file:
        lines = file.read().splitlines()
    said = dict(line[2:].split(": ") for line in lines if line.startswith("# ") and ": " in line)
    microphones = [[float(v) / 1000 for v in pair.split(",")]
                   for pair in said["microphones_mm"].split()]
    directions = [float(v) for v in said["directions_deg"].split(",")]
    weights = np.zeros((3, 64, 2), complex)
    for row in csv.DictReader(line for line in lines if not line.startswith("#")):
        weights[int(row["beam"]), int(row["bin"]), int(row["microphone"])] = complex(
            float(row["re"]), float(row["im"]))
    return np.array(microphones), directions, weights


def decibels(power):
    return 10 * np.log10(np.maximum(power, 1e-12))


def gains(microphones, weights, k, degrees):
    """Gain in dB of plane waves at the frequency that bin k holds, relative to the look direction."""
    angles = np.radians(degrees)
    paths = microphones @ np.array([np.cos(angles), np.sin(angles)])
    waves = np.exp(2j * np.pi * BIN_SPACING * k * paths / SOUND)
    return decibels(np.abs(weights[k] @ waves)**2 / TILT[k]**2)


def coherence(microphones):
    """Of a spherically isotropic field, at the frequencies that the weights are made for."""
    apart = np.hypot(*(microphones[1] - microphones[0]))
    return np.sinc(2 * BIN_SPACING * np.arange(1, 65) * apart / SOUND)


def draw_pattern(axes, microphones, look, weights):
    degrees = np.arange(361)
    for k, colour in zip(PATTERN_BINS, COLOURS, strict=True):
        axes.plot(np.radians(degrees),
                  np.maximum(gains(microphones, weights, k, degrees), FLOOR_DB),
                  color=colour, linewidth=1.8, label=f"{BIN_SPACING * k:.0f} Hz")
    axes.set_rlim(FLOOR_DB, 3)
    axes.set_rticks([-20, -10, 0], labels=[])
    for level in (-10, 0):
        axes.text(math.radians(292.5), level, f"{level} dB".replace("-", "−"), fontsize=7,
                  color="#555555", ha="center", va="center", zorder=6,
                  bbox={"facecolor": "white", "edgecolor": "none", "pad": 0.8, "alpha": 0.8})
    axes.annotate("", xy=(math.radians(look), 3), xytext=(math.radians(look), 8), annotation_clip=False,
                  arrowprops={"arrowstyle": "-|>", "color": "#c0392b", "linewidth": 2.2})
    marked = [angle for angle in range(0, 360, 45) if angle != round(look) % 360]
    axes.set_thetagrids(marked, fontsize=8)
    axes.grid(color="#cccccc", linewidth=0.6)
    axes.spines["polar"].set_color("#999999")
    # The array itself, not to scale.
    line = microphones[1] - microphones[0]
    ahead = math.atan2(line[1], line[0])
    for angle, number in ((ahead + math.pi, 1), (ahead, 2)):
        axes.plot(angle, FLOOR_DB + 3.2, "o", markersize=9, color="white",
                  markeredgecolor="#333333", zorder=5)
        axes.text(angle, FLOOR_DB + 3.2, str(number), fontsize=6.5, ha="center", va="center",
                  zorder=6)


def draw_figure(axes, directions, values, title, note):
    frequencies = BIN_SPACING * np.arange(1, 65) / 1000
    for beam, (direction, (colour, dashes)) in enumerate(zip(directions, LINES)):
        axes.plot(frequencies, values[beam], dashes, color=colour, linewidth=1.8,
                  label=f"{direction:g}°")
    axes.axhline(0, color="#999999", linewidth=0.8)
    axes.set_title(title, fontsize=10)
    axes.set_xlim(0, 4)
    axes.set_ylim(-4.2, 6)
    axes.set_xlabel("frequency, kHz", fontsize=8)
    axes.set_ylabel("dB", fontsize=8)
    axes.tick_params(labelsize=8)
    axes.grid(color="#dddddd", linewidth=0.6)
    axes.spines[["top", "right"]].set_visible(False)
    axes.text(0.985, 0.24, note, transform=axes.transAxes, fontsize=7.5, ha="right",
              color="#555555")
    axes.legend(fontsize=8, frameon=False, loc="lower right", ncol=3, borderaxespad=0.2)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    microphones, directions, weights = read_beams(sys.argv[1])
    own_noise = np.sum(np.abs(weights)**2, axis=2)
    crossed = np.real(weights[:, :, 0] * np.conj(weights[:, :, 1]))
    field_noise = own_noise + 2 * coherence(microphones) * crossed

    figure = plt.figure(figsize=(11, 7.3))
    grid = figure.add_gridspec(2, 6, height_ratios=(2.25, 1.0), hspace=0.34, wspace=0.9,
                               left=0.06, right=0.97, top=0.91, bottom=0.07)
    for beam, look in enumerate(directions):
        axes = figure.add_subplot(grid[0, 2 * beam:2 * beam + 2], projection="polar")
        axes.set_title(f"beam {beam}, towards {look:g}°", fontsize=11, pad=24)
        draw_pattern(axes, microphones, look, weights[beam])
    figure.legend(*figure.axes[0].get_legend_handles_labels(), ncol=4, frameon=False, fontsize=9,
                  loc="center", bbox_to_anchor=(0.515, 0.375))
    draw_figure(figure.add_subplot(grid[1, :3]), directions, decibels(TILT**2 / field_noise),
                "directivity: gain over noise from everywhere",
                "where the microphones hear unrelated noise, it tends to 3 dB")
    draw_figure(figure.add_subplot(grid[1, 3:]), directions, decibels(TILT**2 / own_noise),
                "white noise gain: gain over the microphones' own noise",
                "below 0 dB the beam is noisier than one microphone")
    # No metadata: the same numbers give the same file.
    figure.savefig(sys.stdout.buffer, format="png", dpi=110, metadata={"Software": None})


main()
