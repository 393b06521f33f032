// Files that a person might choose: pictures of a sweep, and a video of one.
import { existsSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { launch } from './browser.js';
import { previewFiles } from './clip.js';
import { kOutput, ozrPano, recordDemo } from './native.js';
import { readCalls } from './recording.js';

/** PNG files of a sweep's pictures, in their order. */
export async function pictureFiles() {
  const folder = recordDemo('sweep-right-files', '--direction', 'right', '--size', '640x480', '--pictures', '4');
  const pictures = readCalls(folder).filter(({ name }) => name === 'stitch_one_image');
  const files = pictures.map((_, index) => join(kOutput, `files-${index + 1}.png`));
  for (const [index, { fields }] of pictures.entries())
    await ozrPano('convert', join(folder, fields.file), files[index], '--from', 'nv12', '--size', '640x480', '--format', 'rgba');
  return files;
}

/** A WebM of a pan, made by Chromium; made once. */
export async function videoFile() {
  const file = join(kOutput, 'pan.webm');
  if (existsSync(file)) return file;
  const size = ['--size', '640x480', '--preview', '640x480'];
  const folder = recordDemo('sweep-right-video', '--direction', 'right', ...size, '--pictures', '5');
  const frames = previewFiles(folder).filter((_, index) => index % 2 === 0);
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
    const text = await page.evaluate(record, frames.length);
    writeFileSync(file, Buffer.from(text, 'base64'));
  } finally {
    await browser.close();
  }
  return file;
}

// Runs in the page: shows the frames on a canvas that is recorded, slowly enough for any machine's encoder.
async function record(count) {
  const canvas = document.createElement('canvas');
  [canvas.width, canvas.height] = [640, 480];
  const context = canvas.getContext('2d');
  const init = { format: 'NV12', codedWidth: 640, codedHeight: 480, timestamp: 0 };
  const frames = [];
  for (let i = 0; i < count; ++i)
    frames.push(new VideoFrame(await (await fetch(`/${i}`)).arrayBuffer(), init));
  context.drawImage(frames[0], 0, 0);
  const stream = canvas.captureStream(0);
  const recorder = new MediaRecorder(stream, { mimeType: 'video/webm;codecs=vp8', videoBitsPerSecond: 2e7 });
  const pieces = [];
  recorder.ondataavailable = ({ data }) => pieces.push(data);
  recorder.start();
  for (const frame of frames) {
    context.drawImage(frame, 0, 0);
    stream.getVideoTracks()[0].requestFrame();
    await new Promise((resolve) => setTimeout(resolve, 130));
  }
  await new Promise((resolve) => {
    recorder.onstop = resolve;
    recorder.stop();
  });
  const bytes = new Uint8Array(await new Blob(pieces).arrayBuffer());
  let text = '';
  for (let i = 0; i < bytes.length; i += 1 << 15) text += String.fromCharCode(...bytes.subarray(i, i + (1 << 15)));
  return btoa(text);
}
