// What a browser and Node.js do differently: where the module comes from, and what a worker is.
import type { FromWorker, ToWorker } from './protocol.js';
import type { Kernels } from './types.js';

/** A worker that was started. */
export interface Channel {
  post(message: ToWorker, transfer: Transferable[]): void;
  /** Ends the worker at once, whatever it does, and frees its memory. */
  terminate(): void;
}

export interface Platform {
  /** The compiled module of a build; fetched and compiled once. */
  module(kernels: Kernels): Promise<WebAssembly.Module>;
  /** Starts a worker. `fail` is called when it cannot go on. */
  start(receive: (message: FromWorker) => void, fail: (reason: Error) => void): Promise<Channel>;
}
