// What the page shows, and the words for it.
import type {History} from './history';

export type Motion = 'single' | 'mix' | 'history';

export const SHOW_NAMES = {
  edges: 'Feature edges',
  mesh: 'Mesh lines',
  ghost: 'Undeformed body',
  interface: 'Interface nodes',
  monitor: 'Monitor points',
  center: 'Center of mass',
  axes: 'Principal axes',
  labels: 'Labels',
} as const;
export type ShowName = keyof typeof SHOW_NAMES;

export const SHOWN_AT_FIRST: Record<ShowName, boolean> = {
  edges: true, mesh: false, ghost: true, interface: false, monitor: false, center: false, axes: false, labels: true,
};

export interface State {
  motion: Motion;
  /** index of the mode */
  mode: number;
  /** modal coordinates of the first body for 'mix' */
  mix: Map<number, number>;
  history: History | null;
  time: number;
  /** each mode of a mix at its own frequency */
  ownFrequencies: boolean;
  playing: boolean;
  phase: number;
  speed: number;
  /** in tenths of the diagonal */
  amplitude: number;
  quantity: string;
  map: string;
  signedMap: string;
  followColors: boolean;
  range: 'auto' | 'all' | 'fixed';
  /** in the units of the first body */
  fixed: [number, number];
  show: Record<ShowName, boolean>;
  /** name of a unit system; empty for that of the record */
  units: string;
  theme: 'auto' | 'light' | 'dark';
  picked: {view: number; node: number} | null;
}

export function firstState(): State {
  return {
    motion: 'single', mode: 0, mix: new Map(), history: null, time: 0, ownFrequencies: false, playing: true, phase: 0, speed: 1,
    amplitude: 1, quantity: 'displacement.magnitude', map: 'viridis', signedMap: 'blue-red', followColors: false, range: 'auto',
    fixed: [0, 1], show: {...SHOWN_AT_FIRST}, units: '', theme: 'auto', picked: null,
  };
}
