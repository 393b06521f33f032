// The library's result codes as an exception.

/** The library's names of its result codes. */
export type ErrorCode =
  | 'ozr_err_general'
  | 'ozr_err_not_supported'
  | 'ozr_err_invalid_argument'
  | 'ozr_err_out_of_bound'
  | 'ozr_err_interrupted'
  | 'ozr_err_invalid_status'
  | 'ozr_err_nomem'
  | 'ozr_err_database_full';

const kCodes: readonly ErrorCode[] = [
  'ozr_err_general',
  'ozr_err_not_supported',
  'ozr_err_invalid_argument',
  'ozr_err_out_of_bound',
  'ozr_err_interrupted',
  'ozr_err_invalid_status',
  'ozr_err_nomem',
  'ozr_err_database_full',
];

/** An error without its stack, as it travels between threads. @internal */
export interface ErrorRecord {
  readonly message: string;
  readonly code: ErrorCode;
  readonly chain: readonly string[];
}

/** Why a call failed. */
export class PanoramaError extends Error {
  override readonly name = 'PanoramaError';
  /** The library's name of the reason. */
  readonly code: ErrorCode;
  /**
   * The lines of the library's error log, innermost first; empty where the library was not asked.
   */
  readonly chain: readonly string[];

  constructor(message: string, code: ErrorCode, chain: readonly string[] = []) {
    super(message);
    this.code = code;
    this.chain = chain;
  }

  /** @internal */
  toRecord(): ErrorRecord {
    return { message: this.message, code: this.code, chain: this.chain };
  }

  /** @internal */
  static from(record: ErrorRecord): PanoramaError {
    return new PanoramaError(record.message, record.code, record.chain);
  }
}

/** The name of a negative result. @internal */
export function codeName(result: number): ErrorCode {
  return kCodes[-result - 1] ?? 'ozr_err_general';
}

/** Whatever was thrown, as a PanoramaError. @internal */
export function asPanoramaError(reason: unknown): PanoramaError {
  if (reason instanceof PanoramaError) return reason;
  const message = reason instanceof Error ? reason.message : String(reason);
  // An engine that cannot give a module or a buffer its memory throws a RangeError.
  return new PanoramaError(message, reason instanceof RangeError ? 'ozr_err_nomem' : 'ozr_err_general');
}
