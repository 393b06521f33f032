// Node.js: for tests, and for servers that stitch.
import { readFile } from 'node:fs/promises';
import { Worker, type TransferListItem } from 'node:worker_threads';
import { moduleName } from './module.js';
import type { Channel, Platform } from './platform.js';
import type { Kernels } from './types.js';

const modules = new Map<Kernels, Promise<WebAssembly.Module>>();

export const node: Platform = {
  module(kernels) {
    let module = modules.get(kernels);
    if (!module) {
      const file = new URL(`./${moduleName(kernels)}`, import.meta.url);
      module = readFile(file).then((bytes) => WebAssembly.compile(new Uint8Array(bytes)));
      modules.set(kernels, module);
    }
    return module;
  },

  async start(receive, fail): Promise<Channel> {
    const worker = new Worker(new URL('./worker_node.js', import.meta.url));
    worker.on('message', receive);
    worker.on('error', fail);
    return {
      post: (message, transfer) => worker.postMessage(message, transfer as TransferListItem[]),
      terminate: () => void worker.terminate(),
    };
  },
};
