// The package alone in a page of Chromium, with frames of a recording at hand.
import { once } from 'node:events';
import { readFileSync } from 'node:fs';
import { createServer } from 'node:http';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { fileServer } from '../../scripts/serve.js';
import { readCalls } from './recording.js';

const kPackage = fileURLToPath(new URL('../../dist/', import.meta.url));

/**
 * Opens an empty page that can import ./index.js. In it, `repeatSweep(options)` repeats the recording's calls and tells
 * how long each took.
 */
export async function openHarness(browser, folder) {
  const packageFiles = fileServer(kPackage);
  const server = createServer((request, response) => {
    const [, kind, name] = request.url.split('/');
    if (kind === 'raw') response.end(readFileSync(join(folder, name)));
    else if (kind === 'empty') response.writeHead(200, { 'Content-Type': 'text/html' }).end('<!doctype html><title>Empty</title>');
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
  globalThis.repeatSweep = async (options = {}) => {
    const { overlap, direction } = calls.find(({ name }) => name === 'set_parameters').fields;
    const start = performance.now();
    const sweep = await Panorama.create({ overlap: +overlap, direction, ...options });
    const previews = [];
    for (const { name, fields } of calls) {
      if (name === 'detect_frame_to_stitch') previews.push((await sweep.preview(frame(fields))).milliseconds);
      if (name === 'stitch_one_image') await sweep.picture(frame(fields));
    }
    const { width, height, milliseconds } = await sweep.run();
    sweep.close();
    return { width, height, previews, run: milliseconds, all: performance.now() - start };
  };
}
