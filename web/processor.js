// SPDX-License-Identifier: Apache-2.0
// One stream through the library, in an instance of its own: two channels through the front end,
// one through the engine. In a worker for files, in an audio worklet for the live microphone.
class Processor {
  constructor(module, channels, rate, settings) {
    const library = new WebAssembly.Instance(module).exports;
    const { engine, noiseReduction, agc, swap, heldBeam, beams } = settings;
    this.library = library;
    this.frame = rate / 100;
    if (channels === 2) {
      if (beams) {
        new Float32Array(library.memory.buffer, library.realWeights(), 384).set(beams.real);
        new Float32Array(library.memory.buffer, library.imaginaryWeights(), 384).set(beams.imaginary);
      }
      library.startFrontEnd(engine, noiseReduction, agc, swap, heldBeam, Boolean(beams));
    } else {
      library.startEngine(rate, noiseReduction, agc);
    }
    this.latency = library.latency();
    this.input = Array.from({ length: channels }, (_, c) =>
      new Int16Array(library.memory.buffer, library.input() + 2 * c * this.frame, this.frame));
    this.output = new Int16Array(library.memory.buffer, library.output(), this.frame);
  }
}

// What is known about each frame, by the names in the table that the command writes.
const DECISIONS = ['beam', 'voice', 'agcIndex', 'agcGain', 'floorLevel', 'meanSuppression'];

// Mean level of samples, dBFS, not below -100.
function levelOf(samples) {
  let sum = 0;
  for (const sample of samples) sum += sample * sample;
  return sum > 0 ? Math.max(-100, 10 * Math.log10(sum / samples.length / 32768 / 32768)) : -100;
}
