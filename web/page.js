// SPDX-License-Identifier: Apache-2.0
// The page: what the controls do.

const element = (id) => document.getElementById(id);
const textOf = (id) => element(id).textContent;
const bytesOf = (id) => Uint8Array.from(atob(textOf(id).trim()), (c) => c.charCodeAt(0));
const STORED_DIRECTIONS = [0, 90, 180];
const calm = matchMedia('(prefers-reduced-motion: reduce)');

const player = new Player();
const figure = new Figure(element('picture'));
let module; // bytes
let recording; // that is shown
let result; // of it, or while that is computed of the one before
let beams = null; // of a file
let job = { cancel() {} }; // under way
let opened = 0; // recordings so far

const workerCode = () => textOf('processor') + textOf('worker');
const setBusy = (busy) => element('recording').setAttribute('aria-busy', busy);
const showError = (text, id = 'error') => (element(id).textContent = text);
const directions = () =>
  recording.channels.length === 2 ? (beams?.directions ?? STORED_DIRECTIONS) : null;

function settings() {
  const { engine, noiseReduction, agc, swap, heldBeam } = element('settings').elements;
  return {
    engine: engine.checked,
    noiseReduction: noiseReduction.checked,
    agc: agc.checked,
    swap: swap.checked,
    heldBeam: Number(heldBeam.value),
    beams,
  };
}

// Recordings

async function open(read, name) {
  showError('');
  setBusy(true);
  showProgress(`Reading ${name}`, 0);
  const mine = ++opened;
  try {
    const next = await readRecording(await read(), name, workerCode());
    next.picture = await inWorker(workerCode(),
      { task: 'spectrogram', samples: next.channels[0], rate: next.rate }).result;
    if (mine !== opened) return;
    recording = next;
    showSwitches();
    await enhance();
  } catch (error) {
    if (mine !== opened) return;
    showError(`${name}: ${error.message}`);
    showProgress(recording?.name ?? '', 1);
    setBusy(false);
  }
}

async function enhance() {
  job.cancel();
  if (!recording) return;
  setBusy(true);
  const { name, channels, rate } = recording;
  const started = performance.now();
  const mine = (job = inWorker(workerCode(),
    { task: 'enhance', module, channels, rate, settings: settings() },
    (part) => showProgress(name, part)));
  try {
    const done = await mine.result;
    const milliseconds = performance.now() - started;
    result = { ...done, milliseconds, recording, directions: directions() };
    show();
  } catch (error) {
    showError(`${name}: ${error.message}`);
  }
  showProgress(name, 1);
  setBusy(false);
}

function show() {
  const { channels, rate, picture } = result.recording;
  player.load({ channels, rate }, { channels: [result.samples], rate });
  figure.show({
    before: picture,
    after: result.picture,
    decisions: result.decisions,
    directions: result.directions?.map((d) => `${d}°`),
    names: { before: channels.length === 2 ? 'Before: microphone 1' : 'Before', after: 'After' },
  });
  element('summary').textContent = summaryOf(result);
  for (const id of ['play', 'save-voice', 'save-decisions']) element(id).disabled = false;
  element('seek').max = player.duration;
  showTime();
  performance.mark('result');
}

function save(content, ending, type) {
  const stem = result.recording.name.replace(/\.[^.]*$/, '').replace(/[^\w-]+/g, '_');
  const href = URL.createObjectURL(new Blob([content], { type }));
  Object.assign(document.createElement('a'), { href, download: stem + ending }).click();
  setTimeout(() => URL.revokeObjectURL(href), 60000);
}

function showProgress(name, part) {
  element('name').textContent = name;
  element('progress').hidden = part === 1;
  element('progress').value = part;
}

// What does not apply is off: the engine's switches without engine, those of two microphones with
// one.
function showSwitches() {
  const two = recording.channels.length === 2;
  const { engine, noiseReduction, agc, heldBeam } = element('settings').elements;
  for (const part of document.querySelectorAll('.two')) {
    part.classList.toggle('off', !two);
    (part.control ?? part).disabled = !two;
  }
  for (const input of [noiseReduction, agc]) {
    input.disabled = two && !engine.checked;
    input.parentElement.classList.toggle('off', input.disabled);
  }
  const held = heldBeam.value;
  const names = (beams?.directions ?? STORED_DIRECTIONS).map((d, i) => [i, `hold ${d}°`]);
  heldBeam.replaceChildren(...[[-1, 'loudest wins'], ...names].map(([value, text]) =>
    new Option(text, value, false, String(value) === held)));
  element('stored-beams').hidden = !beams;
}

async function loadBeams(file) {
  try {
    showError('');
    beams = readBeams(await file.text());
    element('beams-note').textContent = `Beams of ${file.name}.`;
    changed();
  } catch (error) {
    showError(`${file.name}: ${error.message}`);
  }
}

function changed() {
  showSwitches();
  enhance();
}

function openFile(file) {
  if (!file) return;
  if (/\.csv$/i.test(file.name)) loadBeams(file);
  else open(async () => new Uint8Array(await file.arrayBuffer()), file.name);
}

const openScene = () => open(async () => bytesOf('scene-data'), 'A talker in fan noise');

// Playing

function toggle() {
  if (player.playing) player.pause();
  else player.play();
  element('play').textContent = player.playing ? 'Pause' : 'Play';
  if (player.playing) {
    requestAnimationFrame(run);
    setTimeout(checkSound, 3000);
  } else {
    showTime();
  }
}

function checkSound() {
  const silent = player.playing && player.context.state !== 'running';
  if (silent) showError('Your browser does not start to play: is there a device for it?');
}

function hear(name) {
  player.hear(name);
  for (const which of ['before', 'after']) {
    element(`hear-${which}`).setAttribute('aria-pressed', which === name);
  }
}

const other = () => (player.heard === 'after' ? 'before' : 'after');

function seek(seconds) {
  player.seek(seconds);
  showTime();
}

// Every picture of the screen; for those who want no motion once a second.
function run() {
  if (!player.playing) return;
  showTime();
  if (calm.matches) setTimeout(run, 1000);
  else requestAnimationFrame(run);
}

function showTime() {
  if (!result) return;
  const { time, duration } = player;
  element('cursor').style.transform = `translateX(${figure.xAt(time)}px)`;
  const text = `${time.toFixed(1)} / ${duration.toFixed(1)} s`;
  if (element('time').textContent === text) return;
  element('time').textContent = text;
  element('seek').value = time;
  element('seek').setAttribute('aria-valuetext', `${time.toFixed(1)} of ${duration.toFixed(1)} s`);
}

function read(event) {
  if (!result) return;
  const { left, top } = element('picture').getBoundingClientRect();
  const seconds = figure.secondsAt(event.clientX - left);
  const frequency = figure.frequencyAt(event.clientY - top);
  element('pointer').hidden = false;
  element('pointer').style.transform = `translateX(${figure.xAt(seconds)}px)`;
  const { decisions, recording: { picture: before }, picture: after, directions } = result;
  const row = Math.min(Math.floor(100 * seconds), decisions.voice.length - 1);
  const level = ({ levels, bins, columns, rate, seconds: all }) => {
    const column = Math.min(columns - 1, Math.floor((seconds / all) * columns));
    const bin = Math.min(bins - 1, Math.round((frequency / (rate / 2)) * bins));
    return signed(levels[column * bins + bin], 0);
  };
  element('reading').textContent = [
    `${seconds.toFixed(2)} s`,
    ...(frequency === undefined ? [] : [
      `${Math.round(frequency)} Hz: ${level(before)} dBFS before, ${level(after)} after`]),
    decisions.voice[row] ? 'voice' : 'no voice',
    ...(directions ? [`beam to ${directions[decisions.beam[row]]}°`] : []),
    `AGC ${signed(decisions.agcGain[row], 1)} dB`,
    `suppression ${signed(decisions.meanSuppression[row], 1)} dB`,
  ].join(' · ');
}

// Live

const live = new Live(textOf('processor') + textOf('worklet'), null, showLive, (reason) => {
  showLiveState();
  showError(`The microphone: ${reason}.`, 'live-error');
});

async function toggleLive() {
  showError('', 'live-error');
  element('delay').textContent = '';
  if (live.running) {
    live.stop();
  } else {
    element('live').disabled = true;
    if (player.playing) toggle();
    try {
      live.module = module;
      await live.start(settings());
      live.bypass(element('bypass').checked);
      const speech = readWav(bytesOf('scene-data'));
      const { worklet, browser } = await live.delay(settings(), speech.channels[0], speech.rate);
      element('delay').textContent = `Delay: engine and its frame ${(1000 * worklet).toFixed(1)} ms ` +
        `(measured), browser and device ${(1000 * browser).toFixed(0)} ms (by the browser)`;
    } catch (error) {
      showError(`The microphone: ${error.message}.`, 'live-error');
    }
    element('live').disabled = false;
  }
  showLiveState();
}

function showLiveState() {
  element('live').textContent = live.running ? 'Stop the microphone' : 'Start the microphone';
  element('live-state').textContent = live.running
    ? `Running at ${live.context.sampleRate / 1000} kHz.` : 'Use headphones, or it howls.';
  if (!live.running) showLive({ input: -100, output: -100 });
}

let shown = 0;
function showLive({ input, output, voice, gain }) {
  if (calm.matches && performance.now() - shown < 1000 && input > -100) return;
  shown = performance.now();
  for (const [id, level] of [['level-in', input], ['level-out', output]]) {
    const meter = element(id);
    meter.firstChild.style.transform = `scaleX(${Math.max(0, 1 + level / 80)})`;
    meter.setAttribute('aria-valuenow', Math.round(Math.max(-80, level)));
    meter.nextElementSibling.textContent = level > -100 ? `${signed(level, 0)} dBFS` : '\u2013';
  }
  if (live.running && gain !== undefined) {
    element('live-state').textContent = `Running at ${live.context.sampleRate / 1000} kHz, ` +
      `${voice ? 'voice' : 'no voice'}, AGC ${signed(gain, 1)} dB.`;
  }
}

// Controls

const onClick = {
  play: toggle,
  'hear-before': () => hear('before'),
  'hear-after': () => hear('after'),
  open: () => element('file').click(),
  scene: openScene,
  'save-voice': () =>
    save(writeWav(result.samples, result.recording.rate), '-enhanced.wav', 'audio/wav'),
  'save-decisions': () => save(decisionTable(result), '-decisions.csv', 'text/csv'),
  beams: () => element('beams-file').click(),
  'stored-beams': () => {
    beams = null;
    element('beams-note').textContent = 'The built-in beams.';
    changed();
  },
  live: toggleLive,
};
for (const [id, action] of Object.entries(onClick)) element(id).addEventListener('click', action);
// The keys go to the page again after a click by mouse.
document.addEventListener('click', (event) => event.detail && document.activeElement?.blur());
element('settings').addEventListener('change', changed);
element('bypass').addEventListener('change', (event) => live.bypass(event.target.checked));
element('seek').addEventListener('input', (event) => seek(Number(event.target.value)));
for (const [id, action] of [['file', openFile], ['beams-file', loadBeams]]) {
  element(id).addEventListener('change', ({ target }) => {
    if (target.files[0]) action(target.files[0]);
    target.value = '';
  });
}

const picture = element('picture');
picture.addEventListener('pointermove', read);
picture.addEventListener('pointerdown', read);
picture.addEventListener('pointerleave', () => (element('pointer').hidden = true));
picture.addEventListener('click', (event) => {
  if (result) seek(figure.secondsAt(event.clientX - picture.getBoundingClientRect().left));
});
new ResizeObserver(showTime).observe(picture);

document.addEventListener('keydown', (event) => {
  const { key, target } = event;
  if (event.ctrlKey || event.altKey || event.metaKey || target.matches('select')) return;
  const actions = {
    b: () => hear(other()),
    ArrowLeft: () => seek(player.time - 1),
    ArrowRight: () => seek(player.time + 1),
  };
  if (!target.matches('button, a, input[type=checkbox]')) actions[' '] = toggle;
  if (!result || !actions[key]) return;
  event.preventDefault();
  actions[key]();
});

document.addEventListener('dragover', (event) => {
  event.preventDefault();
  element('drop').hidden = false;
});
document.addEventListener('dragleave', (event) => {
  if (!event.relatedTarget) element('drop').hidden = true;
});
document.addEventListener('drop', (event) => {
  event.preventDefault();
  element('drop').hidden = true;
  openFile(event.dataTransfer.files[0]);
});

// The page is painted first.
document.addEventListener('DOMContentLoaded', () => requestAnimationFrame(() => setTimeout(() => {
  module = bytesOf('module-data');
  openScene();
})));
