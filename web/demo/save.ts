// Getting a picture out of the page.

/** A name with the time, so that several sort. */
export function fileName(extension: string, now = new Date()): string {
  const two = (value: number) => String(value).padStart(2, '0');
  const day = `${now.getFullYear()}${two(now.getMonth() + 1)}${two(now.getDate())}`;
  return `panorama-${day}-${two(now.getHours())}${two(now.getMinutes())}${two(now.getSeconds())}.${extension}`;
}

/** Offers a file for download. */
export function download(blob: Blob, name: string): void {
  const url = URL.createObjectURL(blob);
  const link = document.createElement('a');
  link.href = url;
  link.download = name;
  link.click();
  setTimeout(() => URL.revokeObjectURL(url), 60_000);
}

const asFile = (blob: Blob) => new File([blob], fileName('jpg'), { type: blob.type });

/** Whether this browser hands pictures to other applications. */
export function canShare(blob: Blob): boolean {
  return typeof navigator.canShare === 'function' && navigator.canShare({ files: [asFile(blob)] });
}

/** Hands a picture on; a person who changes their mind is no error. */
export async function share(blob: Blob): Promise<void> {
  try {
    await navigator.share({ files: [asFile(blob)], title: 'Panorama' });
  } catch (reason) {
    if (!(reason instanceof DOMException && reason.name === 'AbortError')) throw reason;
  }
}
