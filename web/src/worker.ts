// The worker of a browser. Bundled into one file, so that it can be started
// without asking the network again.
import { Host } from './host.js';

// The page's types are checked here too; of a worker's own scope only this is used.
const scope = globalThis as unknown as {
  onmessage: ((event: MessageEvent) => void) | null;
  postMessage(message: unknown, transfer: Transferable[]): void;
};
const host = new Host((message, transfer) => scope.postMessage(message, transfer));
scope.onmessage = (event) => host.receive(event.data);
