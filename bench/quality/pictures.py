# SPDX-License-Identifier: Apache-2.0
"""The pictures of docs/quality.md.

Colours that people with defective colour vision tell apart, after Okabe and Ito; lines differ in
dashes and markers, too.
"""
import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt
import numpy as np

import cases
from case_tables import FRAMES_A_SECOND, chosen, gain_over_time, smoothed
from grid import BEAMS_AT, BETWEEN, RIGHT_BEAMS, VOICE, mean_and_interval
from grid_tables import NOISE_NAMES, rise_of_stoi
from speech_level import decibels

STYLES = {"microphone 1": ("#555555", ":", None), "beamformer": ("#0072B2", "--", "s"),
          "engine, no AGC": ("#009E73", "-.", "^"), "all": ("#D55E00", "-", "o"),
          "all, no AGC": ("#7A3B00", ":", "v"),
          "Speex, microphone 1": ("#CC79A7", "--", "x"),
          "Speex, both": ("#56B4E9", "-.", "+")}
BEAM_COLOURS = ("#0072B2", "#E69F00", "#009E73")
NOISE_STYLES = {"fan": ("#0072B2", "-", "o"), "white": ("#E69F00", "--", "s"),
                "babble": ("#D55E00", "-.", "^"), "point": ("#555555", ":", "x")}
plt.rcParams.update({"font.size": 9, "axes.spines.top": False, "axes.spines.right": False,
                     "axes.grid": True, "grid.color": "#dddddd", "grid.linewidth": 0.6,
                     "axes.titlesize": 10, "legend.frameon": False, "figure.facecolor": "white"})


def save(figure, path):
    # Without the version of Matplotlib, so that the same picture is the same file.
    figure.savefig(path, dpi=110, metadata={"Software": None})
    plt.close(figure)


def legend_below(figure, axes_of_labels, columns):
    """One legend for all, in a strip of its own."""
    handles = {label: handle for axes in axes_of_labels
               for handle, label in zip(*axes.get_legend_handles_labels())}
    strip = 0.3 / figure.get_figheight()
    figure.get_layout_engine().set(rect=(0, strip, 1, 1 - strip))
    figure.legend(handles.values(), handles.keys(), loc="lower center", ncols=columns)


def draw_curve(axes, grid, measure, system, **where):
    """Mean and confidence interval over the SNR. "rise" is the rise of STOI over microphone 1."""
    colour, dashes, marker = STYLES[system]
    snrs = grid.axes["snr"]
    if measure == "rise":
        values = [rise_of_stoi(grid, system, snr=snr, **where) for snr in snrs]
    else:
        values = [grid.by_seed(measure, system, snr=snr, **where) for snr in snrs]
    points = [mean_and_interval(seeds) for seeds in values]
    mean, half = np.array(points).T
    axes.plot(snrs, mean, dashes, color=colour, marker=marker, markersize=4, linewidth=1.4,
              label=system)
    axes.fill_between(snrs, mean - half, mean + half, color=colour, alpha=0.18, linewidth=0)


def curves(grid, path, rows, columns, title):
    """A panel for each of `rows`, (measure, label, where), and `columns`, (name, where)."""
    figure, panels = plt.subplots(len(rows), len(columns), sharex=True, sharey="row",
                                  figsize=(2.3 * len(columns) + 1, 2.1 * len(rows) + 1.2),
                                  squeeze=False, layout="constrained")
    for row, (measure, label, where) in zip(panels, rows):
        row[0].set_ylabel(label)
        for axes, (_, more) in zip(row, columns):
            for system in STYLES:
                if measure == "stoi" or system != "microphone 1":
                    draw_curve(axes, grid, measure, system, **where, **more)
            axes.set_xticks(grid.axes["snr"])
    for axes in panels[-1]:
        axes.set_xlabel("SNR at microphone 1, dB")
    for axes, (name, _) in zip(panels[0], columns):
        axes.set_title(name)
    figure.suptitle(title, fontsize=11)
    legend_below(figure, panels[-1:, 0], len(STYLES))
    save(figure, path)


def draw_grid(grid, folder):
    noises = [(name, {"noise": noise}) for noise, name in NOISE_NAMES.items()]
    talkers = [(f"talker at {talker}°", {"talker": talker}) for talker in RIGHT_BEAMS]
    curves(grid, folder / "quality_noises.png",
           [("snri", "SNR improvement, dB\nfive directions", {}),
            ("stoi", "STOI, talker at\n0°, 90°, 180°", {"talker": BEAMS_AT}),
            ("stoi", "STOI, talker at\n45°, 135°", {"talker": BETWEEN})], noises,
           "What happens to speech in noise: mean of four voices")
    for measure, label, title in (("snri", "SNR improvement, dB", "SNR improvement"),
                                  ("rise", "rise of STOI", "Rise of STOI over microphone 1")):
        curves(grid, folder / f"quality_directions_{measure}.png",
               [(measure, f"{name}\n{label}", where) for name, where in noises], talkers,
               f"{title}, by noise and direction of the talker")


def draw_voice(grid, folder):
    snrs = grid.axes["snr"]
    figure, panels = plt.subplots(1, 2, figsize=(9, 3.2), layout="constrained", sharex=True)
    for noise, (colour, dashes, marker) in NOISE_STYLES.items():
        values = ([mean_and_interval(100 * grid.decisions_by_seed(VOICE, noise=noise, snr=snr))
                   for snr in snrs],
                  [mean_and_interval(grid.by_seed("speech", "all", noise=noise, snr=snr))
                   for snr in snrs])
        for axes, points in zip(panels, values):
            mean, half = np.array(points).T
            axes.plot(snrs, mean, dashes, color=colour, marker=marker, markersize=4,
                      label=NOISE_NAMES[noise])
            axes.fill_between(snrs, mean - half, mean + half, color=colour, alpha=0.18, linewidth=0)
            axes.set_xlabel("SNR at microphone 1, dB")
            axes.set_xticks(snrs)
    panels[0].set_ylabel("frames with speech\nthat count as voice, %")
    panels[0].set_ylim(0, 100)
    panels[1].set_ylabel("all: speech level\nagainst microphone 1, dB")
    legend_below(figure, panels[:1], 4)
    save(figure, folder / "quality_voice.png")


def polar(axes, title):
    axes.set_thetagrids(range(0, 360, 45))
    axes.set_title(title)
    axes.tick_params(labelsize=8)


def half_polar(axes, title):
    """Only one side: two microphones hear the other one alike."""
    axes.set_thetamax(180)
    axes.set_thetagrids(range(0, 181, 30))
    axes.set_title(title, y=0.84, pad=0)
    axes.tick_params(labelsize=8)


def closed(values):
    return np.append(values, values[0])


def draw_directions(others, folder):
    # A half circle leaves the other half of its place empty: the places overlap.
    figure = plt.figure(figsize=(10, 6.4))
    panels = [[figure.add_axes((left, bottom, 0.39, 0.61), projection="polar")
               for left in (0.055, 0.555)] for bottom in (0.38, -0.07)]
    angles = np.radians(cases.DIRECTIONS)
    for (level, shares), geometry in zip(panels, cases.GEOMETRIES):
        found = np.array([chosen("direction", others, geometry, talker).mean(axis=0)
                          for talker in cases.DIRECTIONS])
        half_polar(level, f"microphones {geometry} apart: level of\n"
                          "the speech against microphone 1, dB")
        level.plot(angles, found[:, 0], color="#D55E00", linewidth=1.8)
        level.plot(angles, 0 * angles, color="#555555", linewidth=0.9, linestyle=":")
        level.set_ylim(-12, 6)
        level.set_yticks([-6, -3, 0, 3])
        half_polar(shares, f"microphones {geometry} apart: beam in use,\n"
                           "share of the frames with speech")
        below = np.zeros(len(angles))
        for beam, colour in enumerate(BEAM_COLOURS):
            shares.bar(angles, found[:, 1 + beam], width=np.radians(5), bottom=below, color=colour,
                       edgecolor="white", linewidth=0.3, label=f"beam to {90 * beam}°")
            below += found[:, 1 + beam]
        shares.set_ylim(-0.5, 1)  # a hole in the middle, so that the inner parts are not tiny
        shares.set_yticks([])
        shares.grid(False)
    figure.legend(*panels[0][1].get_legend_handles_labels(), loc="lower center", ncols=3)
    figure.suptitle(f"Which beam a talker gets, by direction; fan noise, {cases.SNR} dB",
                    fontsize=11)
    save(figure, folder / "quality_beams.png")


def draw_side_lobes(others, folder):
    figure, panels = plt.subplots(1, 3, figsize=(11, 4.4), layout="constrained",
                                  subplot_kw={"projection": "polar"})
    angles = np.radians(cases.PATTERN_DIRECTIONS)
    powers = others["pattern"]
    for beam, axes in enumerate(panels):
        look = cases.PATTERN_DIRECTIONS.index(90 * beam)
        polar(axes, f"beam to {90 * beam}°")
        for band, (low, high) in enumerate(cases.PATTERN_BANDS):
            level = decibels(powers[:, beam, band] / powers[look, beam, band])
            axes.plot(closed(angles), closed(np.maximum(level, -20)), ("-", "--", "-.")[band],
                      color=BEAM_COLOURS[band], linewidth=1.5,
                      label=f"{low / 1000:g} to {high / 1000:g} kHz")
        axes.set_ylim(-20, 3)
        axes.set_yticks([-18, -12, -6, 0])
        axes.set_rlabel_position(112)
    legend_below(figure, panels[:1], 3)
    figure.suptitle("What a beam lets through of a wide-band source, dB against its direction",
                    fontsize=11)
    save(figure, folder / "quality_side_lobes.png")


def draw_start(others, folder):
    figure, panels = plt.subplots(1, 4, figsize=(12, 3.3), sharey=True, layout="constrained")
    seconds = np.arange(cases.START_FRAMES) / FRAMES_A_SECOND
    shown = {"microphone 1": STYLES["microphone 1"], "all": STYLES["all"],
             "all, no AGC": ("#0072B2", "--", None)}
    for axes, (noise, snr) in zip(panels, (("fan", 20), ("fan", 5), ("white", 5), ("babble", 5))):
        part = chosen("start", others, 1, noise, snr)[..., :cases.START_FRAMES].mean(axis=0)
        for row, system in zip(part, cases.START_SYSTEMS):
            colour, dashes, _ = shown[system]
            axes.plot(seconds, decibels(np.convolve(row, np.ones(5) / 5, "same")), dashes,
                      color=colour, linewidth=1.4, label=system)
        axes.axvline(1, color="#999999", linewidth=0.8)
        axes.text(1.03, -56, "first word", color="#666666", fontsize=8)
        axes.set_title(f"{NOISE_NAMES[noise]}, {snr} dB")
        axes.set_xlabel("seconds")
        axes.set_xlim(0, 3)
    panels[0].set_ylim(-58, 0)
    panels[0].set_ylabel("level, dBFS")
    legend_below(figure, panels[:1], 3)
    save(figure, folder / "quality_start.png")


def draw_change(others, folder):
    figure, panels = plt.subplots(1, 2, figsize=(11, 3.3), sharey=True, layout="constrained")
    half = cases.STEP_SECONDS * FRAMES_A_SECOND
    seconds = np.arange(2 * half) / FRAMES_A_SECOND
    for noise in cases.FOLLOWED:
        part = chosen("change", others, noise)
        gain = np.concatenate([gain_over_time(piece).mean(axis=0)
                               for piece in (part[..., :half], part[..., half:])])
        colour, dashes, _ = NOISE_STYLES[noise]
        panels[0].plot(seconds, gain, dashes, color=colour, linewidth=1.4, label=noise)
    panels[0].axvline(cases.STEP_SECONDS, color="#999999", linewidth=0.8)
    panels[0].text(cases.STEP_SECONDS + 0.15, 0.4, f"the noise rises by {cases.STEP_DB} dB",
                   color="#666666", fontsize=8)
    panels[0].set_title("noise alone")
    panels[0].set_ylabel("engine without AGC,\nlevel after against before, dB")
    for tone, dashes, colour in zip(cases.TONES, ("-", "--", ":"), BEAM_COLOURS):
        part = chosen("change", others, tone).mean(axis=0)
        gain = decibels(part[1]) - decibels(part[0])
        panels[1].plot(seconds, np.where(seconds < cases.TONE_BEGIN, np.nan, gain), dashes,
                       color=colour, linewidth=1.8, label=f"{tone} Hz")
    panels[1].axvline(cases.TONE_BEGIN, color="#999999", linewidth=0.8)
    panels[1].text(cases.TONE_BEGIN + 0.15, 0.4, "the tone begins", color="#666666", fontsize=8)
    panels[1].set_title(f"a steady tone of {cases.TONE_DBOV} dBFS")
    for axes in panels:
        axes.set_xlabel("seconds")
        axes.set_xlim(0, 2 * cases.STEP_SECONDS)
        axes.set_ylim(-18, 2)
        axes.legend(loc="center right", bbox_to_anchor=(1, 0.4))
    save(figure, folder / "quality_changes.png")


def draw(grid, others, folder):
    draw_grid(grid, folder)
    draw_voice(grid, folder)
    draw_directions(others, folder)
    draw_side_lobes(others, folder)
    draw_start(others, folder)
    draw_change(others, folder)
