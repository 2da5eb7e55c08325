import assert from 'node:assert/strict';
import test from 'node:test';
import {type Fragment, readFragment, writeFragment} from '../../src/fragment';

test('what is written is read again', () => {
  const f: Fragment = {
    mode: -3, phase: Math.PI / 2, playing: false, amplitude: 2.5, speed: 0.5, field: 'stress.mises', units: 'mm-t-s-N', theme: 'dark',
    node: 51, mix: [[7, 0.5], [9, -1]], show: {mesh: true, ghost: false},
    camera: {position: [1, 2, 3], target: [0.5, 0, -0.25], up: [0, 0, 1]},
  };
  const again = readFragment(`#${writeFragment(f)}`);
  assert.ok(Math.abs(again.phase! - f.phase!) < 1e-4);
  assert.deepEqual({...again, phase: 0}, {...f, phase: 0});
});

test('what stands at its default is left out', () => {
  assert.equal(writeFragment({mode: 7, playing: true, phase: 1, amplitude: 1, speed: 1, show: {}}), 'mode=7');
});

test('what cannot be read is left out, and does no harm', () => {
  assert.deepEqual(readFragment('#mode=x&camera=1,2&amplitude=-1&speed=0&mix=7:a&node=1.5&phase=NaN'), {});
  assert.deepEqual(readFragment(''), {});
  assert.deepEqual(readFragment('#%%%'), {});
});
