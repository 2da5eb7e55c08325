import assert from 'node:assert/strict';
import test from 'node:test';
import type {UnitDescription} from '../../src/data';
import {brief, factor, hertz, symbol, systemName} from '../../src/units';

const mm: UnitDescription = {labels: ['MEGAGRAM', 'MILLIMETER', 'SECOND', 'NEWTON'], multipliers: [1000, 1e-3, 1, 1]};
const si: UnitDescription = {labels: ['KILOGRAM', 'METER', 'SECOND', 'NEWTON'], multipliers: [1, 1, 1, 1]};
const unknown: UnitDescription = {labels: ['STONE', 'METER', 'SECOND', 'NEWTON'], multipliers: [null, 1, 1, 1]};

test('symbols of derived units are made of those of their parts', () => {
  assert.equal(symbol(mm, 'stress'), 'N/mm\u00b2');
  assert.equal(symbol(mm, 'inertia'), 't mm\u00b2');
  assert.equal(systemName(si), 'm, kg, s, N');
});

test('a body without labels counts as one in SI', () => {
  assert.equal(symbol({labels: ['', '', '', ''], multipliers: [1, 1, 1, 1]}, 'length'), 'm');
});

test('values are brought to other units by dimension', () => {
  assert.equal(factor(mm, si, 'length'), 1e-3);
  assert.ok(Math.abs(factor(mm, si, 'stress')! - 1e6) < 1e-6);
  assert.ok(Math.abs(factor(mm, si, 'inertia')! - 1e-3) < 1e-15);
  assert.equal(factor(mm, si, 'angle'), 1);
});

test('an unknown label has no factor, and its name stays', () => {
  assert.equal(factor(unknown, si, 'mass'), null);
  assert.equal(factor(unknown, si, 'length'), 1);
  assert.equal(symbol(unknown, 'mass'), 'STONE');
});

test('frequencies are told in hertz whatever the time unit', () => {
  assert.equal(hertz({labels: ['', '', 'MILLISECOND', ''], multipliers: [1, 1, 1e-3, 1]}, 2), 2000);
  assert.equal(hertz(si, null), null);
});

test('numbers are short and say when there is none', () => {
  assert.equal(brief(1083.858), '1084');
  assert.equal(brief(0.5), '0.5');
  assert.equal(brief(-46377200, 3), '\u22124.64\u00b710\u2077');
  assert.equal(brief(0.00012), '1.2\u00b710\u207b\u2074');
  assert.equal(brief(NaN), '\u2013');
  assert.equal(brief(null), '\u2013');
  assert.equal(brief(Infinity), '\u221e');
  assert.equal(brief(0), '0');
  assert.equal(brief(100), '100');
  assert.equal(brief(12.3, 1), '10', 'few digits are no reason for a power of ten');
  assert.equal(brief(61500, 3), '61500');
});
