// SPDX-License-Identifier: Apache-2.0
// Work on whole recordings, away from the page: enhancing and spectrograms.

// The delay is cut off, so that the result lies on the recording.
function enhance({ module, channels, rate, settings }) {
  const processor = new Processor(new WebAssembly.Module(module), channels.length, rate, settings);
  const { frame, latency, library } = processor;
  const length = channels[0].length;
  const samples = new Int16Array(length);
  const frames = Math.ceil((length + latency) / frame);
  const rows = Math.ceil(length / frame);
  const decisions = Object.fromEntries(DECISIONS.map((name) => [name, new Float64Array(rows)]));
  decisions.input = new Float64Array(rows);
  decisions.output = new Float64Array(rows);
  let told = 0;
  for (let index = 0; index < frames; ++index) {
    const at = index * frame;
    channels.forEach((channel, c) => {
      const part = channel.subarray(at, at + frame);
      processor.input[c].fill(0).set(part);
    });
    library.frame();
    const from = Math.max(0, latency - at);
    const to = Math.min(frame, length + latency - at);
    samples.set(processor.output.subarray(from, to), at + from - latency);
    if (index < rows) {
      for (const name of DECISIONS) decisions[name][index] = library[name]();
    }
    if (index - told > frames / 50 && index - told > 500) {
      postMessage({ progress: index / frames });
      told = index;
    }
  }
  for (let row = 0; row < rows; ++row) {
    const part = (signal) => signal.subarray(row * frame, (row + 1) * frame);
    decisions.input[row] = levelOf(channels.flatMap((channel) => [...part(channel)]));
    decisions.output[row] = levelOf(part(samples));
  }
  return { samples, decisions, picture: spectrogram(samples, rate) };
}

onmessage = ({ data }) => {
  try {
    if (data.task === 'convert') {
      const channels = data.channels.map((channel) => resample(channel, data.from, data.to));
      postMessage({ result: channels });
    } else {
      postMessage({
        result: data.task === 'enhance' ? enhance(data) : spectrogram(data.samples, data.rate),
      });
    }
  } catch (error) {
    postMessage({ error: String(error.message ?? error) });
  }
};
