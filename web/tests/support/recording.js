// Reads recordings (docs/recording.md) and repeats them through the package.
import { readFileSync } from 'node:fs';
import { join } from 'node:path';

/** The calls of a recording: {name, fields, returned}. */
export function readCalls(folder) {
  const calls = [];
  for (const line of readFileSync(join(folder, 'calls.txt'), 'utf8').split('\n')) {
    const [name, ...rest] = line.split(' ');
    const fields = Object.fromEntries(rest.map((word) => word.split('=')));
    if (name === 'returned') Object.assign(calls.at(-1), { returned: Number(rest[0]), found: fields });
    else if (['set_parameters', 'set_quality', 'detect_frame_to_stitch', 'stitch_one_image', 'run'].includes(name))
      calls.push({ name, fields });
  }
  return calls;
}

/** The quality that the recorded sweep had. */
export function qualityOf(calls) {
  return calls.find(({ name }) => name === 'set_quality')?.fields.quality ?? 'classic';
}

/** The image that a call was given. */
export function readFrame(folder, { file, width, height }) {
  const data = readFileSync(join(folder, file));
  return { format: 'nv12', width: Number(width), height: Number(height), data: new Uint8Array(data) };
}

/** A recording's text without the names of its files, which writers choose. */
export function comparableText(text) {
  return text.replace(/ file=\S+/g, '').replace(/^#.*\n/gm, '');
}

/**
 * Repeats a recording, in its own quality unless told. Returns what the package answered,
 * and its own recording of it.
 */
export async function repeat(Panorama, folder, options = {}) {
  const calls = readCalls(folder);
  const { overlap, direction } = calls.find(({ name }) => name === 'set_parameters').fields;
  let text = '';
  const record = ({ name, bytes }) => {
    if (name === 'calls.txt') text += new TextDecoder().decode(bytes);
  };
  const sweep = await Panorama.create({ direction, overlap: Number(overlap), quality: qualityOf(calls), record, ...options });
  try {
    const previews = [];
    for (const { name, fields } of calls) {
      if (name === 'detect_frame_to_stitch') previews.push(await sweep.preview(readFrame(folder, fields)));
      if (name === 'stitch_one_image') await sweep.picture(readFrame(folder, fields));
    }
    return { previews, panorama: await sweep.run(), text, abilities: sweep.abilities };
  } finally {
    sweep.close();
  }
}
