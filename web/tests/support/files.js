// Files that a person might choose: pictures of a sweep, and a video of one.
import { existsSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { launch } from './browser.js';
import { previewFiles } from './clip.js';
import { kOutput, ozrPano, recordDemo } from './native.js';
import { readCalls } from './recording.js';
import { webm } from './webm.js';

/** PNG files of a sweep's pictures, in their order. */
export async function pictureFiles() {
  const folder = recordDemo('sweep-right-files', '--direction', 'right', '--size', '640x480', '--pictures', '4');
  const pictures = readCalls(folder).filter(({ name }) => name === 'stitch_one_image');
  const files = pictures.map((_, index) => join(kOutput, `files-${index + 1}.png`));
  for (const [index, { fields }] of pictures.entries())
    await ozrPano('convert', join(folder, fields.file), files[index], '--from', 'nv12', '--size', '640x480', '--format', 'rgba');
  return files;
}

/** A WebM of a pan, encoded by Chromium; made once. It goes on a little after the fifth picture. */
export async function videoFile() {
  const file = join(kOutput, 'pan.webm');
  if (existsSync(file)) return file;
  const size = ['--size', '640x480', '--preview', '640x480'];
  const folder = recordDemo('sweep-right-video', '--direction', 'right', ...size, '--pictures', '6');
  const frames = previewFiles(folder);
  const browser = await launch(null);
  try {
    const page = await browser.newPage();
    await page.route('**/*', (route) => {
      const { pathname } = new URL(route.request().url());
      const index = Number(pathname.slice(1));
      if (pathname === '/') return route.fulfill({ contentType: 'text/html', body: '<!doctype html>' });
      return route.fulfill({ body: readFileSync(frames[index]) });
    });
    await page.goto('http://localhost/');
    const encoded = await page.evaluate(encode, frames.length);
    const chunks = encoded.map(({ data, isKey }) => ({ data: Buffer.from(data, 'base64'), isKey }));
    writeFileSync(file, webm(chunks, { width: 640, height: 480, milliseconds: 1000 / 30 }));
  } finally {
    await browser.close();
  }
  return file;
}

// Runs in the page: encodes the frames.
async function encode(count) {
  const text = (bytes) => {
    let characters = '';
    for (let i = 0; i < bytes.length; i += 1 << 15) characters += String.fromCharCode(...bytes.subarray(i, i + (1 << 15)));
    return btoa(characters);
  };
  const frames = [];
  const encoder = new VideoEncoder({
    output: (chunk) => {
      const bytes = new Uint8Array(chunk.byteLength);
      chunk.copyTo(bytes);
      frames.push({ data: text(bytes), isKey: chunk.type === 'key' });
    },
    error: (reason) => {
      throw reason;
    },
  });
  encoder.configure({ codec: 'vp8', width: 640, height: 480, bitrate: 8e6, framerate: 30 });
  for (let i = 0; i < count; ++i) {
    const init = { format: 'NV12', codedWidth: 640, codedHeight: 480, timestamp: i * 33333 };
    const frame = new VideoFrame(await (await fetch(`/${i}`)).arrayBuffer(), init);
    encoder.encode(frame, { keyFrame: i % 30 === 0 });
    frame.close();
  }
  await encoder.flush();
  return frames;
}
