// From the state to what is drawn: modal coordinates of each body, scale for the eye, values, ranges.
import {COLOR_MAPS, type ColorMap} from './colors';
import type {Body, Description, Field, KindName} from './data';
import {largestDisplacement, type Part, type Quantity, quantities, sixAt, type Values, valuesOf} from './fields';
import {coordinatesAt} from './history';
import type {Active, BodyScene} from './scene';
import type {State} from './state';

export const QUANTITIES = quantities();

/** A mode of a body and its modal coordinate. */
export type Coordinates = Map<number, number>;

/** What the second body does when the first takes these coordinates. */
export function matched(description: Description, first: Coordinates): Coordinates {
  const second: Coordinates = new Map();
  for (const match of description.match)
    for (const [mode, weight] of match.parts) {
      const q = first.get(mode);
      if (q) second.set(match.second, (second.get(match.second) ?? 0) + weight * q);
    }
  return second;
}

/** The modal coordinates at the largest of the motion; of a history at its time. */
export function coordinates(state: State): Coordinates {
  if (state.motion === 'single') return new Map([[state.mode, 1]]);
  if (state.motion === 'mix') return new Map([...state.mix].filter(([, weight]) => weight !== 0));
  const q: Coordinates = new Map();
  if (state.history) {
    const now = coordinatesAt(state.history, state.time);
    state.history.modes.forEach((mode, i) => q.set(mode, now[i]));
  }
  return q;
}

/** The largest modal coordinates of the motion. */
export function peaks(state: State): Coordinates {
  const {history} = state;
  if (state.motion !== 'history' || !history) return coordinates(state);
  return new Map(history.modes.map((mode, i) => [mode, history.values[i].reduce((most, value) => Math.max(most, Math.abs(value)), 0)]));
}

export function quantityOf(key: string): Quantity | null {
  return QUANTITIES.find((quantity) => quantity.key === key) ?? null;
}

export function available(body: Body, quantity: Quantity): boolean {
  const modes = body.about.modes;
  if (quantity.group === 'rotation') return modes.some((mode) => mode.shape?.kept[1]);
  return modes.some((mode) => mode[quantity.kind]);
}

export function mapOf(state: State, quantity: Quantity): ColorMap {
  const key = quantity.component >= 0 ? state.signedMap : state.map;
  return COLOR_MAPS.find((map) => map.key === key) ?? COLOR_MAPS[0];
}

export interface Range {
  low: number;
  high: number;
}

/** Around zero where there are two directions, from zero where there is one. */
function tidy(low: number, high: number, quantity: Quantity): Range {
  const most = Math.max(Math.abs(low), Math.abs(high)) || 1;
  return quantity.component >= 0 ? {low: -most, high: most} : {low: 0, high: most};
}

/** The range of a quantity over all modes, each as the record has it. */
export function rangeOverModes(body: Body, quantity: Quantity): Range {
  let low = 0;
  let high = 0;
  for (const mode of body.about.modes) {
    const field = mode[quantity.kind];
    if (!field) continue;
    const c = quantity.first + quantity.component;
    const magnitude = quantity.group === 'rotation' ? field.largestRotation : field.largest;
    low = Math.min(low, quantity.component >= 0 ? field.low[c] ?? 0 : 0);
    high = Math.max(high, (quantity.component >= 0 ? field.high[c] : magnitude) ?? 0);
  }
  return tidy(low, high, quantity);
}

/** One body as it is shown now. */
export class Playing {
  shape: Active[] = [];
  colors: Active[] = [];
  values: Values | null = null;
  range: Range = {low: 0, high: 1};
  /** more modes take part than can move the body at once */
  leftOut = 0;

  constructor(readonly scene: BodyScene) {}

  private async parts(q: Coordinates, kind: KindName): Promise<Active[]> {
    const body = this.scene.body;
    const wanted = [...q].map(([mode, weight]) => ({mode, weight, field: body.field(mode, kind)}));
    const fields = await Promise.all(wanted.map((one) => one.field));
    return wanted.flatMap((one, i) => (fields[i] ? [{mode: one.mode, weight: one.weight, field: fields[i] as Field}] : []));
  }

  /** Takes what the modes need, the strongest first; `peaks` are the largest coordinates where they change. */
  async prepare(q: Coordinates, quantity: Quantity | null, peaks: Coordinates = q) {
    const strength = (one: Active) => Math.abs(peaks.get(one.mode) ?? 0) * (this.scene.body.about.modes[one.mode].shape?.largest ?? 0);
    const shape = (await this.parts(q, 'shape')).sort((a, b) => strength(b) - strength(a));
    const colors = quantity ? await this.parts(q, quantity.kind) : [];
    return {shape, colors};
  }

  take(prepared: {shape: Active[]; colors: Active[]}) {
    this.leftOut = Math.max(0, prepared.shape.length - this.scene.mostModes);
    this.shape = prepared.shape.slice(0, this.scene.mostModes);
    this.colors = prepared.colors;
    this.scene.use(this.shape);
  }

  /** The scale at which the largest displacement is `amplitude` tenths of the diagonal. */
  scaleFor(amplitude: number): number {
    const g = this.scene.body.about.geometry;
    const most = this.mostDisplacement();
    const scale = most > 0 ? (amplitude * 0.2 * g.halfSize) / most : 0;
    return Number.isFinite(scale) ? scale : 0;
  }

  mostDisplacement(): number {
    if (this.shape.length === 1 && this.scene.body.about.modes[this.shape[0].mode].shape?.largest)
      return Math.abs(this.shape[0].weight) * (this.scene.body.about.modes[this.shape[0].mode].shape?.largest ?? 0);
    return largestDisplacement(this.shape);
  }

  evaluate(quantity: Quantity | null, parts: Part[] = this.colors) {
    const body = this.scene.body;
    this.values = quantity && parts.length > 0 ? valuesOf(parts, quantity, body.nodeCount, body.rows[quantity.kind]) : null;
  }

  rangeNow(quantity: Quantity): Range {
    return tidy(this.values?.low ?? 0, this.values?.high ?? 0, quantity);
  }

  /** The six values of a kind at a node; null where the kind does not know it. */
  async six(node: number, kind: KindName, q: Coordinates): Promise<{values: number[]; steps: number[]} | null> {
    const body = this.scene.body;
    const row = body.rowOf(kind, node);
    if (row < 0 || !body.about.kinds[kind]) return null;
    const parts = await this.parts(q, kind);
    if (parts.length === 0) return null;
    const steps = [0, 1, 2, 3, 4, 5].map((c) => parts.reduce((sum, part) => sum + Math.abs(part.weight * part.field.factor[c]), 0));
    return {values: sixAt(parts, row), steps};
  }
}
