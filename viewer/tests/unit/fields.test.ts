import assert from 'node:assert/strict';
import test from 'node:test';
import {NO_NUMBER} from '../../src/codec';
import {Field, type FieldDescription} from '../../src/data';
import {largestDisplacement, quantities, sixAt, valueOf, valuesOf, vonMises} from '../../src/fields';

const quantity = (key: string) => quantities().find((one) => one.key === key)!;
const about = (scale: [number, number], kept: [boolean, boolean]): FieldDescription => ({scale, kept, low: [], high: [], largest: null, section: ''});

/** A field of columns of steps. */
function field(columns: number[][], scale: [number, number] = [1, 1], kept: [boolean, boolean] = [true, columns.length > 3], most = 100): Field {
  return new Field(Int16Array.from(columns.flat()), columns[0].length, about(scale, kept), [most, most]);
}

test('a value is its step times the scale over the most steps', () => {
  const one = field([[50, -100], [0, 0], [25, 0]], [8, 0]);
  assert.equal(one.value(0, 0), 4);
  assert.equal(one.value(1, 0), -8);
  assert.equal(one.value(0, 2), 2);
  assert.equal(one.value(0, 4), 0);
});

test('modes are added with their coordinates', () => {
  const parts = [{weight: 2, field: field([[100], [0], [0]])}, {weight: -1, field: field([[50], [100], [0]])}];
  assert.deepEqual(sixAt(parts, 0).slice(0, 3), [1.5, -1, 0]);
  const values = valuesOf(parts, quantity('displacement.magnitude'), 1, null);
  assert.ok(Math.abs(values.relative[0] * values.unit - Math.hypot(1.5, 1)) < 1e-6);
  assert.ok(Math.abs(largestDisplacement(parts) - Math.hypot(1.5, 1)) < 1e-6);
});

test('von Mises stress of a pull is the pull, of shear the square root of three times the shear', () => {
  assert.equal(vonMises([7, 0, 0, 0, 0, 0], 'stress'), 7);
  assert.ok(Math.abs(vonMises([0, 0, 0, 2, 0, 0], 'stress') - 2 * Math.sqrt(3)) < 1e-12);
  assert.equal(vonMises([3, 3, 3, 0, 0, 0], 'stress'), 0);
  assert.ok(Math.abs(vonMises([3, -1.5, -1.5, 0, 0, 0], 'strain') - 3) < 1e-12);
});

test('the von Mises stress of a superposition is that of the sum, not the sum', () => {
  const pull = field([[100], [0], [0], [0], [0], [0]]);
  const values = valuesOf([{weight: 1, field: pull}, {weight: -1, field: pull}], quantity('stress.mises'), 1, null);
  assert.ok(Math.abs(values.relative[0]) < 1e-6);
});

test('nodes that a kind does not know have no value', () => {
  const values = valuesOf([{weight: 1, field: field([[100, 50], [0, 0], [0, 0], [0, 0], [0, 0], [0, 0]])}], quantity('stress.xx'), 3, Int32Array.from([1, -1, 0]));
  assert.ok(Math.abs(values.relative[0] * values.unit - 0.5) < 1e-6);
  assert.ok(Number.isNaN(values.relative[1]));
  assert.ok(Math.abs(values.high - 1) < 1e-6);
});

test('what is no number stays none and does not spoil the range', () => {
  const one = field([[NO_NUMBER, 50], [0, 0], [0, 0]]);
  const values = valuesOf([{weight: 1, field: one}], quantity('displacement.magnitude'), 2, null);
  assert.ok(Number.isNaN(values.relative[0]));
  assert.ok(Math.abs(values.high - 0.5) < 1e-6);
  assert.ok(Number.isNaN(one.value(0, 0)));
});

test('values far beyond single precision keep their size', () => {
  const values = valuesOf([{weight: 1, field: field([[100], [0], [0]], [1e300, 0])}], quantity('displacement.x'), 1, null);
  assert.ok(Math.abs(values.high / 1e300 - 1) < 1e-6);
});

test('no modes give no values', () => {
  const values = valuesOf([], quantity('displacement.x'), 2, null);
  assert.ok(values.relative.every(Number.isNaN));
  assert.equal(largestDisplacement([]), 0);
});

test('components and magnitudes are those of the quantity', () => {
  const six = [1, 2, 2, 3, 4, 0];
  assert.equal(valueOf(six, quantity('displacement.magnitude')), 3);
  assert.equal(valueOf(six, quantity('rotation.magnitude')), 5);
  assert.equal(valueOf(six, quantity('rotation.y')), 4);
  assert.equal(valueOf(six, quantity('stress.xy')), 3);
});
