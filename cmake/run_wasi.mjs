// SPDX-License-Identifier: Apache-2.0
// Runs a WASI program in node: run_wasi.mjs PROGRAM ARGUMENT...
import { readFileSync } from 'node:fs';
import process from 'node:process';

process.removeAllListeners('warning'); // that node's WASI is experimental
const { WASI } = await import('node:wasi');
const [, , program, ...argumentsOfProgram] = process.argv;
const wasi = new WASI({
  version: 'preview1',
  args: [program, ...argumentsOfProgram],
  env: process.env,
  preopens: { '/': '/' },
  returnOnExit: true,
});
const module = await WebAssembly.compile(readFileSync(program));
const instance = await WebAssembly.instantiate(module, {
  wasi_snapshot_preview1: wasi.wasiImport,
  // The C++ runtime cannot throw.
  env: {
    __cxa_allocate_exception() {
      throw new Error('a C++ exception was thrown');
    },
    __cxa_throw() {},
  },
});
process.exitCode = wasi.start(instance);
