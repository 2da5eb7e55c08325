import assert from 'node:assert/strict';
import test from 'node:test';
import type {Body, Description, FieldDescription} from '../../src/data';
import {coordinates, matched, peaks, quantityOf, rangeOverModes} from '../../src/model';
import {rounded} from '../../src/panel-node';
import {firstState} from '../../src/state';

const description = {
  match: [
    {second: 0, parts: [[1, -1]], mac: 0.99},
    {second: 1, parts: [[2, 0.6], [3, 0.8]], mac: 1},
    {second: 2, parts: [[2, -0.8], [3, 0.6]], mac: 1},
  ],
} as unknown as Description;

test('a matched mode moves with the other, with its sign', () => {
  assert.deepEqual([...matched(description, new Map([[1, 2]]))], [[0, -2]]);
});

test('a mode of a space is a mixture of the other space', () => {
  const second = matched(description, new Map([[2, 1]]));
  assert.deepEqual([...second], [[1, 0.6], [2, -0.8]]);
});

test('a mode without a partner leaves the other body at rest', () => {
  assert.equal(matched(description, new Map([[7, 1]])).size, 0);
});

test('coordinates come from the mode, the sliders or the history', () => {
  const state = firstState();
  state.mode = 4;
  assert.deepEqual([...coordinates(state)], [[4, 1]]);
  state.motion = 'mix';
  state.mix = new Map([[1, 0.5], [2, 0]]);
  assert.deepEqual([...coordinates(state)], [[1, 0.5]]);
  state.motion = 'history';
  assert.equal(coordinates(state).size, 0);
  state.history = {times: Float64Array.of(0, 1, 2), modes: [3], values: [Float64Array.of(0, -8, 2)]};
  state.time = 1.5;
  assert.deepEqual([...coordinates(state)], [[3, -3]]);
  assert.deepEqual([...peaks(state)], [[3, 8]], 'the strongest of the whole history count, not those of the moment');
});

test('the range of all modes is around zero for components and from zero for magnitudes', () => {
  const field = (low: number, high: number, largest: number): FieldDescription =>
    ({scale: [1, 0], kept: [true, false], low: [low], high: [high], largest, largestRotation: 0, section: ''});
  const body = {about: {modes: [{shape: field(-3, 1, 4)}, {shape: field(-1, 2, 5)}, {}]}} as unknown as Body;
  assert.deepEqual(rangeOverModes(body, quantityOf('displacement.x')!), {low: -3, high: 3});
  assert.deepEqual(rangeOverModes(body, quantityOf('displacement.magnitude')!), {low: 0, high: 5});
  assert.equal(quantityOf('nothing'), null);
});

test('a rounded value has no more digits than its steps give', () => {
  assert.equal(rounded(12.3456, 0.0001), '12.35');
  assert.equal(rounded(12.3456, 0.5), '12');
  assert.equal(rounded(0.2, 0.5), '0');
  assert.equal(rounded(10.3, 3), '10');
  assert.equal(rounded(NaN, 1), '\u2013');
  assert.equal(rounded(7, 0), '7');
});
