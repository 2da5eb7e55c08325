import assert from 'node:assert/strict';
import test from 'node:test';
import {coordinatesAt, readHistory} from '../../src/history';

const NUMBERS = [7, 8, 9];

test('a head line says which modes the columns are', () => {
  const history = readHistory('time,9,7\n0,1,2\n0.5,3,4\n', NUMBERS);
  assert.deepEqual(history.modes, [2, 0]);
  assert.deepEqual([...history.times], [0, 0.5]);
  assert.deepEqual(history.values.map((column) => [...column]), [[1, 3], [2, 4]]);
});

test('heads may have words and units around the number', () => {
  assert.deepEqual(readHistory('t;q7;mode 8;"q[9]"\n0;1;2;3\n1;1;2;3', NUMBERS).modes, [0, 1, 2]);
});

test('without a head line the columns are the modes in their order', () => {
  assert.deepEqual(readHistory('0 1 2 3\n1 1 2 3\n', NUMBERS).modes, [0, 1, 2]);
  assert.throws(() => readHistory('0,1,2\n1,1,2\n', NUMBERS), /line 1: 2 columns behind the time, and the body has 3 modes/);
});

test('semicolons go with decimal commas', () => {
  assert.deepEqual([...readHistory('t;7\n0;1,5\n0,5;2,5\n', NUMBERS).values[0]], [1.5, 2.5]);
});

test('blank lines, remarks, a byte order mark and line ends of any kind are no trouble', () => {
  assert.equal(readHistory('\ufefft,7\r\n# remark\r\n\r\n0,1\r\n1,2\r\n', NUMBERS).times.length, 2);
});

test('what cannot be read is told with its line', () => {
  assert.throws(() => readHistory('', NUMBERS), /empty/);
  assert.throws(() => readHistory('t,12\n0,1\n1,1', NUMBERS), /line 1: the column "12" names no mode/);
  assert.throws(() => readHistory('t,7,7\n0,1,1\n1,1,1', NUMBERS), /a mode has two columns/);
  assert.throws(() => readHistory('t,7\n0,1\n1,x', NUMBERS), /line 3: value 2 is not a number/);
  assert.throws(() => readHistory('t,7\n0,1\n1,2,3', NUMBERS), /line 3: 3 values instead of 2/);
  assert.throws(() => readHistory('t,7\n0,1\n0,2', NUMBERS), /line 3: the time does not grow/);
  assert.throws(() => readHistory('t,7\n0,Infinity\n1,2', NUMBERS), /line 2: value 2 is not a number/);
  assert.throws(() => readHistory('t,7\n0,1', NUMBERS), /two times/);
  assert.throws(() => readHistory('7', NUMBERS), /a time and at least one/);
});

test('between two times the coordinates lie on a line, outside they stay', () => {
  const history = readHistory('t,7\n0,0\n1,10\n3,30', NUMBERS);
  assert.deepEqual(coordinatesAt(history, 0.25), [2.5]);
  assert.deepEqual(coordinatesAt(history, 2), [20]);
  assert.deepEqual(coordinatesAt(history, -1), [0]);
  assert.deepEqual(coordinatesAt(history, 9), [30]);
});
