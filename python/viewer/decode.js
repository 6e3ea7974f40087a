// What the page holds, as typed arrays. Numbers are little-endian, as browsers are.

function bytes(text) {
  const raw = atob(text);
  const out = new Uint8Array(raw.length);
  for (let k = 0; k < raw.length; ++k) out[k] = raw.charCodeAt(k);
  return out.buffer;
}

export const floats = (text) => new Float32Array(bytes(text));
export const shorts = (text) => new Int16Array(bytes(text));
export const indices = (text) => new Uint32Array(bytes(text));

export const smallIndices = (text) => new Uint16Array(bytes(text));

/** Polylines, { points, ends }, as the pairs of points of their segments. */
export function segments({ points, ends }) {
  const from = floats(points);
  const stops = indices(ends);
  const out = new Float32Array(6 * (from.length / 3 - stops.length));
  let start = 0;
  let at = 0;
  for (const end of stops) {
    for (let k = start; k + 1 < end; ++k, at += 6) out.set(from.subarray(3 * k, 3 * k + 6), at);
    start = end;
  }
  return out;
}

/** The triangles of facets of four corners; one of three corners repeats its last. */
export function triangles(corners) {
  const out = [];
  for (let k = 0; k < corners.length; k += 4) {
    const [a, b, c, d] = corners.subarray(k, k + 4);
    if (a !== b && b !== c && a !== c) out.push(a, b, c);
    if (c !== d && a !== d && a !== c) out.push(a, c, d);
  }
  return out;
}

/** The sides of facets, each once, as pairs of vertices. */
export function sides(corners, vertexCount) {
  const seen = new Set();
  const out = [];
  for (let k = 0; k < corners.length; k += 4) {
    for (let i = 0; i < 4; ++i) {
      const a = corners[k + i];
      const b = corners[k + ((i + 1) & 3)];
      const key = a < b ? a * vertexCount + b : b * vertexCount + a;
      if (a === b || seen.has(key)) continue;
      seen.add(key);
      out.push(a, b);
    }
  }
  return out;
}
