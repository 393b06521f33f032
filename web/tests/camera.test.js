// The page with a camera, in Chromium: the fake camera shows a pan of the simulated one.
import assert from 'node:assert/strict';
import { mkdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { inState, inspect, launch, openPage, photograph, serve } from './support/browser.js';
import { makeClip, previewFiles } from './support/clip.js';
import { matcher, meanDifference } from './support/frames.js';
import { kOutput, nativeAnswers, ozrPano } from './support/native.js';
import { qualityOf, readCalls } from './support/recording.js';
import { unpack } from './support/tar.js';

const kPhone = { viewport: { width: 390, height: 780 }, deviceScaleFactor: 2, hasTouch: true };
const kUpright = { width: 480, height: 640 }; // of the camera's frames
const kSideways = { viewport: { width: 780, height: 390 }, deviceScaleFactor: 2, hasTouch: true };

let server;
before(async () => (server = await serve()));
after(() => server.close());

/** Makes one panorama; the sweep ends when it is full, or `pictures` are taken. */
async function sweepOnce(page, pictures) {
  await page.click('#open-camera, #again >> visible=true');
  await inState(page, 'ready');
  await page.click('#shutter');
  await inState(page, 'sweeping');
  await page.waitForFunction(
    (count) => document.body.dataset.state !== 'sweeping' || parseInt(document.querySelector('#strip').ariaLabel) >= count,
    pictures,
  );
}

async function finish(page) {
  if ((await page.getAttribute('body', 'data-state')) === 'sweeping') await page.click('#shutter');
  await page.waitForSelector('body:is([data-state="result"], [data-state="trouble"])');
  assert.equal(await page.evaluate(() => document.body.dataset.state), 'result', await page.textContent('#trouble-title'));
}

async function download(page, button) {
  const [file] = await Promise.all([page.waitForEvent('download'), page.click(button)]);
  return readFileSync(await file.path());
}

test('a classic sweep, without the network, is the native panorama of the same frames', async (t) => {
  const { file, folder } = makeClip('pan-right-upright', { ...kUpright, options: ['--pictures', '10'] });
  const browser = await launch(file);
  t.after(() => browser.close());
  const context = await browser.newContext(kPhone);
  const { page, complaints } = await openPage(context, `${server.url}?record`);
  const ready = await page.evaluate(() => performance.now());
  const findings = await inspect(page, 'welcome');
  await context.setOffline(true);
  await page.locator('[name=quality][value=classic]').evaluate((choice) => (choice.checked = true));
  await page.evaluate(() => {
    globalThis.blocks = [];
    new PerformanceObserver((list) => globalThis.blocks.push(...list.getEntries().map(({ duration }) => duration))).observe({ type: 'longtask' });
  });
  await sweepOnce(page, 3);
  await photograph(page, 'sweeping');
  await page.waitForFunction(() => parseInt(document.querySelector('#strip').ariaLabel) >= 6);
  const blocks = await page.evaluate(() => globalThis.blocks);
  const start = performance.now();
  await finish(page);
  const wait = performance.now() - start;
  t.diagnostic(`milliseconds: ${ready.toFixed(0)} until the page can begin, ${wait.toFixed(0)} from the last press to the panorama`);
  findings.push(...(await inspect(page, 'result')));
  t.diagnostic(`blocks of the page's thread over 50 ms while it swept: ${blocks.length} (${blocks.map(Math.round)} ms)`);
  assert.deepEqual(findings, []);

  const recording = await replayNatively(page, 'from-chromium', 'classic');
  await compareWithClip(page, recording, folder);
  const jpeg = await download(page, '#save');
  assert.deepEqual([...jpeg.subarray(0, 2)], [0xff, 0xd8]);
  assert.deepEqual(complaints, []);
});

// The recording of the browser, repeated natively: every answer and the panorama, byte for byte.
async function replayNatively(page, name, quality) {
  const recording = join(kOutput, name);
  rmSync(recording, { recursive: true, force: true });
  unpack(await download(page, '#save-recording'), recording);
  assert.equal(qualityOf(readCalls(recording)), quality);
  await ozrPano('replay', recording);
  return recording;
}

// The frames that the camera showed, as they were before any browser had them, give the
// same panorama but for colours.
async function compareWithClip(page, recording, folder) {
  const clip = previewFiles(folder).map((name) => readFileSync(name));
  const match = matcher(clip, kUpright.width, kUpright.height);
  const original = join(kOutput, 'from-chromium-original');
  mkdirSync(original, { recursive: true });
  const calls = readCalls(recording);
  let last = -1;
  let text = '';
  for (const { name, fields } of calls) {
    if (fields.file) {
      const { index, difference } = match(readFileSync(join(recording, fields.file)));
      assert.ok(difference < 2.5, `${fields.file} is no frame of the clip: ${difference}`);
      assert.ok(index >= last, `${fields.file} shows frame ${index} after ${last}`);
      last = index;
      writeFileSync(join(original, fields.file), clip[index]);
    }
    text += `${[name, ...Object.entries(fields).map(([field, value]) => `${field}=${value}`)].join(' ')}\n`;
  }
  writeFileSync(join(original, 'calls.txt'), text);
  const [ours, truth] = await Promise.all([nativeAnswers(recording), nativeAnswers(original)]);
  const announced = (answers) => answers.filter(({ call, result }) => call === 'preview' && result > 0).map(({ result, x, y }) => [result, x, y]);
  assert.deepEqual(announced(ours), announced(truth));
  const joined = (answers) => answers.filter(({ call }) => call === 'joint').map(({ first, second, numbers: [x, y] }) => [first, second, x, y]);
  assert.ok(joined(ours).length >= 5);
  assert.deepEqual(joined(ours), joined(truth));
  const sizeOf = (answers) => answers.filter(({ call }) => call === 'panorama').map(({ width, height }) => [width, height])[0];
  assert.deepEqual(sizeOf(ours), sizeOf(truth));

  const shown = await page.evaluate(() => [document.querySelector('#panorama').naturalWidth, document.querySelector('#panorama').naturalHeight]);
  assert.deepEqual(shown, sizeOf(truth));
  await comparePixels(page, original);
}

async function comparePixels(page, original) {
  // Native picture of the same frames, decoded by the browser beside its own.
  const { Panorama } = await import('ozr-panorama');
  const { repeat } = await import('./support/recording.js');
  const { panorama } = await repeat(Panorama, original);
  const own = await page.evaluate(async () => {
    const image = document.querySelector('#panorama');
    const canvas = new OffscreenCanvas(image.naturalWidth, image.naturalHeight);
    const context = canvas.getContext('2d');
    context.drawImage(image, 0, 0);
    const { data } = context.getImageData(0, 0, canvas.width, canvas.height);
    let text = '';
    for (let i = 0; i < data.length; i += 1 << 15) text += String.fromCharCode(...data.subarray(i, i + (1 << 15)));
    return btoa(text);
  });
  const difference = meanDifference(Buffer.from(own, 'base64'), panorama.rgba);
  assert.ok(difference < 4, `mean difference ${difference}`);
}

for (const direction of ['left', 'down', 'up']) {
  test(`a refined sweep ${direction} finds its direction and is repeated natively, a second one follows`, async (t) => {
    const vertical = direction !== 'left';
    const size = vertical ? kUpright : { width: 640, height: 480 };
    const { file } = makeClip(`pan-${direction}`, { direction, ...size, options: ['--pictures', '5'] });
    const browser = await launch(file);
    t.after(() => browser.close());
    const context = await browser.newContext({ ...(vertical ? kPhone : kSideways), colorScheme: 'dark' });
    const { page, complaints } = await openPage(context, `${server.url}?record`);
    await sweepOnce(page, 3);
    assert.equal(await page.getAttribute('.arrow', 'data-direction'), direction);
    await photograph(page, `sweeping-${direction}`);
    await finish(page);
    const findings = await inspect(page, `result-${direction}`);
    const { width, height } = await page.evaluate(() => {
      const { naturalWidth: width, naturalHeight: height } = document.querySelector('#panorama');
      return { width, height };
    });
    assert.ok(vertical ? height > 1.3 * size.height : width > 1.3 * size.width, `${width} x ${height}`);
    await replayNatively(page, `from-chromium-${direction}`, 'refined');
    await sweepOnce(page, 2);
    await page.click('#leave');
    await inState(page, 'welcome');
    assert.deepEqual([findings, complaints], [[], []]);
  });
}

test('a pan that is too fast is said, and the place is lost', async (t) => {
  const { file } = makeClip('pan-fast', { every: 11, options: ['--pictures', '10'] });
  const browser = await launch(file);
  t.after(() => browser.close());
  const { page } = await openPage(await browser.newContext(kPhone), server.url);
  await page.evaluate(() => {
    globalThis.hints = [];
    const hint = document.querySelector('#hint');
    new MutationObserver(() => globalThis.hints.push(hint.textContent)).observe(hint, { childList: true, characterData: true, subtree: true });
  });
  await sweepOnce(page, 99);
  await inState(page, 'trouble');
  const findings = await inspect(page, 'too-fast');
  assert.equal(await page.textContent('#trouble-title'), 'Too fast to follow');
  assert.ok((await page.evaluate(() => globalThis.hints)).includes('Slower'));
  assert.deepEqual(findings, []);
});

test('one picture is no panorama; nobody is shut out on the way there', async (t) => {
  const { file } = makeClip('still', { every: 1e6 });
  const browser = await launch(file);
  t.after(() => browser.close());
  const { page } = await openPage(await browser.newContext(kSideways), server.url);
  const findings = await inspect(page, 'welcome-sideways');
  await page.click('#open-camera');
  await inState(page, 'ready');
  findings.push(...(await inspect(page, 'ready-sideways')));
  await page.click('#options');
  await page.waitForSelector('dialog[open]');
  findings.push(...(await inspect(page, 'options')));
  await page.keyboard.press('Escape');
  await page.click('#shutter');
  await inState(page, 'sweeping');
  await page.waitForFunction(() => parseInt(document.querySelector('#strip').ariaLabel) === 1);
  findings.push(...(await inspect(page, 'sweeping-begun')));
  await page.click('#shutter');
  await inState(page, 'trouble');
  assert.equal(await page.textContent('#trouble-title'), 'The camera hardly moved');
  assert.deepEqual(findings, []);
});

test('a camera that is missing, and one that is refused', async (t) => {
  for (const [name, title, options] of [
    ['no-camera', 'There is no camera', { allow: true }],
    ['refused', 'The camera is blocked', { allow: false, fake: true }],
  ]) {
    const { file } = makeClip('pan-right', { options: ['--pictures', '10'] });
    const browser = await launch(options.fake ? file : null, options);
    t.after(() => browser.close());
    const context = await browser.newContext({ ...kPhone, colorScheme: name === 'refused' ? 'dark' : 'light', permissions: [] });
    const { page } = await openPage(context, server.url);
    await page.click('#open-camera');
    await inState(page, 'trouble');
    const findings = await inspect(page, name);
    assert.equal(await page.textContent('#trouble-title'), title);
    assert.deepEqual(findings, []);
  }
});

test('everything is reached with the keyboard', async (t) => {
  const { file } = makeClip('pan-right', { options: ['--pictures', '10'] });
  const browser = await launch(file);
  t.after(() => browser.close());
  const { page } = await openPage(await browser.newContext(kSideways), server.url);
  const focused = () => page.evaluate(() => document.activeElement.id);
  await page.keyboard.press('Tab');
  assert.equal(await focused(), 'open-camera');
  await page.keyboard.press('Enter');
  await inState(page, 'ready');
  assert.equal(await focused(), 'shutter');
  await page.keyboard.press('Tab');
  await page.keyboard.press('Enter');
  await page.waitForSelector('dialog[open]');
  await page.keyboard.press('Escape');
  await page.focus('#shutter');
  await page.keyboard.press('Enter');
  await inState(page, 'sweeping');
  await page.waitForFunction(() => parseInt(document.querySelector('#strip').ariaLabel) >= 3);
  await page.keyboard.press('Enter');
  await inState(page, 'result');
  assert.equal(await focused(), 'stage');
  const sheet = () => page.getAttribute('#sheet', 'style');
  const whole = await sheet();
  await page.keyboard.press('+');
  assert.notEqual(await sheet(), whole);
  await page.keyboard.press('0');
  assert.equal(await sheet(), whole);
});
