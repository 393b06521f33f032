// The package's entry for Node.js.
import { usePlatform } from './panorama.js';
import { node } from './platform_node.js';

usePlatform(node);

export { Panorama } from './panorama.js';
export { PanoramaError, type ErrorCode } from './errors.js';
export type * from './types.js';
