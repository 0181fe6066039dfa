// SPDX-License-Identifier: Apache-2.0
// A recording out of a file, at the rate at which the library takes it, and the workers for it.

const dataUrl = (code) => `data:text/javascript,${encodeURIComponent(code)}`;

// A task in a worker of its own, which ends with it: {result: a promise, cancel()}. Under file:// a
// worker comes from a data: URL as a worklet does.
function inWorker(code, task, advance = () => {}) {
  const worker = new Worker(dataUrl(code));
  const result = new Promise((resolve, reject) => {
    worker.onmessage = ({ data }) => {
      if (data.progress !== undefined) return advance(data.progress);
      worker.terminate();
      if (data.error) reject(new Error(data.error));
      else resolve(data.result);
    };
    worker.onerror = (event) => {
      worker.terminate();
      reject(new Error(event.message || 'the worker failed'));
    };
    worker.postMessage(task);
  });
  return { result, cancel: () => worker.terminate() };
}

// {name, rate, channels}: one or two channels of 16-bit samples.
async function readRecording(bytes, name, workerCode) {
  let { rate, channels } = readWav(bytes) ?? {};
  if (!channels) {
    // The browser converts what it decodes to the rate of the context.
    rate = Math.max(8000, Math.min(rate ?? 48000, 96000));
    const context = new OfflineAudioContext(1, 1, rate);
    const audio = await context.decodeAudioData(bytes.slice().buffer).catch(() => {
      throw new Error('your browser cannot decode it');
    });
    channels = Array.from({ length: audio.numberOfChannels }, (_, c) =>
      Int16Array.from(audio.getChannelData(c), (sample) =>
        Math.max(-32768, Math.min(32767, Math.round(32768 * sample)))));
  }
  if (channels.length > 2) {
    throw new Error(`it has ${channels.length} channels; one or two are needed`);
  }
  if (!channels[0]?.length) throw new Error('it holds no samples');
  const to = channels.length === 2 ? 8000 : (ENGINE_RATES.find((r) => r >= rate) ?? ENGINE_RATES.at(-1));
  if (to !== rate) {
    channels = await inWorker(workerCode, { task: 'convert', channels, from: rate, to }).result;
  }
  return { name, rate: to, fileRate: rate, channels };
}

// The decisions as the command `arvessa trace` writes them; of the engine alone without beams.
function decisionTable({ decisions, directions }) {
  const columns = [
    ['time_s', (row) => (row / 100).toFixed(2)],
    ['input_dbfs', (row) => decisions.input[row].toFixed(2)],
    ['output_dbfs', (row) => decisions.output[row].toFixed(2)],
    ...(directions ? [
      ['beam', (row) => decisions.beam[row]],
      ['direction_deg', (row) => directions[decisions.beam[row]]],
    ] : []),
    ['voice', (row) => decisions.voice[row]],
    ['agc_index', (row) => decisions.agcIndex[row]],
    ['agc_gain_db', (row) => decisions.agcGain[row].toFixed(2)],
    ['floor_db', (row) => decisions.floorLevel[row].toFixed(0)],
    ['mean_suppression_db', (row) => decisions.meanSuppression[row].toFixed(2)],
  ];
  const lines = [columns.map(([name]) => name).join(',')];
  for (let row = 0; row < decisions.voice.length; ++row) {
    lines.push(columns.map(([, text]) => text(row)).join(','));
  }
  return `${lines.join('\n')}\n`;
}

// The same in a sentence.
function summaryOf({ samples, decisions, directions, milliseconds, recording }) {
  const { channels, rate } = recording;
  const mean = (values) => values.reduce((sum, value) => sum + value, 0) / values.length;
  const share = (values, wanted) =>
    Math.round((100 * values.filter((value) => value === wanted).length) / values.length);
  const level = (signals) => signed(levelOf(signals), 1);
  const { voice, beam, agcGain, meanSuppression } = decisions;
  const [lowest, highest] = agcGain.reduce(
    ([a, b], gain) => [Math.min(a, gain), Math.max(b, gain)], [Infinity, -Infinity]);
  return [
    `${(samples.length / rate).toFixed(1)} s at ${rate / 1000} kHz took ${Math.round(milliseconds)} ms.`,
    `Level ${level(channels[0])} dBFS before, ${level(samples)} after.`,
    `Voice in ${share(voice, 1)} % of the frames, AGC gain ${signed(lowest, 1)} to ${signed(highest, 1)} dB,`,
    `mean suppression ${signed(mean(meanSuppression), 1)} dB${directions ? '' : '.'}`,
    ...(directions
      ? [`; beams ${directions.map((d, i) => `${d}° ${share(beam, i)} %`).join(', ')}.`]
      : []),
  ].join(' ').replace(' ;', ';');
}

const signed = (value, digits) => value.toFixed(digits).replace('-', '\u2212');
