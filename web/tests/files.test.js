// Pictures and a video instead of the camera, in Chromium and in Firefox.
import assert from 'node:assert/strict';
import { writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import puppeteer from 'puppeteer-core';
import { inState, inspect, kScreenshots, launch, openPage, serve } from './support/browser.js';
import { pictureFiles, videoFile } from './support/files.js';
import { kOutput, ozrPano } from './support/native.js';

let server;
before(async () => (server = await serve()));
after(() => server.close());

const kSize = () => {
  const { naturalWidth, naturalHeight } = document.querySelector('#panorama');
  return [naturalWidth, naturalHeight];
};

/** What the native program makes of the pictures. */
async function nativeSize(files) {
  const { stdout } = await ozrPano('stitch', '--direction', 'right', '--overlap', '70', '--json', '-o', join(kOutput, 'files.png'), ...files);
  return JSON.parse(stdout).panorama_size;
}

test('pictures in Chromium', async (t) => {
  const files = await pictureFiles();
  const browser = await launch(null);
  t.after(() => browser.close());
  const { page, complaints } = await openPage(await browser.newContext({ viewport: { width: 1100, height: 720 } }), server.url);
  const findings = await inspect(page, 'welcome-desk');
  await page.setInputFiles('#files', files);
  await inState(page, 'pictures');
  await page.fill('#overlap', '70');
  findings.push(...(await inspect(page, 'pictures')));
  await page.click('#stitch');
  await inState(page, 'result');
  findings.push(...(await inspect(page, 'result-desk')));
  assert.deepEqual(await page.evaluate(kSize), await nativeSize(files));

  // A file that is none, and the way back.
  await page.click('#again');
  await inState(page, 'welcome');
  const broken = join(kOutput, 'broken.webm');
  writeFileSync(broken, 'no video');
  await page.setInputFiles('#files', broken);
  await inState(page, 'trouble');
  findings.push(...(await inspect(page, 'unreadable')));
  assert.equal(await page.textContent('#trouble-title'), 'This file cannot be read');
  assert.deepEqual([findings, complaints], [[], []]);
});

test('composing can be cancelled', async (t) => {
  const files = await pictureFiles();
  const browser = await launch(null);
  t.after(() => browser.close());
  const { page } = await openPage(await browser.newContext(), server.url);
  // As if the machine were slow: pictures take their time to be decoded.
  await page.evaluate(() => {
    const decode = globalThis.createImageBitmap;
    globalThis.createImageBitmap = async (...args) => {
      await new Promise((resolve) => setTimeout(resolve, 600));
      return decode(...args);
    };
  });
  await page.setInputFiles('#files', files);
  await inState(page, 'pictures');
  await page.click('#stitch');
  await inState(page, 'composing');
  await page.waitForTimeout(1500); // two pictures
  const findings = await inspect(page, 'composing');
  await page.click('#cancel');
  await inState(page, 'welcome');
  await page.waitForTimeout(1500);
  assert.equal(await page.getAttribute('body', 'data-state'), 'welcome');
  assert.deepEqual(findings, []);
});

test('a video in Chromium', async (t) => {
  const video = await videoFile();
  const browser = await launch(null);
  t.after(() => browser.close());
  const { page, complaints } = await openPage(await browser.newContext(), server.url);
  await page.setInputFiles('#files', video);
  await inState(page, 'result');
  const [width, height] = await page.evaluate(kSize);
  assert.ok(width > 1200 && height > 400, `${width} x ${height}`);
  assert.deepEqual(complaints, []);
});

test('pictures and a video in Firefox', async (t) => {
  const files = await pictureFiles();
  const video = await videoFile();
  const browser = await puppeteer.launch({ browser: 'firefox', executablePath: '/usr/bin/firefox-esr', headless: true });
  t.after(() => browser.close());
  const page = await browser.newPage();
  await page.goto(server.url);
  const inState = (state) => page.waitForSelector(`body[data-state="${state}"]`, { timeout: 60_000 });
  await page.waitForSelector('body[data-prepared]');
  const input = await page.$('#files');

  await input.uploadFile(...files);
  await inState('pictures');
  await page.evaluate(() => (document.querySelector('#overlap').value = '70'));
  await page.click('#stitch');
  await inState('result');
  assert.deepEqual(await page.evaluate(kSize), await nativeSize(files));
  await page.screenshot({ path: join(kScreenshots, 'firefox.png') });

  await page.click('#again');
  await inState('welcome');
  await input.uploadFile(video);
  await inState('result');
  const [width, height] = await page.evaluate(kSize);
  assert.ok(width > 1200 && height > 400, `${width} x ${height}`);
});
