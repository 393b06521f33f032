// What is wrong, in words that help.
import { PanoramaError } from '../src/errors.js';

export interface Trouble {
  readonly title: string;
  readonly text: string;
  /** For those who look closer. */
  readonly details: string;
}

const kCamera: Record<string, readonly [string, string]> = {
  NotAllowedError: [
    'The camera is blocked',
    'Allow it for this page, by the sign beside the address or in the settings of the browser, and try again.',
  ],
  NotFoundError: ['There is no camera', 'Connect one, or use a video or pictures that you have.'],
  OverconstrainedError: ['There is no camera', 'Connect one, or use a video or pictures that you have.'],
  NotReadableError: ['The camera is busy', 'Another program or page uses it. Close that, and try again.'],
  AbortError: ['The camera stopped', 'Connect it again, or try once more.'],
  SecurityError: [
    'The camera needs a safe address',
    'Browsers give it to pages from https or from this machine only. Open the address that begins with https.',
  ],
};

const kLibrary: Partial<Record<PanoramaError['code'], readonly [string, string]>> = {
  ozr_err_nomem: ['Memory is short', 'Close other pages, or take fewer pictures.'],
  ozr_err_not_supported: [
    'The pictures do not fit together',
    'They overlap too little, or the camera left its line too far. Turn more slowly and hold it level.',
  ],
  ozr_err_invalid_argument: [
    'The pictures do not fit together',
    'They differ in size or shape, or do not overlap. Keep the device upright or sideways for a whole sweep.',
  ],
  ozr_err_out_of_bound: ['Too many pictures', 'At most ten make one panorama. Leave some out.'],
};

/** What went wrong with the camera. */
export function cameraTrouble(reason: unknown): Trouble {
  const name = reason instanceof DOMException ? reason.name : '';
  const [title, text] = kCamera[name] ?? ['The camera cannot be used', 'Try again, or use a video or pictures.'];
  return { title, text, details: String(reason) };
}

/** What went wrong with a sweep. */
export function sweepTrouble(reason: unknown): Trouble {
  if (reason instanceof PanoramaError) {
    const [title, text] = kLibrary[reason.code] ?? ['No panorama came of it', 'Try again, and turn more slowly.'];
    return { title, text, details: [reason.message, ...reason.chain].join('\n') };
  }
  return { title: 'No panorama came of it', text: 'Try again.', details: String(reason) };
}

export const kLostTrack: Trouble = {
  title: 'Too fast to follow',
  text: 'The camera moved so quickly that its place was lost. Use what you have, or turn more slowly next time.',
  details: '',
};

export const kTurned: Trouble = {
  title: 'The device was turned',
  text: 'Keep it upright or sideways for a whole sweep. Use what you have, or begin again.',
  details: '',
};

export const kUnplugged: Trouble = {
  title: 'The camera stopped',
  text: 'It was disconnected, or taken by another program. Use what you have, or begin again.',
  details: '',
};

export const kTooOld: Trouble = {
  title: 'This browser is too old',
  text: 'The panorama is made on your device with WebAssembly, which this browser does not have. A newer one does.',
  details: '',
};

export const kUnplayable: Trouble = {
  title: 'This file cannot be read',
  text: 'The browser can play neither a video nor a picture in it. MP4, WebM, JPEG and PNG work almost everywhere.',
  details: '',
};

export const kStill: Trouble = {
  title: 'The camera hardly moved',
  text: 'One picture makes no panorama. Turn to one side until the strip has filled a little.',
  details: '',
};
