// The camera: opening it, keeping its exposure still, and its frames.

/**
 * Asks for the camera at the back, at a size that is quick everywhere.
 * Rejects as getUserMedia does.
 */
export async function openCamera(video: HTMLVideoElement): Promise<MediaStream> {
  if (!navigator.mediaDevices?.getUserMedia) throw new DOMException('no camera interface', 'SecurityError');
  const stream = await navigator.mediaDevices.getUserMedia({
    audio: false,
    video: { facingMode: 'environment', width: { ideal: 1280 }, height: { ideal: 960 }, frameRate: { ideal: 30 } },
  });
  video.srcObject = stream;
  await video.play();
  return stream;
}

/** Lets go of the camera. */
export function closeCamera(video: HTMLVideoElement): void {
  const stream = video.srcObject;
  if (stream instanceof MediaStream) stream.getTracks().forEach((track) => track.stop());
  video.srcObject = null;
  if (video.src) URL.revokeObjectURL(video.src);
  video.removeAttribute('src');
}

/**
 * Holds exposure, white balance and focus where they are, or lets them go again. Neighbours of one
 * brightness join better; a camera that cannot do it is used as it is.
 */
export async function holdExposure(stream: MediaStream, held: boolean): Promise<void> {
  const [track] = stream.getVideoTracks();
  const can = (track?.getCapabilities?.() ?? {}) as Record<string, unknown>;
  const mode = held ? 'manual' : 'continuous';
  const wanted: Record<string, string> = {};
  for (const name of ['exposureMode', 'whiteBalanceMode', 'focusMode']) {
    const modes = can[name];
    if (Array.isArray(modes) && modes.includes(mode)) wanted[name] = mode;
  }
  if (!track || Object.keys(wanted).length === 0) return;
  try {
    await track.applyConstraints({ advanced: [wanted as MediaTrackConstraintSet] });
  } catch {
    // The camera has changed its mind: nothing is lost but evenness.
  }
}

/** Calls back with every new frame until `stop` is called. */
export function eachFrame(video: HTMLVideoElement, use: () => void): { stop(): void } {
  let running = true;
  const next = () => {
    if (!running) return;
    if (typeof video.requestVideoFrameCallback === 'function') video.requestVideoFrameCallback(step);
    else requestAnimationFrame(step);
  };
  const step = () => {
    if (!running) return;
    use();
    next();
  };
  next();
  return { stop: () => void (running = false) };
}
