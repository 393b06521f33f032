// Debian's Chromium with the page, served on a port of its own.
import { once } from 'node:events';
import { mkdirSync, readFileSync } from 'node:fs';
import { createServer } from 'node:http';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { chromium } from 'playwright-core';
import { fileServer } from '../../scripts/serve.js';
import { kOutput } from './native.js';

export const kScreenshots = join(kOutput, 'screenshots');
mkdirSync(kScreenshots, { recursive: true });
const kAxe = readFileSync(fileURLToPath(new URL('../../node_modules/axe-core/axe.min.js', import.meta.url)), 'utf8');

/** Serves the page; `close` ends it. */
export async function serve() {
  const server = createServer(fileServer());
  server.listen(0, '127.0.0.1');
  await once(server, 'listening');
  const close = () => {
    server.closeAllConnections();
    server.close();
  };
  return { url: `http://localhost:${server.address().port}/`, close };
}

/** Chromium whose camera shows a clip; without one it has no camera. */
export function launch(clip, { allow = true } = {}) {
  const camera = clip ? ['--use-fake-device-for-media-stream', `--use-file-for-fake-video-capture=${clip}`] : [];
  const asked = allow ? ['--use-fake-ui-for-media-stream'] : [];
  return chromium.launch({
    executablePath: '/usr/bin/chromium',
    args: ['--no-sandbox', '--autoplay-policy=no-user-gesture-required', ...asked, ...camera],
  });
}

/**
 * Opens the page and waits until it can work without the network. Complaints
 * of the page fail the test.
 */
export async function openPage(context, url) {
  const page = await context.newPage();
  const complaints = [];
  page.on('pageerror', (error) => complaints.push(String(error)));
  page.on('console', (message) => message.type() === 'error' && complaints.push(message.text()));
  await page.goto(url);
  await page.waitForSelector('body[data-prepared]');
  return { page, complaints };
}

export const inState = (page, state, timeout = 60_000) =>
  page.waitForSelector(`body[data-state="${state}"]`, { timeout });

/** Keeps a picture of the page. */
export const photograph = (page, name) => page.screenshot({ path: join(kScreenshots, `${name}.png`) });

/**
 * Keeps a picture of the page, and looks for what shuts people out. Returns the serious findings.
 * Holds the page up for so long that a camera that moves is lost.
 */
export async function inspect(page, name) {
  await photograph(page, name);
  // The page's own policy forbids foreign scripts; the inspector is not part of the page.
  await page.evaluate(kAxe);
  const { violations } = await page.evaluate(() => globalThis.axe.run(document, { resultTypes: ['violations'] }));
  return violations
    .filter(({ impact }) => impact === 'serious' || impact === 'critical')
    .map(({ id, nodes }) => `${name}: ${id}: ${nodes.map(({ html }) => html).join(' ')}`);
}
