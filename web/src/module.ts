// The WebAssembly module: choosing the build, and the few functions that it asks for.
import type { Kernels } from './types.js';

/** The functions of bridge/ozr_web.cpp. Pointers and 32-bit numbers are both `number`. */
export interface Exports {
  readonly memory: WebAssembly.Memory;
  _initialize(): void;
  ozr_web_level(): number;
  ozr_web_banner(): number;
  ozr_web_answer(): number;
  ozr_web_chain(): number;
  ozr_web_create(direction: number, overlap: number, quality: number): number;
  ozr_web_frame(use: number, isRgba: number, width: number, height: number): number;
  ozr_web_nv12(use: number): number;
  ozr_web_preview(): number;
  ozr_web_picture(hasOffset: number, x: number, y: number): number;
  ozr_web_run(): number;
  ozr_web_panorama_nv12(): number;
  ozr_web_panorama_rgba(): number;
  ozr_web_joint(index: number): number;
  ozr_web_camera(index: number): number;
  ozr_web_destroy(): void;
}

// The smallest module with a vector instruction: a function that makes a
// vector of nothing and drops it.
const kVectorProbe = new Uint8Array([
  0, 97, 115, 109, 1, 0, 0, 0, 1, 4, 1, 96, 0, 0, 3, 2, 1, 0, 10, 9, 1, 7, 0, 65, 0, 253, 15, 26, 11,
]);

/** The faster build that this engine takes. */
export function bestKernels(): Kernels {
  return WebAssembly.validate(kVectorProbe) ? 'wasm128' : 'scalar';
}

/** File name of a build. */
export function moduleName(kernels: Kernels): string {
  return kernels === 'wasm128' ? 'ozr_panorama.wasm' : 'ozr_panorama-scalar.wasm';
}

const kNotSupported = 58; // ENOTSUP of WASI: there are no files

/** An instance with memory of its own. */
export function instantiate(module: WebAssembly.Module): Exports {
  let memory: WebAssembly.Memory;
  const imports = {
    env: { emscripten_notify_memory_growth: () => {} },
    wasi_snapshot_preview1: {
      // The library measures its own steps; nanoseconds, 64 bits.
      clock_time_get: (_clock: number, _precision: bigint, out: number) => {
        const now = BigInt(Math.round((performance.timeOrigin + performance.now()) * 1e6));
        new DataView(memory.buffer).setBigUint64(out, now, true);
        return 0;
      },
      fd_write: () => kNotSupported,
      fd_close: () => kNotSupported,
      fd_seek: () => kNotSupported,
      proc_exit: (status: number) => {
        throw new Error(`the library stopped with status ${status}`);
      },
    },
  };
  const exports = new WebAssembly.Instance(module, imports).exports as unknown as Exports;
  memory = exports.memory;
  exports._initialize();
  return exports;
}
