// The page: one state at a time, and what leads from one to the next.
import { Panorama, type PanoramaFile, type PanoramaOptions, type Quality } from '../src/index.js';
import { closeCamera, holdExposure, openCamera } from './camera.js';
import { directionChoice } from './choices.js';
import type { Guidance } from './guide.js';
import { doubts, markDoubts } from './joints.js';
import { canShare, download, fileName, share } from './save.js';
import { Strip } from './strip.js';
import { Sweeper, fullCount } from './sweeper.js';
import { Archive } from './tar.js';
import { Viewer } from './viewer.js';
import {
  type Trouble,
  cameraTrouble,
  kStill,
  kTooOld,
  kUnplayable,
  kUnplugged,
  sweepTrouble,
} from './troubles.js';

type State = 'welcome' | 'ready' | 'sweeping' | 'pictures' | 'composing' | 'result' | 'trouble';

const find = <T extends Element = HTMLElement>(id: string) => document.getElementById(id) as unknown as T;

const video = find<HTMLVideoElement>('video');
const shutter = find<HTMLButtonElement>('shutter');
const files = find<HTMLInputElement>('files');
const settings = find<HTMLDialogElement>('settings');
const image = find<HTMLImageElement>('panorama');
const strip = new Strip(find<HTMLCanvasElement>('strip'));
const viewer = new Viewer(find('stage'), find('sheet'));
const chosenDirection = directionChoice(find('direction'), 'direction', ['auto', 'left', 'right', 'up', 'down']);
const picturesDirection = directionChoice(find('pictures-direction'), 'pictures-direction', ['right', 'left', 'down', 'up']);
const records = new URLSearchParams(location.search).has('record'); // for bug reports
const kOverlap = 70;

let stream: MediaStream | null = null;
let isClip = false;
let sweeper: Sweeper | null = null; // also holds the panorama until the next one
let pictureSweep: Panorama | null = null;
let direction: Guidance['direction'] = 'auto';
let archive: Archive | null = null;
let panorama: PanoramaFile | null = null;
let pictures: File[] = [];
let sweepNumber = 0; // what was begun before the last cancel is dropped when it arrives

function show(state: State): void {
  document.body.dataset['state'] = state;
  const focus: Partial<Record<State, string>> = { ready: 'shutter', sweeping: 'shutter', result: 'stage', composing: 'cancel' };
  find(focus[state] ?? '')?.focus({ preventScroll: true });
}

function say(text: string, warns = false): void {
  const hint = find('hint');
  if (hint.textContent !== text) hint.textContent = text;
  for (const element of [hint, find('hint').parentElement!.querySelector<HTMLElement>('.level')!]) {
    element.dataset['tone'] = warns ? 'warn' : '';
  }
}

function toast(text: string): void {
  const element = find('toast');
  element.textContent = text;
  setTimeout(() => (element.textContent = ''), 4000);
}

// --- Trouble ---

interface Way {
  readonly label: string;
  readonly take: () => void;
}

function fail({ title, text, details }: Trouble, ways: readonly Way[]): void {
  find('trouble-title').textContent = title;
  find('trouble-text').textContent = text;
  find('trouble-details').hidden = details === '';
  find('trouble-chain').textContent = details;
  const buttons = ways.map(({ label, take }, index) => {
    const button = document.createElement('button');
    Object.assign(button, { type: 'button', textContent: label, className: index === 0 ? 'primary' : 'quiet', onclick: take });
    return button;
  });
  find('trouble-actions').replaceChildren(...buttons);
  show('trouble');
  buttons[0]?.focus({ preventScroll: true });
}

const kFiles: Way = { label: 'Use a video or pictures', take: () => files.click() };
const kCamera: Way = { label: 'Try the camera again', take: () => void startCamera() };
const kBegin: Way = { label: 'Begin again', take: () => void again() };

// --- Camera ---

async function startCamera(): Promise<void> {
  leave();
  try {
    stream = await openCamera(video);
  } catch (reason) {
    fail(cameraTrouble(reason), [kCamera, kFiles]);
    return;
  }
  isClip = false;
  stream.getVideoTracks()[0]?.addEventListener('ended', () => {
    if (document.body.dataset['state'] === 'sweeping') interrupted(kUnplugged);
    else if (document.body.dataset['state'] === 'ready') fail(kUnplugged, [kCamera, kFiles]);
  });
  getReady();
}

function getReady(): void {
  find('shutter-label').textContent = 'Begin';
  say('Press the button, then turn slowly');
  show('ready');
}

function leave(): void {
  sweepNumber += 1;
  sweeper?.close();
  pictureSweep?.close();
  sweeper = pictureSweep = null;
  closeCamera(video);
  stream = null;
}

// --- Sweep ---

function options(): PanoramaOptions {
  const quality = document.querySelector<HTMLInputElement>('[name=quality]:checked')?.value as Quality;
  archive = records ? new Archive() : null;
  return { overlap: kOverlap, quality, ...(archive && { record: (file) => archive?.add(file) }) };
}

async function beginSweep(): Promise<void> {
  const number = ++sweepNumber;
  sweeper?.close();
  shutter.disabled = true;
  if (stream) await holdExposure(stream, true);
  strip.begin(fullCount(kOverlap));
  direction = 'auto';
  find('shutter-label').textContent = 'Finish';
  say('Turn slowly to one side');
  try {
    const begun = await Sweeper.begin(video, { ...options(), direction: chosenDirection() }, {
      guide: (guidance, taken) => guide(guidance, taken),
      full: () => void compose(),
      stopped: (trouble) => interrupted(trouble),
    });
    if (number !== sweepNumber) begun.close();
    else {
      sweeper = begun;
      show('sweeping');
    }
  } catch (reason) {
    fail(sweepTrouble(reason), [kBegin, kFiles]);
  } finally {
    shutter.disabled = false;
  }
}

function guide(guidance: Guidance, taken: boolean): void {
  direction = guidance.direction;
  if (taken) strip.add(video, video.videoWidth, video.videoHeight);
  say(guidance.hint, guidance.warns);
  const arrow = document.querySelector<SVGElement>('.arrow')!;
  if (direction === 'auto') delete arrow.dataset['direction'];
  else arrow.dataset['direction'] = direction;
  arrow.dataset['tone'] = guidance.warns ? 'warn' : '';
  const level = document.querySelector<HTMLElement>('.level')!;
  const isVertical = direction === 'up' || direction === 'down';
  level.dataset['axis'] = isVertical ? 'vertical' : 'horizontal';
  document.querySelector<HTMLElement>('.guide')!.dataset['axis'] = level.dataset['axis'];
  const shift = `${Math.max(-40, Math.min(40, guidance.drift * 100))}v${isVertical ? 'w' : 'h'}`;
  level.querySelector<HTMLElement>('.drift')!.style.transform = isVertical ? `translateX(${shift})` : `translateY(${shift})`;
  strip.draw(direction, guidance);
}

/** The sweep stopped by itself; what there is may be enough. */
function interrupted(trouble: Trouble): void {
  sweeper?.stop();
  if (isClip) video.pause();
  const count = sweeper?.pictures ?? 0;
  const use: Way = { label: `Use the ${count} pictures`, take: () => void compose() };
  fail(trouble, count > 1 ? [use, kBegin] : [kBegin, kFiles]);
}

async function compose(): Promise<void> {
  const current = sweeper;
  if (!current) return;
  const number = sweepNumber;
  current.stop();
  if (stream) void holdExposure(stream, false);
  if (current.pictures < 2) {
    fail(kStill, [kBegin, kFiles]);
    return;
  }
  find('composing-text').textContent = `Composing ${current.pictures} pictures`;
  show('composing');
  strip.draw(direction, null, find<HTMLCanvasElement>('composing-strip'));
  try {
    const made = await current.compose();
    if (number === sweepNumber) await present(made, current.pictures);
  } catch (reason) {
    if (number === sweepNumber) fail(sweepTrouble(reason), [kBegin, kFiles]);
  }
}

// --- Result ---

async function present(made: PanoramaFile, count: number): Promise<void> {
  closeCamera(video);
  stream = null;
  panorama = made;
  if (image.src) URL.revokeObjectURL(image.src);
  image.src = URL.createObjectURL(made.blob);
  image.alt = `A panorama of ${count} pictures`;
  await image.decode();
  const size = document.createElement('strong');
  size.textContent = `${made.width} × ${made.height}`;
  const { milliseconds } = made;
  const time = milliseconds < 1000 ? `${Math.ceil(milliseconds)} ms` : `${(milliseconds / 1000).toFixed(1)} s`;
  const summary = find('summary');
  summary.replaceChildren(size, ` pixels from ${count} pictures, composed in ${time}.`);
  for (const note of doubts(made.joints)) {
    const line = document.createElement('span');
    line.className = 'doubt';
    line.textContent = note;
    summary.append(line);
  }
  find('share').hidden = !canShare(made.blob);
  find('save-recording').hidden = !archive;
  show('result');
  viewer.open(made.width, made.height);
  markDoubts(find('joints'), made);
}

async function savePng(): Promise<void> {
  const source = sweeper ?? pictureSweep;
  if (!source) return;
  try {
    download(source instanceof Panorama ? await source.encode() : await source.png(), fileName('png'));
  } catch {
    toast('The PNG could not be made: memory is short');
  }
}

async function again(): Promise<void> {
  const wasClip = isClip;
  leave();
  if (wasClip) show('welcome');
  else await startCamera();
}

// --- Files ---

async function useFiles(chosen: File[]): Promise<void> {
  if (chosen.length === 0) return;
  leave();
  isClip = true;
  pictures = chosen.filter(({ type }) => type.startsWith('image/')).sort((a, b) => a.name.localeCompare(b.name, undefined, { numeric: true }));
  if (pictures.length > 1) {
    showPictures();
    return;
  }
  video.src = URL.createObjectURL(chosen[0]!);
  try {
    await new Promise((resolve, reject) => {
      video.onloadeddata = resolve;
      video.onerror = () => reject(new Error(video.error?.message || 'not playable'));
    });
  } catch (reason) {
    const trouble = pictures.length === 1 ? kStill : { ...kUnplayable, details: String(reason) };
    fail(trouble, [kFiles, kCamera]);
    return;
  }
  video.onended = () => void compose();
  await beginSweep();
  if (document.body.dataset['state'] === 'sweeping') await video.play();
}

function showPictures(): void {
  const items = pictures.map((file, index) => {
    const item = document.createElement('li');
    const thumbnail = document.createElement('img');
    thumbnail.src = URL.createObjectURL(file);
    thumbnail.alt = `Picture ${index + 1}: ${file.name}`;
    thumbnail.onload = () => URL.revokeObjectURL(thumbnail.src);
    item.append(thumbnail);
    return item;
  });
  find('thumbnails').replaceChildren(...items);
  show('pictures');
}

async function stitchPictures(): Promise<void> {
  const number = ++sweepNumber;
  find('composing-text').textContent = `Composing ${pictures.length} pictures`;
  strip.begin(pictures.length);
  show('composing');
  try {
    const overlap = find<HTMLInputElement>('overlap').valueAsNumber;
    const sweep = await Panorama.create({ ...options(), overlap, direction: picturesDirection() });
    pictureSweep?.close();
    pictureSweep = sweep;
    for (const file of pictures) {
      const bitmap = await createImageBitmap(file).catch(() => null);
      if (!bitmap) throw new Error(`${file.name} cannot be read`);
      strip.add(bitmap, bitmap.width, bitmap.height);
      strip.draw(picturesDirection(), null, find<HTMLCanvasElement>('composing-strip'));
      await sweep.picture(bitmap).finally(() => bitmap.close());
    }
    const made = await sweep.run({ output: 'blob', type: 'image/jpeg', quality: 0.92 });
    if (number === sweepNumber) await present(made, pictures.length);
  } catch (reason) {
    if (number === sweepNumber) fail(sweepTrouble(reason), [{ label: 'Back to the pictures', take: () => show('pictures') }, kFiles]);
  }
}

// --- Options ---

async function describeEngine(): Promise<void> {
  const { kernels } = await Panorama.prepare();
  if (kernels === 'scalar')
    find('engine-note').textContent = 'This browser has no vector instructions: composing takes longer.';
}

// --- Wiring ---

function wire(): void {
  const on = (id: string, action: () => void) => find(id).addEventListener('click', action);
  on('open-camera', () => void startCamera());
  on('choose-files', () => files.click());
  on('shutter', () => void (document.body.dataset['state'] === 'sweeping' ? compose() : beginSweep()));
  on('leave', () => {
    leave();
    show('welcome');
  });
  on('options', () => settings.showModal());
  on('cancel', () => void again());
  on('stitch', () => void stitchPictures());
  on('save', () => panorama && download(panorama.blob, fileName('jpg')));
  on('save-png', () => void savePng());
  on('share', () => panorama && void share(panorama.blob).catch(() => toast('It could not be shared')));
  on('save-recording', () => archive && download(archive.toBlob(), fileName('tar')));
  on('again', () => void again());
  for (const button of document.querySelectorAll<HTMLElement>('[data-go]'))
    button.addEventListener('click', () => show(button.dataset['go'] as State));
  files.addEventListener('change', () => {
    void useFiles([...(files.files ?? [])]);
    files.value = '';
  });
  find<HTMLInputElement>('overlap').addEventListener('input', (event) => {
    find('overlap-value').textContent = (event.target as HTMLInputElement).value;
  });
  document.addEventListener('dragover', (event) => event.preventDefault());
  document.addEventListener('drop', (event) => {
    event.preventDefault();
    void useFiles([...(event.dataTransfer?.files ?? [])]);
  });
}

wire();
if (typeof WebAssembly === 'undefined' || typeof Worker === 'undefined') fail(kTooOld, []);
else
  describeEngine()
    .then(() => (document.body.dataset['prepared'] = ''))
    .catch((reason) => fail(sweepTrouble(reason), [{ label: 'Load the page again', take: () => location.reload() }]));

