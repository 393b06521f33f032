// The package alone in a page of Chromium, with frames of a recording at hand.
import { once } from 'node:events';
import { readFileSync } from 'node:fs';
import { createServer } from 'node:http';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { fileServer } from '../../scripts/serve.js';
import { readCalls } from './recording.js';

// A page that is alone in its process gets clocks of 5 microseconds instead of 100.
const kAlone = {
  'Content-Type': 'text/html',
  'Cross-Origin-Opener-Policy': 'same-origin',
  'Cross-Origin-Embedder-Policy': 'require-corp',
};
const kPackage = fileURLToPath(new URL('../../dist/', import.meta.url));

/**
 * Opens an empty page that can import ./index.js. In it, `timeSweep(options)` repeats the
 * recording's calls and tells how long each took.
 */
export async function openHarness(browser, folder) {
  const packageFiles = fileServer(kPackage);
  const server = createServer((request, response) => {
    const [, kind, name] = request.url.split('/');
    if (kind === 'raw') response.end(readFileSync(join(folder, name)));
    else if (kind === 'empty') response.writeHead(200, kAlone).end('<!doctype html><title>Empty</title>');
    else packageFiles(request, response);
  });
  server.listen(0, '127.0.0.1');
  await once(server, 'listening');
  const url = `http://localhost:${server.address().port}`;
  const page = await (await browser.newContext()).newPage();
  await page.goto(`${url}/empty`);
  await page.evaluate(prepare, readCalls(folder));
  const close = () => {
    server.closeAllConnections();
    server.close();
  };
  return { page, close };
}

// Runs in the page.
async function prepare(calls) {
  const { Panorama } = await import('/index.js');
  const frames = new Map();
  for (const { fields } of calls)
    if (fields.file && !frames.has(fields.file))
      frames.set(fields.file, new Uint8Array(await (await fetch(`/raw/${fields.file}`)).arrayBuffer()));
  const frame = ({ file, width, height }) => ({ format: 'nv12', width: +width, height: +height, data: frames.get(file) });
  globalThis.Panorama = Panorama;
  /**
   * Repeats the recording's calls. Tells how long each kind of call took, in
   * milliseconds of the library's work.
   */
  globalThis.timeSweep = async (options = {}) => {
    const { overlap, direction } = calls.find(({ name }) => name === 'set_parameters').fields;
    const start = performance.now();
    const sweep = await Panorama.create({ overlap: +overlap, direction, ...options });
    const times = { preview: [], picture: [], run: [] };
    for (const { name, fields } of calls) {
      if (name === 'detect_frame_to_stitch') times.preview.push((await sweep.preview(frame(fields))).milliseconds);
      if (name === 'stitch_one_image') times.picture.push((await sweep.picture(frame(fields))).milliseconds);
    }
    const { milliseconds } = await sweep.run();
    sweep.close();
    return { ...times, run: [milliseconds], previews: times.preview.length, all: performance.now() - start };
  };
}
