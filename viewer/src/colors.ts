// Color maps. Those of one direction grow evenly in lightness (viridis, inferno, cividis); those with two directions
// are neutral at zero.
import {interpolateCividis, interpolateInferno, interpolateRdBu, interpolateViridis, interpolatePuOr} from 'd3-scale-chromatic';

export interface ColorMap {
  key: string;
  name: string;
  signed: boolean;
  at: (t: number) => string;
}

export const COLOR_MAPS: ColorMap[] = [
  {key: 'viridis', name: 'Viridis', signed: false, at: interpolateViridis},
  {key: 'cividis', name: 'Cividis', signed: false, at: interpolateCividis},
  {key: 'inferno', name: 'Inferno', signed: false, at: interpolateInferno},
  {key: 'blue-red', name: 'Blue to red', signed: true, at: (t) => interpolateRdBu(1 - t)},
  {key: 'purple-orange', name: 'Purple to orange', signed: true, at: (t) => interpolatePuOr(1 - t)},
];

function rgb(color: string): number[] {
  const hex = color.match(/^#(..)(..)(..)/);
  if (hex) return hex.slice(1).map((pair) => parseInt(pair, 16));
  return (color.match(/\d+/g) ?? ['0', '0', '0']).slice(0, 3).map(Number);
}

/** 256 colors of four bytes. */
export function table(map: ColorMap): Uint8Array {
  const bytes = new Uint8Array(1024);
  for (let i = 0; i < 256; ++i) bytes.set([...rgb(map.at(i / 255)), 255], 4 * i);
  return bytes;
}

/** Evenly spaced colors for a gradient from low to high. */
export function stops(map: ColorMap, count = 17): string[] {
  return Array.from({length: count}, (_, i) => map.at(i / (count - 1)));
}
