import assert from 'node:assert/strict';
import test from 'node:test';
import {deflateSync} from 'node:zlib';
import {fromBase64, inflate, NO_NUMBER, readFloats, readInts, readShorts} from '../../src/codec';

/** The planes of words of some bytes each, the lowest bytes first. */
function planes(words: number[], size: number): Uint8Array {
  const bytes = new Uint8Array(words.length * size);
  words.forEach((word, i) => {
    for (let plane = 0; plane < size; ++plane) bytes[plane * words.length + i] = (word >>> (8 * plane)) & 255;
  });
  return bytes;
}

test('integers are sums of zigzag differences', () => {
  // 5, 5 - 3, 2 + 2147483647 which wraps around
  assert.deepEqual([...readInts(planes([10, 5, 4294967294], 4))], [5, 2, -2147483647]);
});

test('floats come back bit by bit', () => {
  const values = new Float32Array([1.5, -0.1, NaN, 3e38]);
  const words = [...new Uint32Array(values.buffer)];
  const read = readFloats(planes(words, 4));
  assert.deepEqual([...read], [...values]);
});

test('each column of shorts begins anew, and differences wrap', () => {
  // Column one: 32767, then -32768 (one further); column two: -1, 1.
  const values = readShorts(planes([65534, 2, 1, 4], 2), 2);
  assert.deepEqual([...values], [32767, NO_NUMBER, -1, 1]);
});

test('base64 and deflate are undone', async () => {
  const bytes = Uint8Array.from({length: 1000}, (_, i) => (i * i) % 251);
  const text = Buffer.from(deflateSync(bytes)).toString('base64');
  assert.deepEqual(await inflate(fromBase64(`\n${text}\n`)), bytes);
});

test('nothing is something too', () => {
  assert.equal(readInts(new Uint8Array()).length, 0);
  assert.equal(readShorts(new Uint8Array(), 0).length, 0);
});
