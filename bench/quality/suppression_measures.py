# SPDX-License-Identifier: Apache-2.0
"""What a noise reducer does to speech and to noise, after ITU-T G.160, Appendix II.

Frames of 10 ms fall into classes by the power of the speech alone, relative to its active level
(ITU-T P.56): strong, medium and weak speech, and pauses. The mean power of each class, before and
after processing, gives all measures. Powers of several recordings may be added up first.
"""
import numpy as np

from speech_level import active_level, decibels

FRAME_SECONDS = 0.01
CLASSES = ("strong", "medium", "weak")
# Lower limits in dB relative to the active level.
LIMITS_DB = (-1, -10, -16)
PAUSE_DB = -40  # a frame below this and so both its neighbours: a pause
# Below this SNR the speech in a class is the small difference of two large powers, and chance.
LEAST_SNR_DB = -5
# What is left of a class after processing counts as at least this: below, the difference of powers
# may well be negative, and its logarithm is anything.
LEAST_SNR_AFTER_DB = -10


def frame_powers(x, rate):
    """Mean power of each whole frame of 10 ms."""
    size = round(FRAME_SECONDS * rate)
    count = len(x) // size
    return np.mean(np.asarray(x[:count * size], float).reshape(count, size) ** 2, axis=1)


def classify(speech, rate):
    """The class of each frame of the speech alone: 0 to 2 as in CLASSES, 3 a pause, -1 neither."""
    level, _ = active_level(speech, rate)
    power = decibels(frame_powers(speech, rate)) - level
    classes = np.full(len(power), -1)
    for index in (2, 1, 0):
        classes[power >= LIMITS_DB[index]] = index
    quiet = np.convolve(power >= PAUSE_DB, np.ones(3), "same") < 0.5
    classes[quiet] = 3
    return classes


def class_powers(x, rate, classes, begin=0):
    """Sum of the frame powers of each class from frame `begin` on, and their number: (2, 4)."""
    powers = frame_powers(x, rate)[begin:]
    classes = classes[begin:begin + len(powers)]
    return np.array([[np.sum(powers[classes == index]) for index in range(4)],
                     [np.count_nonzero(classes == index) for index in range(4)]])


def measures(before, after):
    """SNR improvement, noise level, and the rest, in dB, of two results of `class_powers`.

    snri   rise of the signal-to-noise ratio: the mean over the classes of speech by their frames
    noise  change of the noise level in the pauses; negative is lower
    dsn    snri + noise: negative where the speech fell, too
    speech change of the level of strong and medium speech
    snr    signal-to-noise ratio before
    """
    means = [powers[0] / np.maximum(powers[1], 1) for powers in (before, after)]
    counts = before[1, :3]
    # Speech and noise are independent: what a class holds beyond the noise of the pauses is speech.
    voices = [mean[:3] - mean[3] for mean in means]
    snr = [decibels(voice / mean[3]) for voice, mean in zip(voices, means)]
    used = (snr[0] >= LEAST_SNR_DB) & (counts > 0)
    if not used.any():
        raise ValueError("no class of speech stands out of the noise")
    after_processing = np.maximum(snr[1], LEAST_SNR_AFTER_DB)
    snri = np.average((after_processing - snr[0])[used], weights=counts[used])
    noise = decibels(means[1][3] / means[0][3])
    levels = [decibels(np.average(voice[:2], weights=counts[:2])) for voice in voices]
    whole = decibels(np.average(voices[0], weights=counts) / means[0][3])
    return {"snri": float(snri), "noise": float(noise), "dsn": float(snri + noise),
            "speech": float(levels[1] - levels[0]), "snr": float(whole)}
