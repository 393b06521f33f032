// The worker of Node.js.
import { parentPort } from 'node:worker_threads';
import { Host } from './host.js';

const host = new Host((message, transfer) => parentPort!.postMessage(message, transfer));
parentPort!.on('message', (message) => host.receive(message));
