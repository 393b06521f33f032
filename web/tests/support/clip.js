// Clips of the simulated camera, from recordings whose previews are as large as their pictures.
import { closeSync, existsSync, openSync, readFileSync, renameSync, writeSync } from 'node:fs';
import { join } from 'node:path';
import { kOutput, recordDemo } from './native.js';
import { readCalls } from './recording.js';

/** Names of the raw files of a recording's previews, in their order. */
export function previewFiles(folder) {
  return readCalls(folder)
    .filter(({ name }) => name === 'detect_frame_to_stitch')
    .map(({ fields }) => join(folder, fields.file));
}

/** NV12 without padding as the three planes of I420. */
export function planar(nv12, width, height) {
  const luma = width * height;
  const out = Buffer.allocUnsafe((luma * 3) / 2);
  nv12.copy(out, 0, 0, luma);
  for (let i = 0; i < luma / 4; ++i) {
    out[luma + i] = nv12[luma + 2 * i];
    out[luma + luma / 4 + i] = nv12[luma + 2 * i + 1];
  }
  return out;
}

/**
 * A clip for Chromium's fake camera: still for a while, so that a person finds the button; a pan;
 * still again. Returns its file and the recording that it was made of.
 */
export function makeClip(name, { direction = 'right', width = 640, height = 480, still = 60, every = 1, options = [] } = {}) {
  const size = `${width}x${height}`;
  const folder = recordDemo(`clip-${name}`, '--direction', direction, '--size', size, '--preview', size, ...options);
  const file = join(kOutput, `${name}.y4m`);
  if (existsSync(file)) return { file, folder };
  const frames = previewFiles(folder).filter((_, index) => index % every === 0);
  const order = [...Array(still).fill(frames[0]), ...frames, ...Array(still * 4).fill(frames.at(-1))];
  const out = openSync(`${file}.part`, 'w');
  writeSync(out, `YUV4MPEG2 W${width} H${height} F30:1 Ip A1:1 C420jpeg\n`);
  for (const frame of order) {
    writeSync(out, 'FRAME\n');
    writeSync(out, planar(readFileSync(frame), width, height));
  }
  closeSync(out);
  renameSync(`${file}.part`, file);
  return { file, folder };
}
