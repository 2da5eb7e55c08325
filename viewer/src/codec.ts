// Reads what viewer/page/encode.cpp writes: base64, deflate, byte planes, differences.

/** The short that stands for "not a number". */
export const NO_NUMBER = -32768;

export function fromBase64(text: string): Uint8Array {
  const binary = atob(text.trim());
  const bytes = new Uint8Array(binary.length);
  for (let i = 0; i < binary.length; ++i) bytes[i] = binary.charCodeAt(i);
  return bytes;
}

export async function inflate(bytes: Uint8Array): Promise<Uint8Array> {
  const stream = new Blob([bytes as BlobPart]).stream().pipeThrough(new DecompressionStream('deflate'));
  return new Uint8Array(await new Response(stream).arrayBuffer());
}

/** Four planes of differences, zigzag coded. */
export function readInts(planes: Uint8Array): Int32Array {
  const n = planes.length >> 2;
  const values = new Int32Array(n);
  let before = 0;
  for (let i = 0; i < n; ++i) {
    const word = planes[i] | (planes[n + i] << 8) | (planes[2 * n + i] << 16) | (planes[3 * n + i] << 24);
    before = (before + ((word >>> 1) ^ -(word & 1))) | 0;
    values[i] = before;
  }
  return values;
}

export function readFloats(planes: Uint8Array): Float32Array {
  const n = planes.length >> 2;
  const bytes = new Uint8Array(4 * n);
  for (let plane = 0; plane < 4; ++plane) for (let i = 0; i < n; ++i) bytes[4 * i + plane] = planes[plane * n + i];
  return new Float32Array(bytes.buffer);
}

/** Columns of differences modulo 65536, zigzag coded, in two planes over all columns. */
export function readShorts(planes: Uint8Array, columnLength: number): Int16Array {
  const n = planes.length >> 1;
  const values = new Int16Array(n);
  let before = 0;
  for (let i = 0; i < n; ++i) {
    if (i % columnLength === 0) before = 0;
    const word = planes[i] | (planes[n + i] << 8);
    before = (before + ((word >>> 1) ^ -(word & 1))) & 0xffff;
    values[i] = before;
  }
  return values;
}
