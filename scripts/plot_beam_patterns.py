#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Draws the stored beams from the numbers that generators/beams computes.

usage: plot_beam_patterns.py BEAM_DESIGN_PROGRAM PICTURE.png
"""
import csv
import math
import subprocess
import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt

TITLES = ("beam 0, towards 0°", "beam 1, towards 90°", "beam 2, towards 180°")
COLOURS = ("#fdb863", "#e66101", "#7b3294", "#1b2a49")  # from low to high frequency
LOOK = (0.0, math.pi / 2, math.pi)
FLOOR_DB = -25.0


def rows_of(program, what):
    text = subprocess.run([program, what], check=True, capture_output=True, text=True).stdout
    return [{key: float(value) for key, value in row.items()}
            for row in csv.DictReader(text.splitlines())]


def draw_pattern(axes, rows, beam):
    mine = [row for row in rows if row["beam"] == beam]
    frequencies = sorted({row["frequency_hz"] for row in mine})
    for frequency, colour in zip(frequencies, COLOURS, strict=True):
        line = [row for row in mine if row["frequency_hz"] == frequency]
        axes.plot([math.radians(row["azimuth_deg"]) for row in line],
                  [max(row["gain_db"], FLOOR_DB) for row in line],
                  color=colour, linewidth=1.8, label=f"{frequency:.0f} Hz")
    axes.set_rlim(FLOOR_DB, 3)
    axes.set_rticks([-20, -10, 0], labels=[])
    for level in (-10, 0):
        axes.text(math.radians(292.5), level, f"{level} dB".replace("-", "−"), fontsize=7,
                  color="#555555", ha="center", va="center", zorder=6,
                  bbox={"facecolor": "white", "edgecolor": "none", "pad": 0.8, "alpha": 0.8})
    axes.annotate("", xy=(LOOK[beam], 3), xytext=(LOOK[beam], 8), annotation_clip=False,
                  arrowprops={"arrowstyle": "-|>", "color": "#c0392b", "linewidth": 2.2})
    marked = [angle for angle in range(0, 360, 45) if angle != round(math.degrees(LOOK[beam]))]
    axes.set_thetagrids(marked, fontsize=8)
    axes.grid(color="#cccccc", linewidth=0.6)
    axes.spines["polar"].set_color("#999999")
    axes.set_title(TITLES[beam], fontsize=11, pad=24)
    # The array itself, not to scale: microphone 1 on the left, 2 on the right.
    for angle, number in ((math.pi, 1), (0.0, 2)):
        axes.plot(angle, FLOOR_DB + 3.2, "o", markersize=9, color="white",
                  markeredgecolor="#333333", zorder=5)
        axes.text(angle, FLOOR_DB + 3.2, str(number), fontsize=6.5, ha="center", va="center",
                  zorder=6)


def draw_figure(axes, rows, column, title, note):
    for beam, colour, name in ((0, "#1b6ca8", "beams 0 and 2"), (1, "#c0392b", "beam 1")):
        mine = [row for row in rows if row["beam"] == beam]
        axes.plot([row["frequency_hz"] / 1000 for row in mine], [row[column] for row in mine],
                  color=colour, linewidth=1.8, label=name)
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
    axes.legend(fontsize=8, frameon=False, loc="lower right", ncol=2, borderaxespad=0.2)


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    program, picture = sys.argv[1:]
    patterns = rows_of(program, "patterns")
    figures = rows_of(program, "figures")

    figure = plt.figure(figsize=(11, 7.3))
    grid = figure.add_gridspec(2, 6, height_ratios=(2.25, 1.0), hspace=0.34, wspace=0.9,
                               left=0.06, right=0.97, top=0.91, bottom=0.07)
    for beam in range(3):
        axes = figure.add_subplot(grid[0, 2 * beam:2 * beam + 2], projection="polar")
        draw_pattern(axes, patterns, beam)
    figure.legend(*figure.axes[0].get_legend_handles_labels(), ncol=4, frameon=False, fontsize=9,
                  loc="center", bbox_to_anchor=(0.515, 0.375))
    draw_figure(figure.add_subplot(grid[1, :3]), figures, "directivity_db",
                "directivity: gain over noise from everywhere",
                "where the microphones hear unrelated noise, it tends to 3 dB")
    draw_figure(figure.add_subplot(grid[1, 3:]), figures, "white_noise_gain_db",
                "white noise gain: gain over the microphones' own noise",
                "below 0 dB the beam is noisier than one microphone")
    # No metadata: the same numbers give the same file.
    figure.savefig(picture, dpi=110, metadata={"Software": None})


main()
