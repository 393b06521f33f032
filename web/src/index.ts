/**
 * Panoramas from a camera's sweep, in the browser.
 *
 * ```ts
 * const sweep = await Panorama.create({ quality: 'refined' });
 * while (!(await sweep.follow(video)).ended) await nextFrame();
 * const { blob } = await sweep.run({ output: 'blob', type: 'image/jpeg' });
 * sweep.close();
 * ```
 *
 * @packageDocumentation
 */
import { usePlatform } from './panorama.js';
import { browser } from './platform_browser.js';

usePlatform(browser);

export { Panorama } from './panorama.js';
export { PanoramaError, type ErrorCode } from './errors.js';
export type * from './types.js';
