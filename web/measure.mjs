// SPDX-License-Identifier: Apache-2.0
// Nanoseconds for a frame of the built-in scene in node: node web/measure.mjs MODULE.wasm
import { readFileSync } from 'node:fs';
import { runInThisContext } from 'node:vm';

const read = (name) => readFileSync(new URL(name, import.meta.url));
const page = runInThisContext(`${read('wav.js')}${read('processor.js')}({ readWav, Processor })`);
const module = new WebAssembly.Module(readFileSync(process.argv[2]));
const scene = page.readWav(read('scene.wav'));
const [speech] = scene.channels;

// The fastest of ten passes over the recording.
function measure(name, channels, rate, settings) {
  const { input, frame, library } = new page.Processor(module, channels.length, rate, settings);
  const frames = Math.floor(speech.length / frame);
  let best = Infinity;
  for (let pass = 0; pass < 10; ++pass) {
    const started = process.hrtime.bigint();
    for (let index = 0; index < frames; ++index) {
      channels.forEach((channel, c) => input[c].set(channel.subarray(index * frame, (index + 1) * frame)));
      library.frame();
    }
    best = Math.min(best, Number(process.hrtime.bigint() - started) / frames);
  }
  console.log(`${name.padEnd(16)} ${Math.round(best)} ns`);
}

const on = { engine: true, noiseReduction: true, agc: true, swap: false, heldBeam: -1, beams: null };
measure('beamformer', scene.channels, 8000, { ...on, engine: false });
measure('front end', scene.channels, 8000, on);
for (const rate of [8000, 16000, 32000, 48000]) measure(`engine ${rate / 1000} kHz`, [speech], rate, on);
