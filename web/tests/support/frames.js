// Finds the frames of a clip in what a browser made of them.

/** Every 16th pixel of every 16th row: enough to tell frames apart. */
function sample(luma, width, height) {
  const out = [];
  for (let y = 8; y < height; y += 16) for (let x = 8; x < width; x += 16) out.push(luma[y * width + x]);
  return out;
}

const distance = (a, b) => a.reduce((sum, value, i) => sum + Math.abs(value - b[i]), 0) / a.length;

/** Returns a function from a frame to {index, difference} of the most similar one of `frames`. */
export function matcher(frames, width, height) {
  const samples = frames.map((frame) => sample(frame, width, height));
  return (frame) => {
    const wanted = sample(frame, width, height);
    const differences = samples.map((candidate) => distance(candidate, wanted));
    const difference = Math.min(...differences);
    return { index: differences.indexOf(difference), difference };
  };
}

/** Mean absolute difference of two pictures of one size. */
export function meanDifference(a, b) {
  let sum = 0;
  for (let i = 0; i < a.length; ++i) sum += Math.abs(a[i] - b[i]);
  return sum / a.length;
}
