// Files lie beside this one. They are fetched once: sweeps that come later need no network.
import { PanoramaError } from './errors.js';
import type { Channel, Platform } from './platform.js';
import type { FromWorker } from './protocol.js';
import type { Kernels } from './types.js';

const modules = new Map<Kernels, Promise<WebAssembly.Module>>();
let workerUrl: Promise<string> | undefined;

// Written out, so that bundlers find the files.
function moduleUrl(kernels: Kernels): URL {
  return kernels === 'wasm128'
    ? new URL('./ozr_panorama.wasm', import.meta.url)
    : new URL('./ozr_panorama-scalar.wasm', import.meta.url);
}

async function fetched(url: URL): Promise<Response> {
  const response = await fetch(url);
  if (!response.ok)
    throw new PanoramaError(`${url.pathname} cannot be loaded: ${response.status}`, 'ozr_err_general');
  return response;
}

// Servers that do not know the type of .wasm files are common, and streaming insists on it.
async function compile(kernels: Kernels): Promise<WebAssembly.Module> {
  const response = await fetched(moduleUrl(kernels));
  if (response.headers.get('content-type') === 'application/wasm' && 'compileStreaming' in WebAssembly)
    return WebAssembly.compileStreaming(response);
  return WebAssembly.compile(await response.arrayBuffer());
}

async function loadWorker(): Promise<string> {
  const response = await fetched(new URL('./worker.js', import.meta.url));
  return URL.createObjectURL(new Blob([await response.text()], { type: 'text/javascript' }));
}

// A failure is not kept: the next call tries again.
function kept<T>(promise: Promise<T>, forget: () => void): Promise<T> {
  promise.catch(forget);
  return promise;
}

export const browser: Platform = {
  module(kernels) {
    let module = modules.get(kernels);
    if (!module) {
      module = kept(compile(kernels), () => modules.delete(kernels));
      modules.set(kernels, module);
    }
    return module;
  },

  async start(receive, fail): Promise<Channel> {
    workerUrl ??= kept(loadWorker(), () => (workerUrl = undefined));
    const worker = new Worker(await workerUrl, { name: 'ozr-panorama' });
    worker.onmessage = (event: MessageEvent<FromWorker>) => receive(event.data);
    worker.onerror = (event) => fail(new Error(event.message || 'the worker could not be started'));
    worker.onmessageerror = () => fail(new Error('a message could not be read'));
    return {
      post: (message, transfer) => worker.postMessage(message, transfer),
      terminate: () => worker.terminate(),
    };
  },
};
