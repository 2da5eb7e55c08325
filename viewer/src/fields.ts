// Values at the nodes from mode data and modal coordinates.
import {NO_NUMBER} from './codec';
import type {Field, KindName} from './data';

/** What can be shown in color. `component` -1 is the magnitude, or the von Mises value of a tensor. */
export interface Quantity {
  key: string;
  kind: KindName;
  first: number;
  component: number;
  name: string;
  group: string;
  unit: 'length' | 'angle' | 'stress' | 'none';
}

const AXES = ['x', 'y', 'z'];
const TENSOR = ['xx', 'yy', 'zz', 'xy', 'xz', 'yz'];

export function quantities(): Quantity[] {
  const list: Quantity[] = [];
  for (const [group, first, unit] of [['displacement', 0, 'length'], ['rotation', 3, 'angle']] as const) {
    const Name = group[0].toUpperCase() + group.slice(1);
    list.push({key: `${group}.magnitude`, kind: 'shape', first, component: -1, name: `${Name}, magnitude`, group, unit});
    AXES.forEach((axis, c) =>
      list.push({key: `${group}.${axis}`, kind: 'shape', first, component: c, name: `${Name} ${axis}`, group, unit}));
  }
  for (const [group, unit] of [['stress', 'stress'], ['strain', 'none']] as const) {
    list.push({key: `${group}.mises`, kind: group, first: 0, component: -1, name: `Von Mises ${group}`, group, unit});
    TENSOR.forEach((pair, c) =>
      list.push({key: `${group}.${pair}`, kind: group, first: 0, component: c,
                 name: `${group === 'stress' ? 'Stress' : 'Strain'} ${pair}`, group, unit}));
  }
  return list;
}

/** sqrt(a2+b2+c2-ab-bc-ac + 3(d2+e2+f2)); of strain 4/9 and 1/3 of the two sums. */
export function vonMises(v: ArrayLike<number>, kind: KindName): number {
  const normal = v[0] * v[0] + v[1] * v[1] + v[2] * v[2] - v[0] * v[1] - v[1] * v[2] - v[0] * v[2];
  const shear = v[3] * v[3] + v[4] * v[4] + v[5] * v[5];
  return Math.sqrt(Math.max(kind === 'strain' ? (4 / 9) * normal + shear / 3 : normal + 3 * shear, 0));
}

/** A mode's data and the modal coordinate that it takes part with. */
export interface Part {
  weight: number;
  field: Field;
}

/** The six values of one row under the modal coordinates. */
export function sixAt(parts: Part[], row: number): number[] {
  const six = [0, 0, 0, 0, 0, 0];
  for (const part of parts)
    for (let c = 0; c < 6; ++c) six[c] += part.weight * part.field.value(row, c);
  return six;
}

export function valueOf(six: number[], quantity: Quantity): number {
  if (quantity.component >= 0) return six[quantity.first + quantity.component];
  if (quantity.kind !== 'shape') return vonMises(six, quantity.kind);
  return Math.hypot(six[quantity.first], six[quantity.first + 1], six[quantity.first + 2]);
}

export interface Values {
  /** relative to `unit`; NaN where nothing is known */
  relative: Float32Array;
  unit: number;
  low: number;
  high: number;
}

function addColumn(sum: Float32Array, part: Part, component: number, unit: number) {
  const {field, weight} = part;
  const begin = field.column[component];
  if (begin < 0) return;
  const factor = (weight * field.factor[component]) / unit;
  const steps = field.steps;
  for (let row = 0; row < field.rows; ++row) {
    const step = steps[begin + row];
    if (step === NO_NUMBER) sum[row] = NaN;
    else sum[row] += factor * step;
  }
}

/** The quantity at all nodes. `rows` as in Body.rows. */
export function valuesOf(parts: Part[], quantity: Quantity, nodes: number, rows: Int32Array | null): Values {
  const relative = new Float32Array(nodes).fill(NaN);
  const none = {relative, unit: 1, low: 0, high: 0};
  if (parts.length === 0) return none;
  const components =
    quantity.component >= 0 ? [quantity.first + quantity.component]
    : quantity.kind === 'shape' ? [0, 1, 2].map((c) => quantity.first + c)
    : [0, 1, 2, 3, 4, 5];
  let unit = 0;
  for (const part of parts)
    for (const c of components) unit = Math.max(unit, Math.abs(part.weight * part.field.factor[c]) * 32767);
  if (!(unit > 0) || !isFinite(unit)) unit = 1;
  const sums = components.map((c) => {
    const sum = new Float32Array(parts[0].field.rows);
    for (const part of parts) addColumn(sum, part, c, unit);
    return sum;
  });
  let low = Infinity;
  let high = -Infinity;
  const six = [0, 0, 0, 0, 0, 0];
  for (let node = 0; node < nodes; ++node) {
    const row = rows ? rows[node] : node;
    if (row < 0) continue;
    let value: number;
    if (components.length === 1) value = sums[0][row];
    else if (components.length === 3) value = Math.sqrt(sums[0][row] ** 2 + sums[1][row] ** 2 + sums[2][row] ** 2);
    else {
      for (let c = 0; c < 6; ++c) six[c] = sums[c][row];
      value = Number.isNaN(six[0] + six[1] + six[2] + six[3] + six[4] + six[5]) ? NaN : vonMises(six, quantity.kind);
    }
    relative[node] = value;
    if (value < low) low = value;
    if (value > high) high = value;
  }
  return low > high ? {...none, unit} : {relative, unit, low: low * unit, high: high * unit};
}

/** The longest displacement. */
export function largestDisplacement(parts: Part[]): number {
  if (parts.length === 0) return 0;
  const rows = parts[0].field.rows;
  let unit = 0;
  for (const part of parts) unit = Math.max(unit, Math.abs(part.weight * part.field.factor[0]) * 32767);
  if (!(unit > 0) || !isFinite(unit)) return 0;
  const sums = [0, 1, 2].map((c) => {
    const sum = new Float32Array(rows);
    for (const part of parts) addColumn(sum, part, c, unit);
    return sum;
  });
  let most = 0;
  for (let row = 0; row < rows; ++row) {
    const square = sums[0][row] ** 2 + sums[1][row] ** 2 + sums[2][row] ** 2;
    if (square > most) most = square;
  }
  return Math.sqrt(most) * unit;
}
