// SPDX-License-Identifier: Apache-2.0
// Nanoseconds for a frame of the built-in scene in node: node web/measure.mjs MODULE.wasm
import { readFileSync } from 'node:fs';
import { runInThisContext } from 'node:vm';

const read = (name) => readFileSync(new URL(name, import.meta.url));
const page = runInThisContext(`${read('wav.js')}${read('processor.js')}({ readWav, Processor })`);
const module = new WebAssembly.Module(readFileSync(process.argv[2]));
const scene = page.readWav(read('scene.wav'));
const [speech] = scene.channels;

// Ten passes over the recording; of every 20 frames the fastest counts, so that other work on the
// machine does not.
function measure(name, channels, rate, settings) {
  const { input, frame, library } = new page.Processor(module, channels.length, rate, settings);
  const best = new Float64Array(Math.floor(speech.length / frame / 20)).fill(Infinity);
  for (let pass = 0; pass < 10; ++pass) {
    for (let block = 0; block < best.length; ++block) {
      const started = process.hrtime.bigint();
      for (let at = 20 * block * frame; at < 20 * (block + 1) * frame; at += frame) {
        channels.forEach((channel, c) => input[c].set(channel.subarray(at, at + frame)));
        library.frame();
      }
      best[block] = Math.min(best[block], Number(process.hrtime.bigint() - started) / 20);
    }
  }
  const mean = best.reduce((sum, time) => sum + time, 0) / best.length;
  console.log(`${name.padEnd(16)} ${Math.round(mean)} ns`);
}

const on = { engine: true, noiseReduction: true, agc: true, swap: false, heldBeam: -1, beams: null };
measure('beamformer', scene.channels, 8000, { ...on, engine: false });
measure('front end', scene.channels, 8000, on);
for (const rate of [8000, 16000, 32000, 48000]) measure(`engine ${rate / 1000} kHz`, [speech], rate, on);
