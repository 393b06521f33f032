// The native build: what the package is compared with, and the simulated camera.
import { execFile, execFileSync } from 'node:child_process';
import { existsSync, mkdirSync, readFileSync, rmSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { promisify } from 'node:util';
import { qualityOf, readCalls } from './recording.js';

export const kRoot = fileURLToPath(new URL('../../../', import.meta.url));
const kBuild = join(kRoot, 'build/linux64'); // scripts/test has built it

/** Where the tests keep what they make. */
export const kOutput = join(kRoot, 'build/web-test');
mkdirSync(kOutput, { recursive: true });

const run = promisify(execFile);

export async function ozrPano(...args) {
  return run(join(kBuild, 'ozr-pano'), args, { maxBuffer: 1 << 26 });
}

/** A recording of the simulated camera; made once. Returns its folder. */
export function recordDemo(name, ...options) {
  const folder = join(kOutput, name);
  if (existsSync(join(folder, 'calls.txt')) && readFileSync(join(folder, 'calls.txt'), 'utf8').endsWith('end\n'))
    return folder;
  rmSync(folder, { recursive: true, force: true });
  const args = ['demo', '--quality', 'classic', '--record', folder, '-o', `${folder}.png`, ...options];
  execFileSync(join(kBuild, 'ozr-pano'), args, { stdio: 'ignore' });
  return folder;
}

/**
 * What the native library answers to a recording's calls, in its own quality unless told: an
 * array of {call, result, ...}.
 */
export async function nativeAnswers(folder, { level = 'ssse3', quality = qualityOf(readCalls(folder)), rounds = 1 } = {}) {
  const args = [folder, level, quality, String(rounds)];
  const { stdout } = await run(join(kBuild, 'ozr_web_native'), args, { maxBuffer: 1 << 26 });
  return JSON.parse(stdout);
}
