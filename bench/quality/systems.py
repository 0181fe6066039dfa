# SPDX-License-Identifier: Apache-2.0
"""What is compared: each a function from two microphones to one channel, int16, aligned in time."""
import arvessa
import numpy as np

import speex


def microphone_1(x):
    return np.ascontiguousarray(x[:, 0])


def both(x):
    """The mean of the microphones: a beam to 90 degrees without any design."""
    return ((x[:, 0].astype(np.int32) + x[:, 1]) // 2).astype(np.int16)


def engine(x, rate=8000, **switches):
    """The engine alone on one channel."""
    stream = arvessa.Engine(rate, **switches)
    latency = stream.latency
    return np.concatenate((stream.process(x), stream.flush()))[latency:]


SYSTEMS = {
    "microphone 1": microphone_1,
    "beamformer": lambda x: arvessa.enhance(x, engine=False),
    "engine": lambda x: engine(microphone_1(x)),
    "engine, no AGC": lambda x: engine(microphone_1(x), agc=False),
    "all": arvessa.enhance,
    "all, no AGC": lambda x: arvessa.enhance(x, agc=False),
    "Speex, microphone 1": lambda x: speex.preprocess(microphone_1(x), agc=False),
    "Speex with AGC, microphone 1": lambda x: speex.preprocess(microphone_1(x), agc=True),
    "Speex, both": lambda x: speex.preprocess(both(x), agc=False),
    "Speex with AGC, both": lambda x: speex.preprocess(both(x), agc=True),
}
